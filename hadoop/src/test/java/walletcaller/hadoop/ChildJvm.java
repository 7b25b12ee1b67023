package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.concurrent.TimeUnit;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * One JVM, run to its end with {@code -Xcheck:jni}. What its program prints begins with "= "; every
 * other line on standard output is the JVM's. Standard error holds Hadoop's log.
 */
final class ChildJvm {
    /** After this a child counts as hung; no test depends on the value. */
    private static final long HUNG_AFTER_SECONDS = 300;

    private final Path directory;

    /** Runs it. The command in front, empty or not, is one that starts another. */
    ChildJvm(Path directory, List<String> commandInFront, Jdk jdk, Map<String, String> environment,
            List<String> options, List<Path> classPath, List<String> program) {
        this.directory = directory;
        List<String> command = new ArrayList<>(commandInFront);
        command.add(jdk.java());
        command.addAll(List.of("-Xcheck:jni", "-Xmx256m", "-XX:+UseSerialGC",
                "-XX:TieredStopAtLevel=1", "-XX:-CreateCoredumpOnCrash",
                "-XX:ErrorFile=" + directory.resolve("hs_err_%p.log")));
        command.addAll(jdk.options());
        command.addAll(options);
        command.add("-cp");
        command.add(classPath.stream().map(Path::toString).collect(Collectors.joining(":")));
        command.addAll(program);
        ProcessBuilder builder = new ProcessBuilder(command).directory(directory.toFile())
                .redirectOutput(directory.resolve("stdout").toFile())
                .redirectError(directory.resolve("stderr").toFile());
        builder.environment().putAll(environment);
        try {
            Process process = builder.start();
            try {
                if (!process.waitFor(HUNG_AFTER_SECONDS, TimeUnit.SECONDS)) {
                    throw new AssertionError("the child hangs" + report());
                }
                assertEquals(0, process.exitValue(), () -> "exit code" + report());
            } finally {
                process.destroyForcibly();
            }
            assertEquals(List.of(), crashFiles(), "files that a crash leaves");
            assertEquals(List.of(), noise(), () -> "what the JVM says" + report());
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        } catch (InterruptedException failure) {
            throw new AssertionError(failure);
        }
    }

    /** What the program printed. */
    List<String> lines() {
        return read("stdout").stream()
                .filter(line -> line.startsWith("= ")).map(line -> line.substring(2)).toList();
    }

    /** The one line that begins with that word, without it. */
    String value(String word) {
        List<String> values = lines().stream().filter(line -> line.startsWith(word + " "))
                .map(line -> line.substring(word.length() + 1)).toList();
        assertEquals(1, values.size(), () -> "lines with " + word + report());
        return values.get(0);
    }

    /** A value that the program tells in hexadecimal, as the UTF-8 that it is. */
    String text(String word) {
        return new String(HexFormat.of().parseHex(value(word)), StandardCharsets.UTF_8);
    }

    List<String> log() {
        return read("stderr");
    }

    /** Warnings of {@code -Xcheck:jni} and of anything else that writes to standard output. */
    private List<String> noise() {
        return read("stdout").stream().filter(line -> !line.startsWith("= ")).toList();
    }

    private List<Path> crashFiles() throws IOException {
        try (Stream<Path> files = Files.list(directory)) {
            return files.filter(file -> file.getFileName().toString().matches("hs_err.*|core.*"))
                    .toList();
        }
    }

    private List<String> read(String name) {
        try {
            return Files.readAllLines(directory.resolve(name));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    String report() {
        return "; it printed\n" + String.join("\n", read("stdout"))
                + "\nand its log is\n" + String.join("\n", read("stderr"));
    }
}
