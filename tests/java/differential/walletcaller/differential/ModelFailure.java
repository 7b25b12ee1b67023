package walletcaller.differential;

/** The call ends with a ConnectorException whose message is made of these bytes. */
final class ModelFailure extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** The message, a text of one char per byte. */
    final String messageBytes;

    ModelFailure(String messageBytes) {
        super(messageBytes);
        this.messageBytes = messageBytes;
    }
}
