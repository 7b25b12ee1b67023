package walletcaller.bench;

import java.io.IOException;
import org.apache.hadoop.conf.Configuration;

/**
 * Prints what whole calls take, the first one of a process, and how calls grow with threads.
 *
 * <p>Arguments: the shipped file, the yardstick.
 */
final class Calls {
    private static final int JVMS = 15;
    private static final int ROUNDS = 9;
    private static final int CALLS = 3000;

    private Calls() {}

    public static void main(String[] arguments) throws IOException, InterruptedException {
        String library = arguments[0];
        String yardstick = arguments[1];
        double[][] warm = FreshJvms.figures(JVMS, WholeCall.class, library, yardstick);
        row("call / straight line", Rounds.spread(warm[0]));
        row("wallet's software alone / straight line", Rounds.spread(warm[1]));
        row("call, microseconds", Rounds.spread(warm[2]));

        double[][] first = FreshJvms.figures(JVMS, FirstCall.class, library);
        row("copying the file / later call", Rounds.spread(first[0]));
        row("System.load / later call", Rounds.spread(first[1]));
        row("first call / later call", Rounds.spread(first[2]));
        row("second call / later call", Rounds.spread(first[3]));
        row("copying, System.load and first call, ms", Rounds.spread(first[4]));

        try (PrivateDirectory directory = new PrivateDirectory(library)) {
            WholeCall.load(directory, yardstick);
            WholeCall.check(new BenchJob(new Configuration()), directory.name());
            Growth growth = new Growth();
            growth.add("call", job -> () -> WholeCall.call(job, directory.name()));
            growth.add("straight line", job -> () -> WholeCall.straightLine(job));
            growth.run(ROUNDS, CALLS);
        }
    }

    static void row(String what, String figure) {
        System.out.printf("%-50s %s%n", what, figure);
    }
}
