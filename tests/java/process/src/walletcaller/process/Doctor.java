package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.List;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/**
 * What the command foresees of a job's first call. Every scene of the tests that start a JVM is also
 * one for the command: it has to foresee what the job then meets, as far as the set-up goes.
 */
final class Doctor {
    /** How the messages of a set-up that fails begin; any other failure comes after it. */
    private static final List<String> OF_SET_UP = List.of("Attempt to use ",
            "An attempt to create ", "The Orvanta Wallet software ", "Cannot open directory ");
    private static final Pattern VERDICT = Pattern.compile("\"verdict\":\\{\"outcome\":\"(\\w+)\","
            + "\"class\":(null|\"[^\"]*\"),\"message\":(null|\"(?:[^\"\\\\]|\\\\.)*\")");
    private static final Pattern ESCAPE = Pattern.compile("\\\\(?:u(....)|(.))");
    private static final int DIFFERS_FROM_REHEARSAL = 4;

    private final Outcome foreseen;

    /** Of a job with this library. It has a copy of the wallet, so that nothing is counted twice. */
    Doctor(Map<String, String> environment, Path home, Path library, String directory) {
        ProcessBuilder builder = new ProcessBuilder(Build.COMMAND.toString(), "doctor", "--json",
                "--depth=call", "--library", library.toString(), "--dir", directory);
        builder.environment().putAll(environment);
        copyFiles(Path.of(environment.get("OVWALLET_SANDBOX_HOME")), home);
        builder.environment().put("OVWALLET_SANDBOX_HOME", home.toString());
        builder.redirectError(ProcessBuilder.Redirect.INHERIT);
        try {
            Process process = builder.start();
            process.getOutputStream().close();
            String json = new String(
                    process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
            assertTrue(process.waitFor() != DIFFERS_FROM_REHEARSAL, json);
            foreseen = verdict(json);
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        } catch (InterruptedException failure) {
            throw new AssertionError(failure);
        }
    }

    void assertForesaw(Outcome outcome) {
        assertEquals(isOfSetUp(outcome) ? outcome : Outcome.RETURNED, foreseen, "what was foreseen");
    }

    private static void copyFiles(Path from, Path to) {
        if (!Files.exists(from)) {
            return;
        }
        try (Stream<Path> files = Files.list(from)) {
            Files.createDirectory(to, PosixFilePermissions.asFileAttribute(
                    PosixFilePermissions.fromString("rwx------")));
            for (Path file : files.toList()) {
                Files.copy(file, to.resolve(file.getFileName()),
                        StandardCopyOption.COPY_ATTRIBUTES);
            }
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    private static boolean isOfSetUp(Outcome outcome) {
        return outcome.message() != null
                && OF_SET_UP.stream().anyMatch(outcome.message()::startsWith);
    }

    private static Outcome verdict(String json) {
        Matcher matcher = VERDICT.matcher(json);
        assertTrue(matcher.find(), json);
        if (matcher.group(1).equals("returns")) {
            return Outcome.RETURNED;
        }
        assertEquals("exception", matcher.group(1), json);
        return new Outcome(text(matcher.group(2)), text(matcher.group(3)), false);
    }

    private static String text(String literal) {
        return ESCAPE.matcher(literal.substring(1, literal.length() - 1)).replaceAll(escape ->
                Matcher.quoteReplacement(escape.group(1) == null ? escape.group(2)
                        : String.valueOf((char) Integer.parseInt(escape.group(1), 16))));
    }
}
