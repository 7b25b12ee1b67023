package walletcaller.bench;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.File;
import java.nio.file.Paths;
import org.apache.hadoop.conf.Configuration;

/**
 * Calls whose system calls can be told from the JVM's own: each stands between two marks, which are
 * system calls that name no file there is.
 *
 * <p>Arguments: the private directory, how many calls.
 */
final class MarkedCalls {
    private MarkedCalls() {}

    public static void main(String[] arguments) {
        WalletCaller.load(Paths.get(arguments[0]));
        BenchJob job = new BenchJob(new Configuration());
        for (int call = Integer.parseInt(arguments[1]); call > 0; --call) {
            job.reset();
            mark("/a-call-begins");
            WholeCall.call(job, arguments[0]);
            mark("/a-call-ends");
        }
        if (job.result().contains("$")) {
            throw new IllegalStateException(job.result());
        }
    }

    private static void mark(String name) {
        if (new File(name).exists()) {
            throw new IllegalStateException(name + " exists");
        }
    }
}
