package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.stream.Stream;

/**
 * Makes many calls, every tenth of them a failing one, and prints what the process holds after a
 * first part of them, when everything has been loaded and compiled, and again at the end.
 */
public final class ManyCalls {
    private ManyCalls() {}

    public static void main(String[] arguments) throws Exception {
        String directory = arguments[0];
        int warmUp = Integer.parseInt(arguments[1]);
        int calls = Integer.parseInt(arguments[2]);
        WalletCaller.load(Paths.get(directory));
        TestJob job = new TestJob();
        int failures = 0;
        for (int call = 1; call <= calls; ++call) {
            boolean failing = call % 10 == 0;
            job.set("Input", "jdbc:orvanta://db0/",
                    "$ovwallet(entry.$(ovpid))", "$ovwallet(other)");
            job.set("Output", "", "$ovwallet", failing ? "$ovwallet(missing)" : "");
            try {
                WalletCaller.performSubstitutions(job, directory);
            } catch (IOException expected) {
                ++failures;
            }
            if (call == warmUp) {
                report("warm");
            }
        }
        report("end");
        System.out.println("= " + failures + " failures");
    }

    private static void report(String moment) throws IOException {
        System.gc();
        System.out.println("= " + moment + " " + status("VmRSS") + " " + status("VmLck") + " "
                + openFiles());
    }

    /** In units of 1024 bytes. */
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
