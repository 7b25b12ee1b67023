package walletcaller.bench;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.BrokenBarrierException;
import java.util.concurrent.CyclicBarrier;
import java.util.function.Function;
import org.apache.hadoop.conf.Configuration;

/** How many calls are made in the time of one when several threads make them. */
final class Growth {
    private static final int[] THREADS = {1, 2, 4, 8};

    /** From a thread's job to its call. */
    private final Map<String, Function<BenchJob, Runnable>> contestants = new LinkedHashMap<>();

    void add(String name, Function<BenchJob, Runnable> contestant) {
        contestants.put(name, contestant);
    }

    /** Prints each contestant's throughput beside that of its one thread in the same round. */
    void run(int rounds, int calls) throws InterruptedException {
        for (Function<BenchJob, Runnable> contestant : contestants.values()) {
            seconds(contestant, THREADS[0], calls);
        }
        Map<String, double[]> growth = new LinkedHashMap<>();
        for (int round = 0; round < rounds; ++round) {
            for (Map.Entry<String, Function<BenchJob, Runnable>> entry : contestants.entrySet()) {
                double one = 0;
                for (int threads : THREADS) {
                    double time = seconds(entry.getValue(), threads, calls);
                    one = threads == 1 ? time : one;
                    String row = entry.getKey() + ", " + threads + " threads / 1 thread";
                    growth.computeIfAbsent(row, key -> new double[rounds])[round] = one / time;
                }
            }
        }
        growth.forEach((row, figures) -> {
            if (!row.contains(", 1 threads")) {
                Calls.row(row, Rounds.spread(figures));
            }
        });
    }

    /** What it takes to make so many calls in all. */
    private static double seconds(
            Function<BenchJob, Runnable> contestant, int threads, int calls)
            throws InterruptedException {
        CyclicBarrier start = new CyclicBarrier(threads + 1);
        List<Thread> callers = new ArrayList<>();
        for (int i = 0; i < threads; ++i) {
            BenchJob job = new BenchJob(new Configuration());
            Runnable call = contestant.apply(job);
            Thread caller = new Thread(() -> {
                await(start);
                for (int made = 0; made < calls / threads; ++made) {
                    job.reset();
                    call.run();
                }
            });
            caller.setUncaughtExceptionHandler((thread, failure) -> {
                failure.printStackTrace();
                Runtime.getRuntime().halt(1);
            });
            caller.start();
            callers.add(caller);
        }
        await(start);
        long begin = System.nanoTime();
        for (Thread caller : callers) {
            caller.join();
        }
        return (System.nanoTime() - begin) / 1e9;
    }

    private static void await(CyclicBarrier barrier) {
        try {
            barrier.await();
        } catch (InterruptedException | BrokenBarrierException failure) {
            throw new IllegalStateException(failure);
        }
    }
}
