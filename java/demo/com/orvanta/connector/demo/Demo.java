package com.orvanta.connector.demo;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Collectors;

/**
 * Sets up one job as the connector does, shows what the library made of it, and checks that this is
 * what it should be: exit code 0 if so.
 *
 * <p>Arguments: the library's file, and the file in which the wallet notes each entry that is
 * fetched.
 */
public final class Demo {
    private static final List<String> NAMES = Arrays.asList(
            "input  JDBC URL", "input  user name", "input  password",
            "output JDBC URL", "output user name", "output password");
    private static final List<String> EXPECTED = Arrays.asList(
            "jdbc:orvanta://sales-db/DATABASE=orders", "etl_reader", "s3cret (for sales)",
            "jdbc:orvanta://mart-db/DATABASE=reports", "etl_writer", "gr\u00fcne W\u00e4lder");
    private static final List<String> EXPECTED_FETCHES = Arrays.asList(
            "reader.name", "pw_sales-db", "com.orvanta.OV2", "pw_mart-db", "forest");
    private static final String EXPECTED_FAILURE =
            "Attempt to get value from Orvanta Wallet failed because: There is no string named"
            + " \"reader.nmae\" in the wallet.";

    private final PrintStream out = new PrintStream(System.out, true, "UTF-8");
    private final Path journal;
    private boolean asExpected = true;

    private Demo(Path journal) throws IOException {
        this.journal = journal;
    }

    public static void main(String[] arguments) throws IOException {
        Path library = Paths.get(arguments[0]);
        // Files.createTempDirectory makes a directory for its owner only.
        Path directory = Files.createTempDirectory("walletcaller-demo-");
        Demo demo = new Demo(Paths.get(arguments[1]));
        try {
            Files.copy(library, directory.resolve(WalletCaller.LIBRARY_NAME));
            WalletCaller.load(directory);
            demo.replaceReferences(directory + "/");
            demo.failOnAWrongReference(directory + "/");
        } finally {
            removeDirectory(directory);
        }
        demo.finish();
        System.exit(demo.asExpected ? 0 : 1);
    }

    private void replaceReferences(String directory) throws IOException {
        DemoJob job = new DemoJob();
        job.setInput("jdbc:orvanta://sales-db/DATABASE=orders",
                "$ovwallet(reader.name)", "$ovwallet(pw_$(ovpid))");
        job.setOutput("jdbc:orvanta://mart-db/DATABASE=reports",
                "$ovwallet", "$ovwallet(pw_$(ovpid))");
        List<String> before = job.properties();
        long lockedBefore = LockedMemory.now();

        WalletCaller.performSubstitutions(job, directory);

        long lockedAfter = LockedMemory.now();
        List<String> after = job.properties();
        List<String> fetches = fetches();
        out.printf("%-18s%-43s%s%n", "", "before the call", "after the call");
        for (int row = 0; row < NAMES.size(); ++row) {
            out.printf("%-18s%-43s%s%n", NAMES.get(row), before.get(row), after.get(row));
        }
        out.println();
        out.println("The values are shown only because they are this demo's own.");
        out.println();
        out.println("Wallet entries fetched, in order: " + String.join(", ", fetches));
        out.println("Locked memory: " + lockedBefore + " kB before the call, up to "
                + job.peakLockedMemory() + " kB during it, " + lockedAfter + " kB after it");
        check("the properties", EXPECTED, after);
        check("the entries fetched", EXPECTED_FETCHES, fetches);
        check("some memory is locked during the call", true,
                job.peakLockedMemory() > lockedBefore);
        check("the memory locked after the call", lockedBefore, lockedAfter);
    }

    private void failOnAWrongReference(String directory) {
        DemoJob job = new DemoJob();
        job.setInput("", "$ovwallet(reader.nmae)", "");
        job.setOutput("", "", "");
        out.println();
        out.println("A wrong reference on purpose: $ovwallet(reader.nmae)");
        try {
            WalletCaller.performSubstitutions(job, directory);
            check("the wrong reference", EXPECTED_FAILURE, "no exception");
        } catch (ConnectorException failure) {
            out.println("  " + failure);
            check("the wrong reference", EXPECTED_FAILURE, failure.getMessage());
        }
        check("its property", "$ovwallet(reader.nmae)", job.properties().get(1));
    }

    private void finish() {
        out.println();
        out.println(asExpected
                ? "All of it is as it should be." : "NOT as it should be, see above.");
    }

    private void check(String what, Object expected, Object actual) {
        if (!expected.equals(actual)) {
            asExpected = false;
            out.println("NOT as it should be: " + what + ": " + actual + ", not " + expected);
        }
    }

    private List<String> fetches() throws IOException {
        return Files.readAllLines(journal).stream()
                .map(line -> line.substring("get ".length())).collect(Collectors.toList());
    }

    /** The directory holds the library and the link that the library makes. */
    private static void removeDirectory(Path directory) throws IOException {
        Files.deleteIfExists(directory.resolve(WalletCaller.LIBRARY_NAME));
        Files.deleteIfExists(directory.resolve("ovwalletdir"));
        Files.delete(directory);
    }
}
