package walletcaller.harness;

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
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * One JVM, started with {@code -Xcheck:jni}. What its program prints begins with "= "; every other
 * line on standard output, a warning of the JVM for instance, is noise.
 */
public class ChildJvm {
    /** How long a child may be silent before it counts as hung; no test depends on the value. */
    private static final long HUNG_AFTER_SECONDS = 600;

    private static final String END = "";

    private final Process process;
    private final Path workDirectory;
    private final Writer input;
    private final BlockingQueue<String> output = new LinkedBlockingQueue<>();
    private final List<String> noise = new ArrayList<>();
    private final List<String> lines = new ArrayList<>();

    /**
     * Starts it.
     *
     * @param workDirectory its own, where it also leaves its standard error
     * @param launcher the java command, which others that lead to it may precede
     * @param program a class and its arguments
     */
    public ChildJvm(Path workDirectory, Map<String, String> environment, List<String> launcher,
            List<String> options, List<Path> classPath, List<String> program) {
        this.workDirectory = workDirectory;
        List<String> command = new ArrayList<>(launcher);
        command.addAll(List.of("-Xcheck:jni", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1",
                "-XX:-CreateCoredumpOnCrash",
                "-XX:ErrorFile=" + workDirectory.resolve("hs_err_%p.log")));
        command.addAll(options);
        command.add("-cp");
        command.add(classPath.stream().map(Path::toString).collect(Collectors.joining(":")));
        command.addAll(program);
        ProcessBuilder builder = new ProcessBuilder(command).directory(workDirectory.toFile())
                .redirectError(errors().toFile());
        builder.environment().putAll(environment);
        try {
            process = builder.start();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
        input = process.outputWriter(StandardCharsets.US_ASCII);
        Thread reader = new Thread(this::readOutput, "output of " + program.get(0));
        reader.setDaemon(true);
        reader.start();
    }

    /** Sends one line and gives the answer to it. */
    public final String ask(String line) {
        try {
            input.write(line + "\n");
            input.flush();
        } catch (IOException failure) {
            throw new AssertionError("the child is gone" + report(), failure);
        }
        String answer = next();
        if (answer.equals(END)) {
            fail("the child ended early" + report());
        }
        return answer;
    }

    /** Waits for the end and gives what the program printed that was not asked for. */
    public final List<String> finish(int expectedExitCode) {
        try {
            input.close();
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

    /** After the end: as {@link #finish} gave it. */
    public final List<String> lines() {
        return lines;
    }

    /** After the end: the one line that begins with that word, without it. */
    public final String value(String word) {
        List<String> values = lines.stream().filter(line -> line.startsWith(word + " "))
                .map(line -> line.substring(word.length() + 1)).toList();
        assertEquals(1, values.size(), () -> "lines with " + word + report());
        return values.get(0);
    }

    /** A value that the program tells in hexadecimal, as the UTF-8 that it is. */
    public final String text(String word) {
        return new String(HexFormat.of().parseHex(value(word)), StandardCharsets.UTF_8);
    }

    /** After the end: what standard output holds that is not the program's own. */
    public final synchronized List<String> noise() {
        return List.copyOf(noise);
    }

    /** After the end: standard error, without what the JVM says of options in its environment. */
    public final List<String> log() {
        try (Stream<String> all = Files.lines(errors())) {
            return all.filter(line -> !line.startsWith("Picked up ")).toList();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** Everything that was said, to tell in a test's messages. */
    public final String report() {
        return "; it printed\n" + String.join("\n", lines) + "\nits noise is\n"
                + String.join("\n", noise()) + "\nand its log is\n" + String.join("\n", log());
    }

    private Path errors() {
        return workDirectory.resolve("stderr");
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
        try (BufferedReader reader = new BufferedReader(
                new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
            for (String line = reader.readLine(); line != null; line = reader.readLine()) {
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
}
