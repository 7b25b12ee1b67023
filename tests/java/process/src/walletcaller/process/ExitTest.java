package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;
import walletcaller.harness.ChildJvm;

/**
 * Process after process ends while four daemon threads are inside calls. What they hold is never
 * given back, so there is nothing to ask of the ledger; each process has to end as it was told to.
 * {@code scripts/soak} has many more of them end.
 */
class ExitTest {
    /** Of each way. */
    private static final int EXITS = Count.fromEnvironment("WALLETCALLER_EXITS", 8);

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

    @ParameterizedTest
    @ValueSource(strings = {"exit", "return"})
    void whileValuesAreFetched(String way) throws Exception {
        for (int number = 0; number < EXITS; ++number) {
            Scene scene = scene(number);
            scene.endSlowly();
            scene.wallet().delay("OvWallet_getStringValue", SLOW_MICROSECONDS);
            assertEquals(1, linesOfOneProcess(scene, way), "a wallet was in use");
        }
    }

    /** Without a delay the threads are anywhere, in loading the client library for instance. */
    @ParameterizedTest
    @ValueSource(strings = {"exit", "return"})
    void atAnyMoment(String way) throws Exception {
        for (int number = 0; number < EXITS; ++number) {
            linesOfOneProcess(scene(number), way);
        }
    }

    private Scene scene(int number) throws Exception {
        Scene scene = new Scene(Files.createDirectory(root.resolve(Integer.toString(number))));
        scene.install(Build.BASE);
        // Longer than its reference, so that the text has to move to other locked memory.
        scene.wallet().add("slow", "v".repeat(10_000));
        return scene;
    }

    private static int linesOfOneProcess(Scene scene, String way) {
        ChildJvm jvm = scene.startProgram(List.of(), "ExitDuringCalls", way);
        assertEquals(List.of(), jvm.finish(way.equals("exit") ? 7 : 0));
        assertEquals(List.of(), jvm.noise());
        assertTrue(jvm.log().stream().allMatch(line -> line.matches(UNLOADED_IN_USE)), jvm::report);
        return jvm.log().size();
    }
}
