package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Paths;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicBoolean;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.security.Credentials;

/**
 * Ends the JVM while daemon threads are inside native calls: either through {@code System.exit(7)}
 * or by leaving {@code main}. A thread counts as inside once native code has asked its job for the
 * user name; the wallet then takes its time over the value.
 */
public final class ExitDuringCalls {
    private ExitDuringCalls() {}

    public static void main(String[] arguments) throws InterruptedException {
        String directory = arguments[0];
        boolean exit = arguments[1].equals("exit");
        int threads = 4;
        CountDownLatch inside = new CountDownLatch(threads);
        WalletCaller.load(Paths.get(directory));
        for (int thread = 0; thread < threads; ++thread) {
            Thread caller = new Thread(() -> callForEver(directory, inside));
            caller.setDaemon(true);
            caller.start();
        }
        inside.await();
        if (exit) {
            System.exit(7);
        }
    }

    private static void callForEver(String directory, CountDownLatch inside) {
        TestJob job = new TestJob();
        JobContext announcing = announceOnce(job, inside);
        while (true) {
            job.set("Input", "", "$ovwallet(slow)", "$ovwallet(slow)");
            job.set("Output", "", "$ovwallet(slow)", "$ovwallet(slow)");
            try {
                WalletCaller.performSubstitutions(announcing, directory);
            } catch (IOException failure) {
                System.out.println("= " + failure);
                return;
            }
        }
    }

    private static JobContext announceOnce(TestJob job, CountDownLatch inside) {
        AtomicBoolean announced = new AtomicBoolean();
        return new JobContext() {
            @Override
            public Configuration getConfiguration() {
                return job.getConfiguration();
            }

            @Override
            public Credentials getCredentials() {
                if (announced.compareAndSet(false, true)) {
                    inside.countDown();
                }
                return job.getCredentials();
            }
        };
    }
}
