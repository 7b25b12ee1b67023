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
    /**
     * The JVM itself waits 0.3 seconds for threads in native code to come back before it ends. A
     * value that takes longer keeps them inside while the library's static destructors run, and the
     * slow end lets them go on after that.
     */
    private static final int SLOW_MICROSECONDS = 400_000;

    /**
     * The client library itself notices that it ends with wallets in use: proof that calls were
     * under way. Nothing else may be said.
     */
    private static final String UNLOADED_IN_USE =
            "ovwallet sandbox: unloaded with handles that were never freed: wallet [1-4].*";

    @TempDir
    Path root;

    private Scene scene;

    @BeforeEach
    void layOut() {
        scene = new Scene(root);
        scene.install(Build.BASE);
        // Longer than its reference, so that the text has to move to other locked memory.
        scene.wallet().add("slow", "v".repeat(10_000));
    }

    @RepeatedTest(10)
    void systemExitWhileValuesAreFetched() {
        assertEndsInsideCalls(7, "exit");
    }

    @RepeatedTest(10)
    void endOfMainWhileValuesAreFetched() {
        assertEndsInsideCalls(0, "return");
    }

    /** Without a delay the threads are anywhere, in loading the client library for instance. */
    @RepeatedTest(20)
    void systemExitAtAnyMoment() {
        ChildJvm jvm = scene.startProgram(List.of(), "ExitDuringCalls", "exit");

        assertEquals(List.of(), jvm.finish(7));

        assertTrue(jvm.noise().stream().allMatch(line -> line.matches(UNLOADED_IN_USE)),
                () -> "output: " + jvm.noise());
    }

    private void assertEndsInsideCalls(int exitCode, String way) {
        scene.endSlowly();
        scene.wallet().delay("OvWallet_getStringValue", SLOW_MICROSECONDS);
        ChildJvm jvm = scene.startProgram(List.of(), "ExitDuringCalls", way);

        assertEquals(List.of(), jvm.finish(exitCode));

        assertEquals(1, jvm.noise().size(), () -> "output: " + jvm.noise());
        assertTrue(jvm.noise().get(0).matches(UNLOADED_IN_USE), () -> "output: " + jvm.noise());
    }
}
