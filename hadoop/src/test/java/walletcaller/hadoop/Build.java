package walletcaller.hadoop;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;

/** What the two builds made: Maven tells where it lies in system properties. */
final class Build {
    static final String HADOOP = System.getProperty("walletcaller.hadoop");

    /** The shipped file, as it is. */
    static final Path LIBRARY = native_("libWalletCaller-redhatlinux-x8664.so");

    /** The library that redirects two pathnames of the machine for one process. */
    static final Path SHIM = native_("tests/java/redirect.so");

    /** The stand-in wallet software's installation base. */
    static final Path BASE = native_("sandbox/base");

    /** The job's jar. */
    static final Path JAR = target("walletcaller-hadoop.jar");

    /** What is in the jar. */
    static final Path JOB_CLASSES = target("classes");

    private static final String COMMAND =
            "orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet";

    private Build() {}

    static Path command() {
        return BASE.resolve(COMMAND);
    }

    /** Hadoop, the database and what they need. */
    static List<Path> dependencies() {
        try {
            List<Path> paths = new ArrayList<>();
            for (String path : Files.readString(target("class-path.txt")).trim().split(":")) {
                paths.add(Path.of(path));
            }
            return paths;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** The classes of the jar and what else it holds, but not the library. */
    static List<Path> jobClasses() {
        try (Stream<Path> files = Files.walk(JOB_CLASSES)) {
            return files.filter(Files::isRegularFile)
                    .filter(file -> !file.toString().endsWith(".so")).toList();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** The jar as it is deployed, the tests' own classes and the dependencies. */
    static List<Path> classPath() {
        List<Path> paths = new ArrayList<>(List.of(JAR, target("test-classes")));
        paths.addAll(dependencies());
        return paths;
    }

    private static Path native_(String name) {
        return existing(property("walletcaller.build").resolve(name));
    }

    private static Path target(String name) {
        return existing(property("walletcaller.target").resolve(name));
    }

    private static Path property(String name) {
        String value = System.getProperty(name);
        if (value == null) {
            throw new IllegalStateException(
                    "the system property " + name + " is missing: run the tests through Maven");
        }
        return Path.of(value).normalize();
    }

    private static Path existing(Path path) {
        if (!Files.exists(path)) {
            throw new IllegalStateException(path + " does not exist");
        }
        return path;
    }
}
