package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.RepeatedTest;
import org.junit.jupiter.api.io.TempDir;

/**
 * The JVM ends while daemon threads are inside calls. What they hold is never given back, so there
 * is nothing to ask of the ledger here; the process has to end as it was told to.
 */
class ExitTest {
    private static final int SLOW_MICROSECONDS = 20_000;

    @TempDir
    Path root;

    private Scene scene;

    @BeforeEach
    void layOut() {
        scene = new Scene(root);
        scene.install(Build.BASE);
        scene.wallet().add("slow", "value");
        scene.wallet().delay("OvWallet_getStringValue", SLOW_MICROSECONDS);
    }

    @RepeatedTest(20)
    void systemExit() {
        assertEndsInsideCalls(7, "exit");
    }

    @RepeatedTest(20)
    void endOfMain() {
        assertEndsInsideCalls(0, "return");
    }

    private void assertEndsInsideCalls(int exitCode, String way) {
        ChildJvm jvm = scene.startProgram(List.of(), "ExitDuringCalls", way);

        assertEquals(List.of(), jvm.finish(exitCode));

        // The client library itself notices that it ends with wallets in use: proof that calls were
        // under way. Nothing else may be said.
        assertEquals(1, jvm.noise().size(), () -> "output: " + jvm.noise());
        assertTrue(jvm.noise().get(0).matches(
                "ovwallet sandbox: unloaded with handles that were never freed: wallet [1-4].*"),
                () -> "output: " + jvm.noise());
    }
}
