package walletcaller.differential;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.Writer;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Base64;
import java.util.List;
import java.util.TreeMap;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * Compares what the command explains of a text with what the library, as it is shipped, does with it:
 * the entries that are fetched, in their order, and the text of a failure.
 *
 * <p>The program of a JVM of its own. Its arguments are the private directory that holds the library,
 * ending in "/", the pathname of the command, the seed and the number of texts.
 */
public final class ExplainRun {
    private static final int MOST_PRINTED = 10;
    private static final Pattern ENTRY = Pattern.compile("\"entry\":\"([^\"]*)\"");
    private static final Pattern FAILURE =
            Pattern.compile("\"failure\":(null|\"((?:[^\"\\\\]|\\\\.)*)\"),\"lints\"");
    private static final Pattern ESCAPE = Pattern.compile("\\\\(?:u(....)|(.))");

    private final String privateTempDir;
    private final SandboxFiles sandbox =
            new SandboxFiles(Path.of(System.getenv("OVWALLET_SANDBOX_HOME")));
    private final Writer questions;
    private final BufferedReader answers;

    private ExplainRun(String privateTempDir, String command) throws IOException {
        this.privateTempDir = privateTempDir;
        Process process = new ProcessBuilder(command, "explain", "--batch")
                .redirectError(ProcessBuilder.Redirect.INHERIT).start();
        questions = process.outputWriter(StandardCharsets.US_ASCII);
        answers = new BufferedReader(
                new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8));
    }

    public static void main(String[] arguments) throws IOException {
        WalletCaller.load(Path.of(arguments[0]));
        ExplainRun run = new ExplainRun(arguments[0], arguments[1]);
        long seed = Long.parseLong(arguments[2]);
        int texts = Integer.parseInt(arguments[3]);
        int compared = 0;
        int differences = 0;
        for (int number = 0; compared < texts; number++) {
            TestCase testCase = CaseGenerator.generate(seed, number);
            for (Property property : testCase.texts().keySet()) {
                compared++;
                String difference = run.difference(testCase, property);
                if (difference != null && ++differences <= MOST_PRINTED) {
                    System.out.println("= case " + number + ", " + property + ": " + difference);
                }
            }
        }
        System.out.println("= differences: " + differences + " in " + compared);
    }

    /** Null where both agree. The job has one property, and no value is or completes a reference. */
    private String difference(TestCase all, Property property) throws IOException {
        TestCase single = TestCase.empty();
        single.urls().putAll(all.urls());
        single.texts().put(property, all.texts().get(property));
        all.wallet().keySet().forEach(name -> single.wallet().put(name, "_"));
        String answer = ask(all.urls().get(property.side), all.texts().get(property));
        List<String> foreseen = entries(answer);
        String failure = failure(answer);
        sandbox.prepare(new TreeMap<>(single.wallet()));
        String message = null;
        try {
            WalletCaller.performSubstitutions(new RecordingJob(single), privateTempDir);
        } catch (ConnectorException thrown) {
            message = new String(thrown.getMessage().toCharArray());
        }
        List<String> fetched = sandbox.fetched();
        // The wallet may refuse an entry before the last.
        boolean agree = message == null || message.equals(failure)
                ? fetched.equals(foreseen)
                : fetched.size() <= foreseen.size()
                        && foreseen.subList(0, fetched.size()).equals(fetched);
        return agree && (message != null || failure == null) ? null : CaseText.format(single) + " foreseen " + foreseen + " " + failure
                + ", fetched " + fetched + " " + message;
    }

    private String ask(String url, String text) throws IOException {
        questions.write("{\"url\":" + (url == null ? "null"
                : "\"" + encoded(url.getBytes(StandardCharsets.UTF_8)) + "\"")
                + ",\"text\":\"" + encoded(ByteText.bytes(text)) + "\"}\n");
        questions.flush();
        return answers.readLine();
    }

    private static String encoded(byte[] bytes) {
        return Base64.getEncoder().encodeToString(bytes);
    }

    /** The wallet takes a name up to its first NUL. */
    private static List<String> entries(String answer) {
        List<String> entries = new ArrayList<>();
        for (Matcher matcher = ENTRY.matcher(answer); matcher.find();) {
            String name = ByteText.of(Base64.getDecoder().decode(matcher.group(1)));
            entries.add(ByteText.upToNul(name));
        }
        return entries;
    }

    private static String failure(String answer) {
        Matcher matcher = FAILURE.matcher(answer);
        if (!matcher.find()) {
            throw new IllegalStateException(answer);
        }
        return matcher.group(2) == null ? null : ESCAPE.matcher(matcher.group(2)).replaceAll(
                escape -> Matcher.quoteReplacement(escape.group(1) == null ? plain(escape.group(2))
                        : String.valueOf((char) Integer.parseInt(escape.group(1), 16))));
    }

    private static String plain(String letter) {
        int control = "btnfr".indexOf(letter);
        return control < 0 ? letter : String.valueOf("\b\t\n\f\r".charAt(control));
    }
}
