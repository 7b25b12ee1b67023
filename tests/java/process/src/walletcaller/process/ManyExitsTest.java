package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/**
 * Process after process ends while four threads are inside calls: by System.exit and by leaving
 * main, at any moment and while a value is being fetched. {@code scripts/soak} does it a thousand
 * times.
 */
class ManyExitsTest {
    private static final int EXITS = Count.fromEnvironment("WALLETCALLER_EXITS", 12);

    /** Longer than the JVM waits for threads in native code before it ends. */
    private static final int SLOW_MICROSECONDS = 400_000;

    private static final String UNLOADED_IN_USE =
            "ovwallet sandbox: unloaded with handles that were never freed: wallet [1-4].*";

    @TempDir
    Path root;

    @Test
    void noneOfManyProcessesCrashes() throws Exception {
        int insideCalls = 0;
        for (int exit = 0; exit < EXITS; ++exit) {
            insideCalls += endOneProcess(exit) ? 1 : 0;
        }
        System.out.println(EXITS + " processes ended, " + insideCalls
                + " of them told that a wallet was in use");
        assertTrue(insideCalls >= EXITS / 2, "half of the processes are held inside calls");
    }

    /** Whether the client library said that it was unloaded with a wallet in use. */
    private boolean endOneProcess(int number) throws Exception {
        Path place = Files.createDirectory(root.resolve(Integer.toString(number)));
        boolean exits = number % 2 == 0;
        boolean slow = number / 2 % 2 == 0;
        Scene scene = new Scene(place);
        scene.install(Build.BASE);
        scene.wallet().add("slow", "v".repeat(10_000));
        if (slow) {
            scene.endSlowly();
            scene.wallet().delay("OvWallet_getStringValue", SLOW_MICROSECONDS);
        }
        ChildJvm jvm =
                scene.startProgram(List.of(), "ExitDuringCalls", exits ? "exit" : "return");

        assertEquals(List.of(), jvm.finish(exits ? 7 : 0), () -> "process " + number);

        List<String> noise = jvm.noise();
        assertTrue(noise.stream().allMatch(line -> line.matches(UNLOADED_IN_USE)),
                () -> "process " + number + ": " + noise);
        assertEquals(slow, slow && noise.size() == 1, () -> "process " + number + ": " + noise);
        return noise.size() == 1;
    }
}
