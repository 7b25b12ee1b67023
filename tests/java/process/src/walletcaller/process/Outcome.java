package walletcaller.process;

/**
 * How one call ended: which exception the Java caller caught, with what message, and whether it is
 * the very object that a Java method below the call had thrown. The class is null if the call
 * returned.
 */
record Outcome(String thrownClass, String message, boolean sameObject) {
    static final Outcome RETURNED = new Outcome(null, null, false);

    static Outcome connectorException(String message) {
        return new Outcome(
                "com.orvanta.connector.common.exception.ConnectorException", message, false);
    }

    static Outcome javaLang(String simpleName, String message) {
        return new Outcome("java.lang." + simpleName, message, false);
    }

    static Outcome sameObject(String simpleName, String message) {
        return new Outcome("java.lang." + simpleName, message, true);
    }

    static Outcome parse(String reply) {
        String[] words = reply.split(" ");
        if (words[0].equals("returned")) {
            return RETURNED;
        }
        return new Outcome(words[1], Bytes.textFromHex(words[2]), words[3].equals("same"));
    }
}
