package walletcaller.hadoop;

import static org.junit.jupiter.api.Assumptions.abort;

import java.io.IOException;
import java.util.List;

/** What a test needs of the machine, which a developer's account may lack but no test server. */
final class Privilege {
    enum Needs {
        MOUNT(List.of("unshare", "--mount", "true")),
        DROP_PRIVILEGES(List.of("setpriv", "--bounding-set=-ipc_lock,-sys_resource", "true"));

        private final List<String> probe;

        Needs(List<String> probe) {
            this.probe = probe;
        }
    }

    private Privilege() {}

    /** Fails, or skips the test with a word about it, when the machine does not grant it. */
    static void require(Needs needs) {
        if (isGranted(needs)) {
            return;
        }
        String message = "SKIPPED: this needs privilege for " + String.join(" ", needs.probe);
        if ("true".equals(System.getenv("CI"))) {
            throw new AssertionError(message);
        }
        System.out.println(message);
        abort(message);
    }

    private static boolean isGranted(Needs needs) {
        try {
            return new ProcessBuilder(needs.probe).redirectErrorStream(true).start().waitFor() == 0;
        } catch (IOException failure) {
            return false;
        } catch (InterruptedException failure) {
            throw new AssertionError(failure);
        }
    }
}
