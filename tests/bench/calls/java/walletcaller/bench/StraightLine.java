package walletcaller.bench;

import org.apache.hadoop.mapreduce.JobContext;

/** The yardstick, in C; see straightLine.c. */
final class StraightLine {
    private StraightLine() {}

    /** Has the yardstick find its way from the file of the library, which is loaded. */
    static native void standInFor(String library);

    /** Does to the benchmark's job what a warm call of the library does. */
    static native void performSubstitutions(JobContext jobContext);

    /** Opens the client library, fetches the values of these names and closes it again. */
    static native void useWallet(String clientLibrary, String[] names);
}
