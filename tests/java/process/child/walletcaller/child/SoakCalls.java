package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.StandardCopyOption;
import java.util.EnumMap;
import java.util.Map;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.apache.hadoop.mapreduce.JobContext;

/**
 * Makes calls without end to speak of, failures of every kind that one process can bring about
 * mixed in, and prints every 2,500 calls what it holds: the number of calls so far, resident and
 * locked memory in units of 1024 bytes, and open files. At the end it prints how many calls of each
 * kind there were. A call that ends in another way than it should ends the program.
 */
public final class SoakCalls {
    private static final int CALLS_PER_SAMPLE = 2500;

    /** What goes wrong with a call, every so many calls; the first that applies is taken. */
    private enum Kind {
        ENDLESS_VALUES(5003, "Orvanta Wallet references in credential information lead back to "
                + "themselves."),
        MALFORMED_WALLET(101, "Attempt to use Orvanta Wallet failed because: "),
        NO_JOB(53, "The job context is null."),
        SETTER_THROWS(41, "thrown by setOutputOrvantaUserName"),
        GETTER_THROWS(37, "thrown by getInputOrvantaPassword"),
        NOT_UTF8(29, "Invalid UTF-8"),
        UNSUPPORTED_MACRO(16, "Unsupported replacement macro, \"$(x)\", found in credential "
                + "information."),
        MISSING_ENTRY(10, "Attempt to get value from Orvanta Wallet failed because: "),
        SUCCESS(1, null);

        final int every;
        final String message;

        Kind(int every, String message) {
            this.every = every;
            this.message = message;
        }

        static Kind of(int call) {
            return Stream.of(values()).filter(kind -> call % kind.every == 0)
                    .findFirst().orElseThrow(IllegalStateException::new);
        }
    }

    private final String directory;
    private final Path strings = Paths.get(System.getenv("OVWALLET_SANDBOX_HOME"), "strings");
    private final TestJob job = new TestJob();
    private final Map<Kind, Integer> made = new EnumMap<>(Kind.class);

    private SoakCalls(String directory) {
        this.directory = directory;
    }

    public static void main(String[] arguments) throws IOException {
        int calls = Integer.parseInt(arguments[1]);
        WalletCaller.load(Paths.get(arguments[0]));
        SoakCalls soak = new SoakCalls(arguments[0]);
        for (int call = 1; call <= calls; ++call) {
            soak.make(Kind.of(call), call);
            if (call % CALLS_PER_SAMPLE == 0) {
                soak.printSample(call);
            }
        }
        System.out.println("= " + soak.made.entrySet().stream()
                .map(entry -> entry.getKey() + " " + entry.getValue())
                .collect(Collectors.joining(", ")));
    }

    private void make(Kind kind, int call) throws IOException {
        job.set("Input", "jdbc:orvanta://db0/", "$ovwallet(entry.$(ovpid))", "$ovwallet(other)");
        job.set("Output", "", "$ovwallet", "");
        JobContext jobOrNull = kind == Kind.NO_JOB ? null : job;
        Faults.throwIn(null);
        switch (kind) {
            case ENDLESS_VALUES:
                setOutputPassword("$ovwallet(loop)");
                break;
            case MALFORMED_WALLET:
                spoilWallet();
                break;
            case SETTER_THROWS:
                Faults.throwIn("setOutputOrvantaUserName");
                break;
            case GETTER_THROWS:
                Faults.throwIn("getInputOrvantaPassword");
                break;
            case NOT_UTF8:
                job.setSecret("Output", "password",
                        new byte[] {'$', 'o', 'v', 'w', 'a', 'l', 'l', 'e', 't', '(', '$', '(',
                            (byte) 0xFF, ')', ')'});
                break;
            case UNSUPPORTED_MACRO:
                setOutputPassword("$ovwallet($(x))");
                break;
            case MISSING_ENTRY:
                setOutputPassword("$ovwallet(missing)");
                break;
            default:
                break;
        }
        String outcome = outcomeOf(jobOrNull);
        if (kind == Kind.MALFORMED_WALLET) {
            mendWallet();
        }
        boolean asExpected = kind.message == null
                ? outcome == null && job.text("Input", "password").equals("another value")
                : outcome != null && outcome.startsWith(kind.message);
        if (!asExpected) {
            throw new IllegalStateException("call " + call + ", " + kind + ": " + outcome);
        }
        made.merge(kind, 1, Integer::sum);
    }

    private void setOutputPassword(String text) {
        job.set("Output", "", "$ovwallet", text);
    }

    /** Null for a call that returned. */
    private String outcomeOf(JobContext jobOrNull) {
        try {
            WalletCaller.performSubstitutions(jobOrNull, directory);
            return null;
        } catch (IOException | RuntimeException failure) {
            return failure.getMessage();
        }
    }

    private void spoilWallet() throws IOException {
        Files.move(strings, aside(), StandardCopyOption.REPLACE_EXISTING);
        Files.write(strings, new byte[] {'x'});
    }

    private void mendWallet() throws IOException {
        Files.move(aside(), strings, StandardCopyOption.REPLACE_EXISTING);
    }

    private Path aside() {
        return strings.resolveSibling("aside");
    }

    private void printSample(int call) throws IOException {
        System.gc();
        System.out.println("= " + call + " " + status("VmRSS") + " " + status("VmLck") + " "
                + openFiles());
    }

    private static long status(String name) throws IOException {
        for (String line : Files.readAllLines(Paths.get("/proc/self/status"))) {
            if (line.startsWith(name + ":")) {
                return Long.parseLong(line.replaceAll("[^0-9]", ""));
            }
        }
        throw new IllegalStateException("no " + name + " in /proc/self/status");
    }

    private static long openFiles() throws IOException {
        try (Stream<Path> files = Files.list(Paths.get("/proc/self/fd"))) {
            return files.count();
        }
    }
}
