package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.fail;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.UncheckedIOException;
import java.io.Writer;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * One JVM, started with {@code -Xcheck:jni}. What its program prints begins with "= "; every other
 * line of either stream, a warning of the JVM for instance, is noise.
 */
class ChildJvm {
    /** How long a child may be silent before it counts as hung; no test depends on the value. */
    private static final long HUNG_AFTER_SECONDS = 120;

    private static final String END = "";

    private final Process process;
    private final Path workDirectory;
    private final Path errors;
    private final Writer input;
    private final BlockingQueue<String> output = new LinkedBlockingQueue<>();
    private final List<String> noise = new ArrayList<>();

    ChildJvm(Path workDirectory, Map<String, String> environment, List<Path> classPath,
            List<String> options, String mainClass, List<String> arguments) {
        this.workDirectory = workDirectory;
        this.errors = workDirectory.resolve("stderr");
        List<String> command = new ArrayList<>(List.of(Build.JAVA.toString(), "-Xcheck:jni",
                "-XX:ErrorFile=" + workDirectory.resolve("hs_err_%p.log"),
                "-XX:-CreateCoredumpOnCrash", "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC",
                "-XX:+IgnoreUnrecognizedVMOptions", "--enable-native-access=ALL-UNNAMED"));
        command.addAll(options);
        command.add("-cp");
        command.add(classPath.stream().map(Path::toString).collect(Collectors.joining(":")));
        command.add("walletcaller.child." + mainClass);
        command.addAll(arguments);
        ProcessBuilder builder = new ProcessBuilder(command);
        builder.directory(workDirectory.toFile());
        builder.redirectError(errors.toFile());
        builder.environment().putAll(environment);
        try {
            process = builder.start();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
        input = process.outputWriter(StandardCharsets.US_ASCII);
        Thread reader = new Thread(this::readOutput, "output of " + mainClass);
        reader.setDaemon(true);
        reader.start();
    }

    /** Sends one line and gives the answer to it. */
    final String ask(String line) {
        try {
            input.write(line + "\n");
            input.flush();
        } catch (IOException failure) {
            throw new AssertionError("the child is gone" + report(), failure);
        }
        return nextLine();
    }

    /** The next line that the program prints, without its mark. */
    final String nextLine() {
        String line = next();
        if (line.equals(END)) {
            fail("the child ended early" + report());
        }
        return line;
    }

    /** Waits for the end; everything that the program still prints belongs to the result. */
    final List<String> finish(int expectedExitCode) {
        try {
            input.close();
            List<String> lines = new ArrayList<>();
            for (String line = next(); !line.equals(END); line = next()) {
                lines.add(line);
            }
            if (!process.waitFor(HUNG_AFTER_SECONDS, TimeUnit.SECONDS)) {
                fail("the child does not end" + report());
            }
            assertEquals(expectedExitCode, process.exitValue(), () -> "exit code" + report());
            assertEquals(List.of(), crashFiles(), "files that a crash leaves");
            return lines;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        } catch (InterruptedException failure) {
            throw new AssertionError(failure);
        } finally {
            process.destroyForcibly();
        }
    }

    /** After the end: neither stream had a line that is not the program's own. */
    final void assertSilent() {
        assertEquals(List.of(), noise(), "what neither the program nor the test expects");
    }

    /** After the end: both streams, without what the JVM says of options in its environment. */
    final synchronized List<String> noise() {
        try {
            return Stream.concat(noise.stream(), Files.readAllLines(errors).stream())
                    .filter(line -> !line.startsWith("Picked up ")).toList();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    private String next() {
        try {
            String line = output.poll(HUNG_AFTER_SECONDS, TimeUnit.SECONDS);
            if (line == null) {
                process.destroyForcibly();
                fail("the child hangs" + report());
            }
            return line;
        } catch (InterruptedException failure) {
            throw new AssertionError(failure);
        }
    }

    private void readOutput() {
        try (BufferedReader lines = new BufferedReader(
                new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
            for (String line = lines.readLine(); line != null; line = lines.readLine()) {
                if (line.startsWith("= ")) {
                    output.add(line.substring(2));
                } else {
                    addNoise(line);
                }
            }
        } catch (IOException failure) {
            addNoise(failure.toString());
        }
        output.add(END);
    }

    private synchronized void addNoise(String line) {
        noise.add(line);
    }

    private List<Path> crashFiles() throws IOException {
        try (Stream<Path> files = Files.list(workDirectory)) {
            return files.filter(file -> file.getFileName().toString().matches("hs_err.*|core.*"))
                    .toList();
        }
    }

    private String report() {
        return "; it printed " + String.join("\n", noise());
    }
}
