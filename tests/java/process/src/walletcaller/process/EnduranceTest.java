package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** Many calls in one process. */
class EnduranceTest extends ProcessTest {
    /**
     * How much resident memory may come between the two measurements, in units of 1024 bytes. A JVM
     * with a touched heap of fixed size and without its compiler, which takes megabytes whenever it
     * runs, adds some 400 of them by itself; a leak of 150 bytes a call would exceed the margin.
     */
    private static final long RESIDENT_MARGIN = 2048;

    @BeforeEach
    void fillWallet() {
        scene.install(Build.BASE);
        for (int thread = 0; thread < 8; ++thread) {
            scene.wallet().add("entry.db" + thread, "value of db" + thread);
        }
        scene.wallet().add("other", "another value");
        scene.wallet().add("com.orvanta.OV2", "the default");
    }

    @Test
    void threadsDoNotDisturbEachOther() {
        assertEquals(List.of("4000 calls"),
                scene.run(0, List.of("-Xmx64m"), "ManyThreads", "8", "500"));

        assertEquals(4000, scene.wallet().calls("OvWallet_freeV1"));
        assertEquals(12000, scene.wallet().calls("OvWallet_getStringValue"));
    }

    @Test
    void twentyThousandCallsKeepNothing() {
        List<String> lines = scene.run(0,
                List.of("-Xint", "-Xms32m", "-Xmx32m", "-XX:+AlwaysPreTouch"),
                "ManyCalls", "5000", "20000");

        assertEquals(3, lines.size());
        String[] warm = lines.get(0).split(" ");
        String[] end = lines.get(1).split(" ");
        assertEquals("2000 failures", lines.get(2));
        long growth = Long.parseLong(end[1]) - Long.parseLong(warm[1]);
        System.out.println("resident memory grew by " + growth + " kB in 15000 calls");
        assertTrue(growth < RESIDENT_MARGIN, () -> "resident memory grew by " + growth + " kB");
        assertEquals("0", warm[2], "locked memory between calls");
        assertEquals("0", end[2], "locked memory between calls");
        assertEquals(warm[3], end[3], "open files");
    }
}
