package walletcaller.differential;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.List;
import java.util.Map;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/**
 * The shipped file against the model, in one JVM of its own that checks each JNI call.
 *
 * <p>The system properties {@code differential.seed} and {@code differential.cases} replace the
 * seed and the number of random cases.
 */
class DifferentialTest {
    private static final String SEED = System.getProperty("differential.seed", "20240611");
    private static final String CASES = System.getProperty("differential.cases",
            String.valueOf(DifferentialRun.ENOUGH_FOR_ALL_BRANCHES));
    /** When a run counts as hung; no result depends on the value. */
    private static final long HUNG_AFTER_MINUTES = 10;

    private static final Path LIBRARY = built("library");
    private static final Path COMMAND = built("sandbox")
            .resolve("base/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet");

    @TempDir
    Path root;

    @Test
    void libraryDoesWhatTheModelPredicts() throws Exception {
        Path privateTempDir = privateDirectory("private");
        Files.copy(LIBRARY, privateTempDir.resolve(LIBRARY.getFileName()));
        Files.createSymbolicLink(root.resolve("command"), COMMAND);
        privateDirectory("wallet");
        privateDirectory("work");
        run(List.of(COMMAND.toString(), "ledger", "start"), Map.of(), "ledger-start");

        Path report = root.resolve("report");
        int exitCode = run(
                List.of(java(), "-Xcheck:jni", "-XX:ErrorFile=" + root.resolve("work/hs_err"),
                        "-XX:-CreateCoredumpOnCrash", "-XX:+UseSerialGC",
                        "-XX:+IgnoreUnrecognizedVMOptions", "--enable-native-access=ALL-UNNAMED",
                        "-cp", classPath(), DifferentialRun.class.getName(), report.toString(),
                        privateTempDir + "/", root.resolve("wallet").toString(),
                        built("keptCases").toString(), SEED, CASES),
                Map.of("LD_PRELOAD", built("shim").toString(),
                        "SHIM_COMMAND", root.resolve("command").toString()), "jvm");
        String printed = Files.exists(report) ? Files.readString(report) : "no report\n";
        System.out.print(printed);

        assertAll(
                () -> assertEquals(List.of(), linesOfJvm(), "what the JVM printed"),
                () -> assertEquals(0, exitCode, "exit status; see the report above"),
                () -> assertTrue(printed.endsWith("\n0 failures\n"), "see the report above"),
                () -> assertEquals(List.of(), crashFiles(), "files that a crash leaves"),
                () -> assertEquals(List.of(), nothingHeld(), "what the wallet has not got back"));
    }

    /** What the JVM says beside its notice of options in the environment. */
    private List<String> linesOfJvm() throws IOException {
        return Files.readAllLines(root.resolve("jvm.output")).stream()
                .filter(line -> !line.startsWith("Picked up ")).toList();
    }

    private List<Path> crashFiles() throws IOException {
        try (Stream<Path> files = Files.list(root.resolve("work"))) {
            return files.toList();
        }
    }

    /** The ledger's counts of objects that were not given back, or not rightly, unless zero. */
    private List<String> nothingHeld() throws Exception {
        run(List.of(COMMAND.toString(), "ledger", "show"), Map.of(), "ledger-show");
        List<String> counts = Files.readAllLines(root.resolve("ledger-show.output")).stream()
                .filter(line -> line.matches("(live\\..*|bad_frees|leaks) \\d+")).toList();
        assertTrue(counts.size() >= 3, "the ledger shows no counts: " + counts);
        return counts.stream().filter(line -> !line.endsWith(" 0")).toList();
    }

    private int run(List<String> command, Map<String, String> environment, String name)
            throws Exception {
        ProcessBuilder builder = new ProcessBuilder(command)
                .directory(root.resolve("work").toFile())
                .redirectErrorStream(true)
                .redirectOutput(root.resolve(name + ".output").toFile());
        builder.environment().putAll(environment);
        builder.environment().put("OVWALLET_SANDBOX_HOME", root.resolve("wallet").toString());
        builder.environment().put("LC_ALL", "C.UTF-8");
        Process process = builder.start();
        try {
            assertTrue(process.waitFor(HUNG_AFTER_MINUTES, TimeUnit.MINUTES), name + " hangs");
            return process.exitValue();
        } finally {
            process.destroyForcibly();
        }
    }

    private Path privateDirectory(String name) throws IOException {
        return Files.createDirectory(root.resolve(name), PosixFilePermissions.asFileAttribute(
                PosixFilePermissions.fromString("rwx------")));
    }

    private static String classPath() {
        return String.join(File.pathSeparator, built("classes").toString(),
                built("connector").toString(), built("hadoopTypes").toString());
    }

    /** The JDK of JAVA_HOME, else the one that runs the test. */
    private static String java() {
        String home = System.getenv("JAVA_HOME");
        return Path.of(home == null || home.isEmpty() ? System.getProperty("java.home") : home)
                .resolve("bin/java").toString();
    }

    /** Where the build put something, told in a system property. */
    private static Path built(String name) {
        String value = System.getProperty("walletcaller." + name);
        if (value == null || !Files.exists(Path.of(value))) {
            throw new IllegalStateException("walletcaller." + name + " is " + value
                    + ", which does not exist: run this test through ctest");
        }
        return Path.of(value);
    }
}
