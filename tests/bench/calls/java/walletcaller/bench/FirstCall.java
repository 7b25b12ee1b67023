package walletcaller.bench;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.util.Arrays;
import org.apache.hadoop.conf.Configuration;

/**
 * What comes once in a process, beside the later calls of the same process. For a fresh JVM.
 *
 * <p>Argument: the shipped file. Prints how many times as long as a later call these take: copying
 * the file, loading it, the first call, the second call; then the milliseconds of the first three.
 */
final class FirstCall {
    private static final int LATER = 2000;

    private FirstCall() {}

    public static void main(String[] arguments) throws IOException {
        BenchJob job = new BenchJob(new Configuration());
        job.reset();
        try (PrivateDirectory directory = new PrivateDirectory(arguments[0])) {
            long start = System.nanoTime();
            WalletCaller.load(directory.path());
            long loaded = System.nanoTime();
            WholeCall.call(job, directory.name());
            long called = System.nanoTime();
            double second = nanoseconds(job, directory.name());
            double later = later(job, directory.name());
            System.out.println(directory.copying() / later + " " + (loaded - start) / later + " "
                    + (called - loaded) / later + " " + second / later + " "
                    + (directory.copying() + called - start) / 1e6);
        }
    }

    private static double nanoseconds(BenchJob job, String directory) {
        job.reset();
        long start = System.nanoTime();
        WholeCall.call(job, directory);
        return System.nanoTime() - start;
    }

    /** The median of the later half of many. */
    private static double later(BenchJob job, String directory) {
        double[] times = new double[LATER];
        for (int i = 0; i < LATER; ++i) {
            times[i] = nanoseconds(job, directory);
        }
        Arrays.sort(times, LATER / 2, LATER);
        return times[LATER * 3 / 4];
    }
}
