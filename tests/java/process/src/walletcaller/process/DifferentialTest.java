package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;
import walletcaller.harness.ChildJvm;

/**
 * The shipped file against an independent model of what it does to a job, on random cases: the one
 * oracle of the grammar. Environment variables replace the seed and the number of cases.
 */
class DifferentialTest extends ProcessTest {
    private static final int SEED = Count.fromEnvironment("WALLETCALLER_SEED", 20240611);
    private static final int CASES = Count.fromEnvironment("WALLETCALLER_CASES", 20_000);
    private static final int TEXTS = Count.fromEnvironment("WALLETCALLER_TEXTS", 20_000);

    @Test
    void theLibraryDoesWhatTheModelPredicts() {
        scene.install(Build.BASE);
        List<Path> classPath = new ArrayList<>(Build.classPath());
        classPath.set(0, Build.DIFFERENTIAL);
        ChildJvm jvm = scene.startProgram(classPath, List.of("-XX:TieredStopAtLevel=4"),
                "walletcaller.differential.DifferentialRun",
                Integer.toString(SEED), Integer.toString(CASES));

        System.out.println("seed " + SEED);
        assertEquals(
                List.of("differences: 0 in " + CASES, "never met: []"), jvm.finish(0), jvm::report);
        Scene.assertSilent(jvm);
    }

    @Test
    void theCommandExplainsWhatTheLibraryDoes() {
        scene.install(Build.BASE);
        List<Path> classPath = new ArrayList<>(Build.classPath());
        classPath.set(0, Build.DIFFERENTIAL);
        ChildJvm jvm = scene.startProgram(classPath, List.of("-XX:TieredStopAtLevel=4"),
                "walletcaller.differential.ExplainRun", Build.COMMAND.toString(),
                Integer.toString(SEED), Integer.toString(TEXTS));

        List<String> said = jvm.finish(0);
        assertTrue(said.get(said.size() - 1).matches("differences: 0 in \\d+"), jvm::report);
        Scene.assertSilent(jvm);
    }
}
