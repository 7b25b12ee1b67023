package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.file.Path;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;
import walletcaller.harness.ChildJvm;
import walletcaller.job.CopyJob;

/** Whole jobs in Hadoop's local runner, on the JDK of the machine and on the newest. */
class LocalJobTest {
    @TempDir Path directory;

    static List<Jdk> jdks() {
        return Jdk.all();
    }

    @ParameterizedTest
    @MethodSource("jdks")
    void everyRowIsMovedAndEachReferenceFetchedOnce(Jdk jdk) {
        try (Scene scene = Scene.withReferences(directory)) {
            ChildJvm job = scene.submit(jdk);
            System.out.println(jdk + ": at most " + job.value("memory") + " in use");
            assertMoved(scene, job);
            assertEquals(List.of("reader.name", "pw_sales-db", "com.orvanta.OV2", "pw_mart-db",
                    "forest"), scene.wallet().fetched());
            assertEquals("etl_reader", job.text("input.user.name"));
            assertEquals("s3cret of S\u00e4les", job.text("input.password"));
            assertEquals("etl_writer", job.text("output.user.name"));
            assertEquals("v3rborgen W\u00e4lder", job.text("output.password"));
        }
    }

    /** One set-up for the splits, one for the job, and two for each of three tasks. */
    @ParameterizedTest
    @MethodSource("jdks")
    void aJobThatCarriesTheReferencesReplacesThemWhereverItIsSetUp(Jdk jdk) {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            ChildJvm job = scene.submit(jdk);
            assertMoved(scene, job);
            assertEquals(Map.of("reader.name", 8, "pw_sales-db", 8, "com.orvanta.OV2", 8,
                    "pw_mart-db", 8, "forest", 8), scene.wallet().fetches());
            assertEquals("$ovwallet(reader.name)", job.text("input.user.name"));
            assertEquals("$ovwallet(pw_$(ovpid))", job.text("input.password"));
            assertEquals("$ovwallet", job.text("output.user.name"));
            assertEquals("$ovwallet(pw_$(ovpid))", job.text("output.password"));
        }
    }

    @Test
    void tasksOnThreeThreadsOfOneProcessAreSetUpAtOnce() {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            scene.configure("mapreduce.local.map.tasks.maximum", "3");
            scene.useMapper("MeetingMapper");
            assertMoved(scene, scene.submit());
            assertEquals(8, scene.wallet().fetches().get("forest"));
        }
    }

    @Test
    void theSetUpOfAJobAwaitsCredentialsThatComeLaterThanItsContext() {
        try (Scene scene = Scene.withReferences(directory)) {
            ChildJvm setUp = scene.run("LateCredentials", scene.describe().toString());
            assertEquals("etl_writer", setUp.value("user.name"));
            assertEquals(true, scene.databases().copiesExist());
        }
    }

    @Test
    void aJobThatNamesNoWalletEntryNeedsTheSoftwareAllTheSame() {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.input("etl_reader", "s3cret of S\u00e4les");
            scene.output("etl_writer", "v3rborgen W\u00e4lder");
            assertMoved(scene, scene.submit());
            assertEquals(List.of(), scene.wallet().fetched());
            assertEquals(8, scene.wallet().counter("loads"));
        }
    }

    private static void assertMoved(Scene scene, ChildJvm job) {
        assertEquals("true", job.value("successful"), job::report);
        assertEquals("5000", job.value("read"));
        assertEquals("5000", job.value("written"));
        assertEquals(scene.databases().orders(), scene.databases().copies());
    }
}
