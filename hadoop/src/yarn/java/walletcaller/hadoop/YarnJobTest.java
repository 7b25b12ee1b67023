package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.file.Path;
import java.util.Map;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import walletcaller.job.CopyJob;

/** Whole jobs on a cluster of two nodes. */
class YarnJobTest {
    @TempDir static Path clusterDirectory;

    private static Cluster cluster;

    @TempDir Path directory;

    @BeforeAll
    static void startCluster() {
        cluster = new Cluster(clusterDirectory);
    }

    @AfterAll
    static void stopCluster() {
        cluster.close();
    }

    @Test
    void everyProcessOfAJobThatCarriesTheReferencesSetsItselfUp() {
        try (Scene scene = onCluster(directory)) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            ChildJvm job = scene.submit();
            System.out.println(job.lines());
            assertMoved(scene, job);
            assertEquals(Map.of("reader.name", 8, "pw_sales-db", 8, "com.orvanta.OV2", 8,
                    "pw_mart-db", 8, "forest", 8), scene.wallet().fetches());
        }
    }

    private static Scene onCluster(Path directory) {
        Scene scene = Scene.withReferences(directory);
        scene.useCluster(cluster.configuration());
        scene.configure("yarn.app.mapreduce.am.resource.mb", "512");
        scene.configure("yarn.app.mapreduce.am.command-opts", "-Xmx256m -Xcheck:jni " + Jdk.ADD_OPENS);
        scene.configure("mapreduce.map.memory.mb", "384");
        scene.configure("mapreduce.map.java.opts", "-Xmx128m -Xcheck:jni");
        return scene;
    }

    private static void assertMoved(Scene scene, ChildJvm job) {
        assertEquals("true", job.value("successful"), job::report);
        assertEquals("5000", job.value("read"));
        assertEquals("5000", job.value("written"));
        assertEquals(scene.databases().orders(), scene.databases().copies());
    }
}
