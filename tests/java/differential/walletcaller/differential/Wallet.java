package walletcaller.differential;

/** The strings of a user's wallet, by name; names and values have one char per byte. */
interface Wallet {
    /** The value of an entry, or null for an entry that does not exist. */
    String value(String name);
}
