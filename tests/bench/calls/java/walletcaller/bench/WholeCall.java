package walletcaller.bench;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Path;
import org.apache.hadoop.conf.Configuration;

/**
 * A warm call beside the same calls in straight-line C, and beside what the wallet's software takes
 * by itself. For a fresh JVM: where things come to lie in memory makes a difference.
 *
 * <p>Arguments: the shipped file, the yardstick. Prints medians: call / straight line, wallet /
 * straight line, microseconds of a call.
 */
final class WholeCall {
    private static final int WARM_UP = 4000;
    private static final int ROUNDS = 9;
    private static final int CALLS = 300;

    private WholeCall() {}

    public static void main(String[] arguments) throws IOException {
        try (PrivateDirectory directory = new PrivateDirectory(arguments[0])) {
            BenchJob job = new BenchJob(new Configuration());
            load(directory, arguments[1]);
            check(job, directory.name());
            String library = clientLibrary(directory);
            Rounds whole = besideStraightLine(job, () -> call(job, directory.name()));
            Rounds wallet = besideStraightLine(
                    job, () -> StraightLine.useWallet(library, BenchJob.NAMES));
            System.out.println(whole.ratio() + " " + wallet.ratio() + " " + whole.microseconds());
        }
    }

    private static Rounds besideStraightLine(BenchJob job, Runnable contestant) {
        Rounds rounds = new Rounds(job::reset, contestant, job::reset, () -> straightLine(job));
        rounds.run(1, WARM_UP);
        rounds.run(ROUNDS, CALLS);
        return rounds;
    }

    static void load(PrivateDirectory directory, String yardstick) {
        WalletCaller.load(directory.path());
        System.load(yardstick);
        StraightLine.standInFor(directory.name() + WalletCaller.LIBRARY_NAME);
    }

    static void call(BenchJob job, String directory) {
        try {
            WalletCaller.performSubstitutions(job, directory);
        } catch (ConnectorException failure) {
            throw new IllegalStateException(failure);
        }
    }

    static void straightLine(BenchJob job) {
        StraightLine.performSubstitutions(job);
    }

    private static String clientLibrary(PrivateDirectory directory) throws IOException {
        Path client = directory.path().resolve("ovwalletdir").toRealPath().getParent();
        return client.resolve("14.10/ovwallet/redhatlinux-x8664/libovwallet.so").toString();
    }

    /** Both leave the same job. The library's call is the first, which makes the link. */
    static void check(BenchJob job, String directory) {
        job.reset();
        call(job, directory);
        String wanted = job.result();
        job.reset();
        straightLine(job);
        if (wanted.contains("$") || !wanted.equals(job.result())) {
            throw new IllegalStateException(wanted + " is not " + job.result());
        }
    }
}
