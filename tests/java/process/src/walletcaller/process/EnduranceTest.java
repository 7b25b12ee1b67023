package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.nio.file.Files;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** Many calls in one process. */
class EnduranceTest extends ProcessTest {
    /** {@code scripts/soak} makes a million. */
    private static final int CALLS = Count.fromEnvironment("WALLETCALLER_SOAK_CALLS", 20_000);

    /** As the program under test has it. */
    private static final int CALLS_PER_SAMPLE = 2500;

    /**
     * How much resident memory may come between the second quarter of the calls and the last, in
     * units of 1024 bytes. A JVM with a touched heap of fixed size and without its compiler, which
     * takes megabytes whenever it runs, adds some 400 of them by itself; with 20,000 calls a leak of
     * 200 bytes a call would exceed the margin, with a million one of 4.
     */
    private static final long RESIDENT_MARGIN = 2048;

    @BeforeEach
    void fillWallet() throws IOException {
        scene.install(Build.BASE);
        for (int thread = 0; thread < 8; ++thread) {
            scene.wallet().add("entry.db" + thread, "value of db" + thread);
        }
        scene.wallet().add("other", "another value");
        scene.wallet().add("com.orvanta.OV2", "the default");
        scene.wallet().add("loop", "$ovwallet(loop)");
        // It would have a line for each fetch.
        Files.delete(scene.wallet().home().resolve("journal"));
    }

    @Test
    void threadsDoNotDisturbEachOther() {
        assertEquals(List.of("4000 calls"),
                scene.run(0, List.of("-Xmx64m"), "ManyThreads", "8", "500"));

        assertEquals(4000, scene.wallet().calls("OvWallet_freeV1"));
        assertEquals(12000, scene.wallet().calls("OvWallet_getStringValue"));
    }

    /** Each class loader that loads the library has a copy of it. */
    @Test
    void copiesTakeNoRoomFromOtherLibraries() {
        assertEquals(List.of("300 copies"), scene.run(0, List.of("-Xmx128m"), "ManyCopies", "300",
                Build.INITIAL_EXEC.toString()));
    }

    /** It fails now and then in every way: what it holds stays what it was. */
    @Test
    void manyCallsWithFailuresKeepNothing() {
        List<String> lines = scene.run(0,
                List.of("-Xint", "-Xms32m", "-Xmx32m", "-XX:+AlwaysPreTouch"),
                "SoakCalls", Integer.toString(CALLS));
        lines.forEach(System.out::println);

        int count = CALLS / CALLS_PER_SAMPLE;
        assertEquals(count + 1, lines.size());
        List<long[]> samples = lines.subList(0, count).stream()
                .map(line -> Stream.of(line.split(" ")).mapToLong(Long::parseLong).toArray())
                .toList();
        String summary = lines.get(count);
        long growth = medianResident(samples.subList(count * 3 / 4, count))
                - medianResident(samples.subList(count / 4, count / 2));
        System.out.println("resident memory grew by " + growth + " kB");
        assertTrue(growth < RESIDENT_MARGIN, () -> "resident memory grew by " + growth + " kB");
        for (long[] sample : samples) {
            assertEquals(0, sample[2], "locked memory between calls");
            assertEquals(samples.get(0)[3], sample[3], "open files");
        }
        assertEquals(
                CALLS - numberOf(summary, "NO_JOB") - numberOf(summary, "MALFORMED_WALLET"),
                scene.wallet().calls("OvWallet_freeV1"));
    }

    private static long medianResident(List<long[]> samples) {
        return samples.stream().mapToLong(sample -> sample[1]).sorted()
                .skip(samples.size() / 2).findFirst().orElseThrow();
    }

    /** From a line like "NO_JOB 12, SUCCESS 345". */
    private static long numberOf(String summary, String kind) {
        return Stream.of(summary.split(", ")).filter(part -> part.startsWith(kind + " "))
                .mapToLong(part -> Long.parseLong(part.substring(kind.length() + 1)))
                .sum();
    }
}
