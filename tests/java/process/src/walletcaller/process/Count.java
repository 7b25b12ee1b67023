package walletcaller.process;

/** How often something is done: a default, or what somebody who wants more has set. */
final class Count {
    private Count() {}

    static int fromEnvironment(String variable, int fallback) {
        String value = System.getenv(variable);
        return value == null || value.isEmpty() ? fallback : Integer.parseInt(value);
    }
}
