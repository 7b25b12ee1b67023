package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.Properties;
import java.util.stream.Collectors;
import walletcaller.database.Databases;
import walletcaller.job.KeepingMapper;
import walletcaller.harness.ChildJvm;
import walletcaller.harness.SandboxWallet;

/**
 * Everything that one job needs, under one fresh directory: a wallet, the two databases, and what
 * stands for the machine's command link and package records.
 */
final class Scene implements AutoCloseable {
    private final Path root;
    private final SandboxWallet wallet;
    private final Databases databases = new Databases();
    private final Properties job = new Properties();
    private Path temporary;
    private int runs;

    Scene(Path root) {
        try {
            this.root = root.toRealPath();
            Files.createDirectory(path("rpm"));
            temporary = Files.createDirectory(path("tmp"));
            Files.createSymbolicLink(path("ovwallet"), Build.command());
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
        wallet = new SandboxWallet(Build.command(), path("wallet"));
        configure("hadoop.tmp.dir", path("hadoop").toString());
        configure("mapreduce.framework.name", "local");
        // How often the submitter looks whether the job has ended.
        configure("mapreduce.client.completion.pollinterval", "50");
        configure(KeepingMapper.DIRECTORY, path("kept").toString());
    }

    /** Wallet and databases fit each other, and the job refers to the wallet on both sides. */
    static Scene withReferences(Path root) {
        Scene scene = new Scene(root);
        scene.wallet.add("reader.name", "etl_reader");
        scene.wallet.add("pw_sales-db", "s3cret of S\u00e4les");
        scene.wallet.add("com.orvanta.OV2", "etl_writer");
        scene.wallet.add("pw_mart-db", "v3rborgen $ovwallet(forest)");
        scene.wallet.add("forest", "W\u00e4lder");
        scene.databases.addReader("etl_reader", "s3cret of S\u00e4les");
        scene.databases.addWriter("etl_writer", "v3rborgen W\u00e4lder");
        scene.input("$ovwallet(reader.name)", "$ovwallet(pw_$(ovpid))");
        scene.output("$ovwallet", "$ovwallet(pw_$(ovpid))");
        return scene;
    }

    SandboxWallet wallet() {
        return wallet;
    }

    Databases databases() {
        return databases;
    }

    Path path(String name) {
        return root.resolve(name);
    }

    /** Sets a property of Hadoop's. */
    void configure(String name, String value) {
        job.setProperty("hadoop." + name, value);
    }

    /** Has the tasks run a class of {@link walletcaller.child} instead of the job's own. */
    void useMapper(String name) {
        job.setProperty("mapper", name);
    }

    /** Has the job run on a cluster, whose containers see this scene's installation, too. */
    void useCluster(Path configuration) {
        job.setProperty("configuration", configuration.toString());
        configure("mapreduce.framework.name", "yarn");
        configure("mapreduce.map.env", variables(environment()));
        configure("yarn.app.mapreduce.am.env", variables(environment()));
    }

    void uninstallWalletOnNodes() {
        Map<String, String> environment = environment();
        environment.put("SHIM_COMMAND", path("missing").toString());
        configure("mapreduce.map.env", variables(environment));
        configure("yarn.app.mapreduce.am.env", variables(environment));
    }

    void ship(Path file) {
        job.setProperty("cached", file.toString());
    }

    /** The job's {@link walletcaller.child.WaitingMapper} is killed once. */
    void killOneAttempt() {
        useMapper("WaitingMapper");
        job.setProperty("killed", path("kept").resolve("attempt").toString());
    }

    private static String variables(Map<String, String> environment) {
        return environment.entrySet().stream()
                .map(variable -> variable.getKey() + "=" + variable.getValue())
                .collect(Collectors.joining(","));
    }

    void input(String userName, String password) {
        input(bytes(userName), bytes(password));
    }

    void input(byte[] userName, byte[] password) {
        side("input", "sales-db", userName, password);
    }

    void output(String userName, String password) {
        side("output", "mart-db", bytes(userName), bytes(password));
    }

    /** Where the job's process unpacks the library. */
    void renameTemporaryDirectory(String name) {
        try {
            temporary = Files.move(temporary, path(name));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    void uninstallWallet() {
        try {
            Files.delete(path("ovwallet"));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** Runs the job as configured, from a JVM of its own. */
    ChildJvm submit(Jdk jdk) {
        return submit(jdk, Build.classPath());
    }

    ChildJvm submit() {
        return submit(Jdk.current());
    }

    /** From class files without the jar that has the library beside them. */
    ChildJvm submitWithoutLibrary() {
        try {
            Path classes = path("classes");
            for (Path from : Build.jobClasses()) {
                Path to = classes.resolve(Build.JOB_CLASSES.relativize(from).toString());
                Files.createDirectories(to.getParent());
                Files.copy(from, to);
            }
            List<Path> classPath = new ArrayList<>(Build.classPath());
            classPath.set(classPath.indexOf(Build.JAR), classes);
            return submit(Jdk.current(), classPath);
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    private ChildJvm submit(Jdk jdk, List<Path> classPath) {
        return run(jdk, List.of(), List.of(), classPath, "JobProgram", describe().toString());
    }

    /** Writes the job down for a program that reads it. */
    Path describe() {
        Path description = path("job" + runs + ".properties");
        try (var file = Files.newOutputStream(description)) {
            job.store(file, null);
            return description;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** Runs a program of the tests with the job's classes and with nothing special. */
    ChildJvm run(String program, String... arguments) {
        return run(Jdk.current(), List.of(), List.of(), Build.classPath(), program, arguments);
    }

    /** Runs a program of the tests to its end. The command in front, empty or not, starts the JVM. */
    ChildJvm run(Jdk jdk, List<String> commandInFront, List<String> options, List<Path> classPath,
            String program, String... arguments) {
        try {
            Path directory = Files.createDirectory(path("work" + runs++));
            List<String> launcher = new ArrayList<>(commandInFront);
            launcher.add(jdk.java());
            List<String> all = new ArrayList<>(jdk.options());
            all.addAll(options);
            all.addAll(List.of("-Xmx256m", "-Djava.io.tmpdir=" + temporary));
            List<String> command = new ArrayList<>(List.of("walletcaller.child." + program));
            command.addAll(List.of(arguments));
            ChildJvm jvm = new ChildJvm(
                    directory, environment(), launcher, all, classPath, command);
            jvm.finish(0);
            assertEquals(List.of(), jvm.noise(), () -> "what the JVM says" + jvm.report());
            return jvm;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** Without it a process sees the machine's own wallet software. */
    Map<String, String> environment() {
        Map<String, String> environment = new HashMap<>();
        environment.put("LD_PRELOAD", Build.SHIM.toString());
        environment.put("SHIM_COMMAND", path("ovwallet").toString());
        environment.put("SHIM_RPM", path("rpm").toString());
        environment.put("OVWALLET_SANDBOX_HOME", wallet.home().toString());
        environment.put("LC_ALL", "C.UTF-8");
        return environment;
    }

    @Override
    public void close() {
        databases.close();
        wallet.assertAtRest();
    }

    private void side(String side, String database, byte[] userName, byte[] password) {
        job.setProperty(side + ".url", databases.url(database));
        job.setProperty(side + ".user.name", HexFormat.of().formatHex(userName));
        job.setProperty(side + ".password", HexFormat.of().formatHex(password));
    }

    private static byte[] bytes(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }
}
