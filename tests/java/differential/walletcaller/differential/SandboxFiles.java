package walletcaller.differential;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.SortedMap;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;

/** The files through which the sandbox wallet gets its strings and tells what was asked of it. */
final class SandboxFiles {
    private static final Pattern NOT_PLAIN = Pattern.compile("[^A-Za-z0-9._-]");
    private static final Pattern CODE = Pattern.compile("%([0-9A-F]{2})");
    private static final String FETCH = "get ";

    private final Path strings;
    private final Path journal;

    SandboxFiles(Path home) {
        strings = home.resolve("strings");
        journal = home.resolve("journal");
    }

    /** Gives the wallet these strings and an empty journal. */
    void prepare(SortedMap<String, String> wallet) throws IOException {
        String lines = wallet.entrySet().stream()
                .map(entry -> encode(entry.getKey()) + "\t" + encode(entry.getValue()) + "\n")
                .collect(Collectors.joining());
        Files.write(strings, ByteText.bytes(lines));
        Files.write(journal, new byte[0]);
    }

    /** The names of the strings that were asked for, in order. */
    List<String> fetched() throws IOException {
        try (var lines = Files.lines(journal)) {
            return lines.map(SandboxFiles::fetchedName).toList();
        } catch (UncheckedIOException failure) {
            throw failure.getCause();
        }
    }

    private static String fetchedName(String line) {
        if (!line.startsWith(FETCH)) {
            throw new IllegalStateException("unexpected line in the journal: " + line);
        }
        return CODE.matcher(line.substring(FETCH.length())).replaceAll(code ->
                Matcher.quoteReplacement(Character.toString(Integer.parseInt(code.group(1), 16))));
    }

    private static String encode(String text) {
        return NOT_PLAIN.matcher(text).replaceAll(
                other -> String.format("%%%02X", (int) other.group().charAt(0)));
    }
}
