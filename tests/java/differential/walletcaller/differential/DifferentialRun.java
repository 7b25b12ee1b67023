package walletcaller.differential;

import static java.nio.charset.StandardCharsets.US_ASCII;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.EnumSet;
import java.util.List;
import java.util.Set;

/**
 * Runs cases through the library as it is shipped and compares each with what the model predicts.
 *
 * <p>This is the program of a JVM of its own, started by {@link DifferentialTest}. It replays the
 * kept cases, then as many random ones as asked for, and prints how often each branch was visited.
 * It ends with status 0 only if all cases agree and all branches were visited. What it prints goes
 * to a file of its own, so that whatever appears on the JVM's streams comes from the JVM.
 */
public final class DifferentialRun {
    /** From this number of cases on, a branch that was never visited is a failure. */
    static final int ENOUGH_FOR_ALL_BRANCHES = 20_000;
    private static final int MOST_FAILURES_PRINTED = 10;

    private final PrintStream report;
    private final String privateTempDir;
    private final SandboxFiles sandbox;
    private final CoverageReport coverage = new CoverageReport();
    private int failures;

    private DifferentialRun(PrintStream report, String privateTempDir, Path sandboxHome) {
        this.report = report;
        this.privateTempDir = privateTempDir;
        this.sandbox = new SandboxFiles(sandboxHome);
    }

    /**
     * Runs the cases.
     *
     * @param arguments the file to report to; the private directory that holds the library, ending
     *     in "/"; the sandbox wallet's directory; the file of kept cases; the seed; the number of
     *     random cases
     */
    public static void main(String[] arguments) throws IOException {
        try (PrintStream report = new PrintStream(arguments[0], US_ASCII)) {
            WalletCaller.load(Paths.get(arguments[1]));
            DifferentialRun run =
                    new DifferentialRun(report, arguments[1], Paths.get(arguments[2]));
            run.replay(Paths.get(arguments[3]));
            run.random(Long.parseLong(arguments[4]), Integer.parseInt(arguments[5]));
            report.println(run.failures + " failures");
            System.exit(run.failures == 0 ? 0 : 1);
        }
    }

    private void replay(Path keptCases) throws IOException {
        List<TestCase> kept = readKept(keptCases);
        for (TestCase testCase : kept) {
            check(testCase, "kept", EnumSet.noneOf(Branch.class));
        }
        report.println("kept cases: " + kept.size());
    }

    /** The cases of a file: one on each line that is neither empty nor a comment. */
    static List<TestCase> readKept(Path keptCases) throws IOException {
        List<TestCase> kept = new ArrayList<>();
        for (String line : Files.readAllLines(keptCases)) {
            if (!line.isBlank() && !line.startsWith("#")) {
                kept.add(CaseText.parse(line));
            }
        }
        return kept;
    }

    private void random(long seed, int cases) throws IOException {
        report.println("seed: " + seed + ", random cases: " + cases);
        for (int i = 0; i < cases; i++) {
            Set<Branch> seen = EnumSet.noneOf(Branch.class);
            check(CaseGenerator.generate(seed, i), "random case " + i, seen);
            coverage.add(seen);
        }
        report.println(coverage);
        List<Branch> unvisited = coverage.neverVisited();
        if (!unvisited.isEmpty()) {
            report.println("never visited: " + unvisited);
            if (cases >= ENOUGH_FOR_ALL_BRANCHES) {
                failures++;
            }
        }
    }

    private void check(TestCase testCase, String label, Set<Branch> seen) throws IOException {
        Outcome expected = CallModel.predict(testCase, seen);
        Outcome observed = observe(testCase);
        if (expected.equals(observed)) {
            return;
        }
        failures++;
        if (failures <= MOST_FAILURES_PRINTED) {
            report.println("DIFFERENCE (" + label + ")");
            report.println(CaseText.format(testCase));
            report.println("  expected: " + CaseText.format(expected));
            report.println("  observed: " + CaseText.format(observed));
        }
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
