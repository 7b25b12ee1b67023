package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Stream;
import walletcaller.harness.ChildJvm;
import walletcaller.harness.SandboxWallet;

/**
 * Everything that one scenario needs, under one fresh directory: the private temporary directory
 * with a copy of the shipped file in it, a wallet, and what stands for the machine's command link
 * and package records. Neither of those two exists until the scenario makes it.
 */
final class Scene implements AutoCloseable {
    /** Newer JVMs warn without it, older ones do not know it. */
    static final List<String> NATIVE_ACCESS =
            List.of("-XX:+IgnoreUnrecognizedVMOptions", "--enable-native-access=ALL-UNNAMED");

    private final Path root;
    private final Path privateDirectory;
    private final SandboxWallet wallet;
    private final List<ConnectorJvm> running = new ArrayList<>();
    private boolean endsSlowly;

    Scene(Path root) {
        try {
            this.root = root.toRealPath();
            this.privateDirectory = directory("private");
            Files.copy(Build.LIBRARY, privateDirectory.resolve(Build.LIBRARY.getFileName()));
            directory("bin");
            this.wallet = new SandboxWallet(Build.command(Build.BASE), this.root.resolve("wallet"));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    SandboxWallet wallet() {
        return wallet;
    }

    /** As the library is told: with a "/" at its end. */
    String privateName() {
        return privateDirectory + "/";
    }

    /** A further private directory, for its owner only. */
    Path directory(String name) {
        try {
            return Files.createDirectory(root.resolve(name),
                    PosixFilePermissions.asFileAttribute(
                            PosixFilePermissions.fromString("rwx------")));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    Path path(String name) {
        return root.resolve(name);
    }

    /** The link that the library makes; it need not exist. */
    Path walletLink() {
        return privateDirectory.resolve("ovwalletdir");
    }

    String walletLinkTarget() {
        return readLink(walletLink());
    }

    static String readLink(Path path) {
        try {
            return Files.readSymbolicLink(path).toString();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    void link(Path path, String target) {
        try {
            Files.deleteIfExists(path);
            Files.createSymbolicLink(path, Path.of(target));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** What the machine's command /usr/bin/ovwallet is. */
    Path command() {
        return path("bin/ovwallet");
    }

    void install(Path base) {
        link(command(), Build.command(base).toString());
    }

    void uninstall() {
        try {
            Files.deleteIfExists(command());
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** A second name for the installation, to tell by which way it was found. */
    Path baseNamed(String name) {
        Path base = directory(name);
        link(base.resolve("orvanta"), Build.BASE.resolve("orvanta").toString());
        return base;
    }

    /** What the package of that name says of where it was installed. */
    void packageRecord(String name, String content) {
        try {
            Files.createDirectories(packages().resolve(name));
            Files.writeString(packages().resolve(name).resolve("inst.dir"), content);
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** What the machine's /var/lib/rpm is. */
    Path packages() {
        return path("rpm");
    }

    ConnectorJvm start() {
        return start(Build.classPath());
    }

    ConnectorJvm start(List<Path> classPath) {
        ConnectorJvm jvm = new ConnectorJvm(directory("work" + running.size()), environment(),
                classPath, privateName());
        running.add(jvm);
        return jvm;
    }

    /**
     * From now on processes take a while to end after their libraries' static destructors, and what
     * has been freed holds other bytes than before.
     */
    void endSlowly() {
        endsSlowly = true;
    }

    /** Runs a program of its own to its end and gives what it printed. */
    List<String> run(int exitCode, List<String> options, String mainClass, String... arguments) {
        ChildJvm jvm = startProgram(options, mainClass, arguments);
        jvm.finish(exitCode);
        assertSilent(jvm);
        return jvm.lines();
    }

    /** Starts a program of its own, which gets the private directory as its first argument. */
    ChildJvm startProgram(List<String> options, String mainClass, String... arguments) {
        return startProgram(
                Build.classPath(), options, "walletcaller.child." + mainClass, arguments);
    }

    ChildJvm startProgram(
            List<Path> classPath, List<String> options, String mainClass, String... arguments) {
        List<String> program = new ArrayList<>(List.of(mainClass, privateName()));
        program.addAll(List.of(arguments));
        return new ChildJvm(directory(mainClass), environment(), List.of(Build.JAVA.toString()),
                Stream.concat(NATIVE_ACCESS.stream(), options.stream()).toList(),
                classPath, program);
    }

    /** Every process ends well and silently, and the wallet has everything back. */
    @Override
    public void close() {
        for (ConnectorJvm jvm : running) {
            jvm.finish(0);
            assertSilent(jvm);
        }
        wallet.assertAtRest();
    }

    static void assertSilent(ChildJvm jvm) {
        assertEquals(List.of(), jvm.noise(), "what the program did not print");
        assertEquals(List.of(), jvm.log(), "standard error");
    }

    private Map<String, String> environment() {
        Map<String, String> environment = new HashMap<>();
        environment.put("LD_PRELOAD", Build.REDIRECT.toString());
        environment.put("SHIM_COMMAND", command().toString());
        environment.put("SHIM_RPM", packages().toString());
        environment.put("OVWALLET_SANDBOX_HOME", wallet.home().toString());
        environment.put("LC_ALL", "C.UTF-8");
        if (endsSlowly) {
            environment.put("LD_PRELOAD", Build.REDIRECT + ":" + Build.LINGER);
            environment.put("MALLOC_PERTURB_", "165");
        }
        return environment;
    }
}
