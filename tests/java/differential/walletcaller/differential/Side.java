package walletcaller.differential;

/** The two sides of a job, in the order in which they are processed. */
enum Side {
    INPUT("Input"),
    OUTPUT("Output");

    final String label;

    Side(String label) {
        this.label = label;
    }
}
