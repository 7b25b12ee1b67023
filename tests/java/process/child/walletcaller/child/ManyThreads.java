package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.CyclicBarrier;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/**
 * Calls from several threads at once, the first calls of the process included. Each thread has its
 * own job, with references of its own; every call's results are compared.
 */
public final class ManyThreads {
    private ManyThreads() {}

    public static void main(String[] arguments) throws Exception {
        String directory = arguments[0];
        int threads = Integer.parseInt(arguments[1]);
        int calls = Integer.parseInt(arguments[2]);
        WalletCaller.load(Paths.get(directory));
        CyclicBarrier start = new CyclicBarrier(threads);
        ExecutorService pool = Executors.newFixedThreadPool(threads, ManyThreads::daemon);
        List<Future<Integer>> results = new ArrayList<>();
        for (int thread = 0; thread < threads; ++thread) {
            results.add(pool.submit(caller(directory, thread, calls, start)));
        }
        int made = 0;
        for (Future<Integer> result : results) {
            made += result.get();
        }
        System.out.println("= " + made + " calls");
    }

    /** So that a failing thread does not leave the process waiting for the others. */
    private static Thread daemon(Runnable work) {
        Thread thread = new Thread(work);
        thread.setDaemon(true);
        return thread;
    }

    private static Callable<Integer> caller(
            String directory, int thread, int calls, CyclicBarrier start) {
        return () -> {
            TestJob job = new TestJob();
            start.await();
            for (int call = 0; call < calls; ++call) {
                job.set("Input", "jdbc:orvanta://db" + thread + "/",
                        "in $ovwallet(entry.$(ovpid))", "$ovwallet(other)-" + call);
                job.set("Output", "jdbc:orvanta://out/", "$ovwallet", "plain " + thread);
                WalletCaller.performSubstitutions(job, directory);
                expect("in value of db" + thread, job.text("Input", "user.name"));
                expect("another value-" + call, job.text("Input", "password"));
                expect("the default", job.text("Output", "user.name"));
                expect("plain " + thread, job.text("Output", "password"));
            }
            return calls;
        };
    }

    private static void expect(String expected, String actual) {
        if (!expected.equals(actual)) {
            throw new IllegalStateException("expected " + expected + ", got " + actual);
        }
    }
}
