package walletcaller.differential;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Path;
import java.util.EnumSet;
import java.util.Set;

/**
 * Runs cases through the library as it is shipped and compares each with what the model predicts.
 *
 * <p>The program of a JVM of its own. Its arguments are the private directory that holds the
 * library, ending in "/", the seed and the number of cases. It prints the cases that differ, how
 * many there were, and what no case met.
 */
public final class DifferentialRun {
    private static final int MOST_PRINTED = 10;

    private final String privateTempDir;
    private final SandboxFiles sandbox =
            new SandboxFiles(Path.of(System.getenv("OVWALLET_SANDBOX_HOME")));

    private DifferentialRun(String privateTempDir) {
        this.privateTempDir = privateTempDir;
    }

    public static void main(String[] arguments) throws IOException {
        WalletCaller.load(Path.of(arguments[0]));
        DifferentialRun run = new DifferentialRun(arguments[0]);
        long seed = Long.parseLong(arguments[1]);
        int cases = Integer.parseInt(arguments[2]);
        Set<Branch> seen = EnumSet.noneOf(Branch.class);
        int differences = 0;
        for (int number = 0; number < cases; number++) {
            TestCase testCase = CaseGenerator.generate(seed, number);
            Outcome expected = CallModel.predict(testCase, seen);
            Outcome observed = run.observe(testCase);
            if (!expected.equals(observed) && ++differences <= MOST_PRINTED) {
                System.out.println("= case " + number + ": " + CaseText.format(testCase));
                System.out.println("=   expected: " + CaseText.format(expected));
                System.out.println("=   observed: " + CaseText.format(observed));
            }
        }
        System.out.println("= differences: " + differences + " in " + cases);
        System.out.println("= never met: " + EnumSet.complementOf(EnumSet.copyOf(seen)));
    }

    private Outcome observe(TestCase testCase) throws IOException {
        sandbox.prepare(testCase.wallet());
        RecordingJob job = new RecordingJob(testCase);
        String message = null;
        try {
            WalletCaller.performSubstitutions(job, privateTempDir);
        } catch (ConnectorException failure) {
            // Of a message that is no modified UTF-8 the JVM may make a String that equals no other
            // String of the same chars; a copy of the chars does.
            message = new String(failure.getMessage().toCharArray());
        }
        return new Outcome(job.texts(), job.written(), sandbox.fetched(), message);
    }
}
