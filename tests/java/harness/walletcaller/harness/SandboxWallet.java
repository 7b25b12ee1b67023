package walletcaller.harness;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;

/** One user's sandbox wallet, kept by its own command, with its ledger and its journal on. */
public final class SandboxWallet {
    private final Path command;
    private final Path home;

    public SandboxWallet(Path command, Path home) {
        this.command = command;
        this.home = home;
        try {
            Files.createDirectory(home);
            Files.createFile(home.resolve("journal"));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
        run(new byte[0], "ledger", "start");
    }

    public Path home() {
        return home;
    }

    public void add(String name, String value) {
        add(name, value.getBytes(StandardCharsets.UTF_8));
    }

    /** The command drops one newline at the end of its input. */
    public void add(String name, byte[] value) {
        byte[] line = Arrays.copyOf(value, value.length + 1);
        line[value.length] = '\n';
        run(line, "add", "--", name);
    }

    public void delete(String name) {
        run(new byte[0], "delete", "--", name);
    }

    /** Makes the k-th call from now of that entry point fail. */
    public void fail(String entryPoint, int call, String text) {
        run(new byte[0], "fail", entryPoint, Integer.toString(call), text);
    }

    /** Every call of that entry point throws a C++ exception; "none" ends it. */
    public void throwFrom(String entryPoint, String kind) {
        run(new byte[0], "throw", entryPoint, kind);
    }

    public void delay(String entryPoint, int microseconds) {
        run(new byte[0], "delay", entryPoint, Integer.toString(microseconds));
    }

    /** The names asked for, in order. */
    public List<String> fetched() {
        try {
            return Files.readAllLines(home.resolve("journal")).stream()
                    .map(line -> line.substring("get ".length())).toList();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** How often each name was asked for, by all processes together. */
    public Map<String, Integer> fetches() {
        Map<String, Integer> fetches = new HashMap<>();
        fetched().forEach(name -> fetches.merge(name, 1, Integer::sum));
        return fetches;
    }

    /** All counters by name. */
    public Map<String, Long> ledger() {
        Map<String, Long> counters = new TreeMap<>();
        for (String line : run(new byte[0], "ledger", "show").split("\n")) {
            String[] words = line.split(" ");
            counters.put(words[0], Long.valueOf(words[1]));
        }
        return counters;
    }

    public long counter(String name) {
        return ledger().getOrDefault(name, 0L);
    }

    public long calls(String entryPoint) {
        return counter("calls." + entryPoint);
    }

    /** Everything handed out was taken back, once, and the client library is unloaded. */
    public void assertAtRest() {
        Map<String, Long> counters = ledger();
        Map<String, Long> expected = new TreeMap<>(counters);
        expected.replaceAll((name, value) -> name.startsWith("live.") ? 0L : value);
        expected.put("bad_frees", 0L);
        expected.put("leaks", 0L);
        expected.put("unloads", counters.get("loads"));
        assertEquals(expected, counters, "the wallet's ledger");
        assertEquals(true, counters.containsKey("live.wallets"), "the ledger counts live wallets");
    }

    private String run(byte[] input, String... arguments) {
        List<String> words = new ArrayList<>(List.of(command.toString()));
        words.addAll(List.of(arguments));
        ProcessBuilder builder = new ProcessBuilder(words).redirectErrorStream(true);
        builder.environment().put("OVWALLET_SANDBOX_HOME", home.toString());
        try {
            Process process = builder.start();
            try (var standardInput = process.getOutputStream()) {
                standardInput.write(input);
            }
            String output =
                    new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
            assertEquals(0, process.waitFor(), () -> words + ": " + output);
            return output;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        } catch (InterruptedException failure) {
            throw new AssertionError(failure);
        }
    }
}
