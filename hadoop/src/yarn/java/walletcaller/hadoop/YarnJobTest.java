package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeSet;
import java.util.concurrent.CompletableFuture;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import walletcaller.harness.ChildJvm;
import walletcaller.job.CopyJob;

/** Whole jobs on a cluster of two nodes. */
class YarnJobTest {
    /** Of the wallet's values as much as is ASCII. */
    private static final List<String> VALUES =
            List.of("etl_reader", "s3cret of S", "etl_writer", "v3rborgen");

    private static final String OPTIONS =
            "-Xcheck:jni -XX:+UseSerialGC -XX:TieredStopAtLevel=1 ";
    private static final String AM_OPTIONS = "-Xmx256m " + OPTIONS;

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

    @AfterEach
    void noJvmOfTheClusterWarnsOfWrongUseOfJni() {
        int outputs = 0;
        for (Map.Entry<Path, String> file : cluster.files().entrySet()) {
            if (file.getKey().endsWith("stdout")) {
                ++outputs;
                assertEquals("", file.getValue(), file::toString);
            }
            assertFalse(file.getKey().getFileName().toString().startsWith("hs_err"),
                    file.getKey()::toString);
        }
        assertTrue(outputs > 0, "containers have a standard output");
    }

    @Test
    void everyProcessOfAJobThatCarriesTheReferencesSetsItselfUp() throws IOException {
        try (Scene scene = onCluster("job")) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            Set<Path> before = cluster.files().keySet();
            ChildJvm job = scene.submit();
            assertMoved(scene, job);
            // The submitter and the application master once, two tasks on each side.
            assertEquals(Map.of("reader.name", 6, "pw_sales-db", 6, "com.orvanta.OV2", 6,
                    "pw_mart-db", 6, "forest", 6), scene.wallet().fetches());
            assertEquals(List.of(), filesWithValues(before));
            assertEquals(Set.of("real user is effective user"), users(scene.path("kept")));
        }
    }

    @Test
    void aJobThatCarriesTheValuesHasThemInItsTokensOnly() throws IOException {
        try (Scene scene = onCluster("job")) {
            Set<Path> before = cluster.files().keySet();
            ChildJvm job = scene.submit();
            assertMoved(scene, job);
            assertEquals(List.of("reader.name", "pw_sales-db", "com.orvanta.OV2", "pw_mart-db",
                    "forest"), scene.wallet().fetched());
            Set<String> kinds = new TreeSet<>();
            filesWithValues(before).forEach(file -> kinds.add(file.replaceAll(".*[/._]", "")));
            assertEquals(Set.of("tokens"), kinds);
        }
    }

    @Test
    void twoJobsAtOnceDoNotDisturbEachOther() {
        try (Scene one = onCluster("one"); Scene other = onCluster("other")) {
            one.configure(CopyJob.REFERENCES_TRAVEL, "true");
            other.configure(CopyJob.REFERENCES_TRAVEL, "true");
            CompletableFuture<ChildJvm> first = CompletableFuture.supplyAsync(one::submit);
            CompletableFuture<ChildJvm> second = CompletableFuture.supplyAsync(other::submit);
            assertMoved(one, first.join());
            assertMoved(other, second.join());
            assertEquals(6, one.wallet().fetches().get("forest"));
            assertEquals(6, other.wallet().fetches().get("forest"));
        }
    }

    @Test
    void anAttemptThatIsKilledAfterItsSetUpIsRetriedInADirectoryOfItsOwn() throws IOException {
        try (Scene scene = onCluster("job")) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            scene.killOneAttempt();
            ChildJvm job = scene.submit();
            assertMoved(scene, job);
            assertEquals(Set.of("m_000000_0", "m_000000_1", "m_000001_0"),
                    attempts(scene.path("kept")));
            assertEquals(8, scene.wallet().fetches().get("forest"));
            Set<String> libraries = libraries(scene.path("kept"));
            assertEquals(3, libraries.size(), libraries::toString);
            for (String library : libraries) {
                assertTrue(library.matches(
                        ".*/container_\\w+/tmp/orvanta-wallet-\\d+/libWalletCaller.*"), library);
            }
        }
    }

    @Test
    void theLibraryCanComeFromTheDistributedCache() {
        try (Scene scene = onCluster("job")) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            scene.ship(Build.LIBRARY);
            assertMoved(scene, scene.submit());
        }
    }

    @Test
    void anotherLibraryInTheDistributedCacheThanInTheJarFailsTheJob() throws IOException {
        try (Scene scene = onCluster("job")) {
            scene.ship(Files.writeString(
                    scene.path("libWalletCaller-redhatlinux-x8664.so"), "not a library"));
            ChildJvm job = scene.submit();
            assertEquals("false", job.value("successful"), job::report);
            assertTrue(job.value("failure").startsWith("Job setup failed : com.orvanta.connector"
                    + ".common.exception.ConnectorException: The distributed cache has another"
                    + " libWalletCaller-redhatlinux-x8664.so than the job's jar\\n"), job::report);
        }
    }

    @Test
    void aWrongPasswordOfTheOutputSideIsToldToTheSubmitter() {
        try (Scene scene = onCluster("job")) {
            scene.wallet().add("pw_mart-db", "not the password");
            ChildJvm job = scene.submit();
            assertEquals("false", job.value("successful"), job::report);
            assertTrue(job.value("failure").startsWith("Job setup failed : java.io.IOException: "
                    + "Wrong user name or password [28000-224]\\n"), job::report);
            assertFalse(scene.databases().copiesExist());
        }
    }

    @Test
    void walletSoftwareThatIsMissingOnTheNodesOnlyIsToldToTheSubmitter() {
        try (Scene scene = onCluster("job")) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            scene.uninstallWalletOnNodes();
            ChildJvm job = scene.submit();
            assertEquals("false", job.value("successful"), job::report);
            assertTrue(job.value("failure").startsWith("Job setup failed : com.orvanta.connector"
                    + ".common.exception.ConnectorException: The Orvanta Wallet software is not"
                    + " installed; install version 14.10 of the Orvanta Wallet software (available"
                    + " from https://downloads.orvanta.example/ovwallet) in order to use Orvanta"
                    + " Wallet.\\n"), job::report);
        }
    }

    @Test
    void theJobsOwnClassLoaderIsNoHindrance() {
        try (Scene scene = onCluster("job")) {
            scene.configure(CopyJob.REFERENCES_TRAVEL, "true");
            scene.configure("mapreduce.job.classloader", "true");
            assertMoved(scene, scene.submit());
        }
    }

    @Test
    void nodesGiveTasksTheOptionsThatHadoopNeedsOnNewerJavaVersions() throws IOException {
        try (Scene scene = onCluster("job")) {
            assertMoved(scene, scene.submit());
            for (String command : commands(scene.path("kept"))) {
                // Hadoop 3.3 knows nothing of it.
                assertEquals(!Build.HADOOP.startsWith("3.3."), command.contains(" --add-opens="),
                        command);
                assertFalse(command.contains("<ADD_OPENS>"), command);
            }
        }
    }

    @Test
    void whereThatIsSwitchedOffOneOptionOfTheJobsOwnSuffices() throws IOException {
        try (Scene scene = onCluster("job")) {
            scene.configure("mapreduce.jvm.add-opens-as-default", "false");
            scene.configure("yarn.app.mapreduce.am.command-opts", AM_OPTIONS + Jdk.ADD_OPENS);
            assertMoved(scene, scene.submit());
            for (String command : commands(scene.path("kept"))) {
                assertFalse(command.contains("--add-opens"), command);
            }
        }
    }

    private Scene onCluster(String name) {
        try {
            Scene scene = Scene.withReferences(Files.createDirectory(directory.resolve(name)));
            scene.useCluster(cluster.configuration());
            scene.configure("yarn.app.mapreduce.am.resource.mb", "512");
            scene.configure("yarn.app.mapreduce.am.command-opts", AM_OPTIONS
                    + (Build.HADOOP.startsWith("3.3.") ? Jdk.ADD_OPENS : ""));
            scene.configure("yarn.app.mapreduce.am.scheduler.heartbeat.interval-ms", "100");
            scene.configure("mapreduce.map.memory.mb", "384");
            scene.configure("mapreduce.map.java.opts", "-Xmx128m " + OPTIONS);
            scene.configure(CopyJob.TASKS, "2");
            return scene;
        } catch (IOException failure) {
            throw new AssertionError(failure);
        }
    }

    private static void assertMoved(Scene scene, ChildJvm job) {
        assertEquals("true", job.value("successful"), job::report);
        assertEquals("5000", job.value("read"));
        assertEquals("5000", job.value("written"));
        assertEquals(scene.databases().orders(), scene.databases().copies());
    }

    /** Of what the cluster has written since. */
    private static List<String> filesWithValues(Set<Path> before) {
        List<String> found = new ArrayList<>();
        cluster.files().forEach((file, text) -> {
            if (!before.contains(file) && VALUES.stream().anyMatch(text::contains)) {
                found.add(file.toString());
            }
        });
        return found;
    }

    /** From where each of the kept processes has loaded the library. */
    private static Set<String> libraries(Path kept) throws IOException {
        Set<String> libraries = new TreeSet<>();
        for (Path file : files(kept, "maps")) {
            Files.readAllLines(file).stream()
                    .filter(line -> line.contains(Build.LIBRARY.getFileName().toString()))
                    .forEach(line -> libraries.add(line.substring(line.indexOf('/'))));
        }
        return libraries;
    }

    private static Set<String> users(Path kept) throws IOException {
        Set<String> users = new TreeSet<>();
        for (Path file : files(kept, "status")) {
            String line = Files.readAllLines(file).stream()
                    .filter(words -> words.startsWith("Uid:")).findFirst().orElseThrow();
            String[] ids = line.split("\\s+");
            users.add(ids[1].equals(ids[2]) ? "real user is effective user" : line);
        }
        return users;
    }

    private static List<String> commands(Path kept) throws IOException {
        List<String> commands = new ArrayList<>();
        for (Path file : files(kept, "cmdline")) {
            commands.add(Files.readString(file).replace('\0', ' '));
        }
        return commands;
    }

    private static Set<String> attempts(Path kept) throws IOException {
        Set<String> attempts = new TreeSet<>();
        files(kept, "status").forEach(file -> attempts.add(file.getParent().getFileName()
                .toString().replaceAll(".*_(m_.*)", "$1")));
        return attempts;
    }

    private static List<Path> files(Path directory, String name) throws IOException {
        try (Stream<Path> files = Files.walk(directory)) {
            return files.filter(file -> file.endsWith(name)).toList();
        }
    }
}
