package walletcaller.process;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;

/** What the build made: where it lies is told in system properties. */
final class Build {
    /** The shipped file. */
    static final Path LIBRARY = property("library");

    /** The command walletcaller. */
    static final Path COMMAND = property("command");

    /** The library that redirects two pathnames of the machine for one process. */
    static final Path REDIRECT = property("redirect");

    /** The library that makes a process end slowly. */
    static final Path LINGER = property("linger");

    /** A library that needs room in the static thread storage. */
    static final Path INITIAL_EXEC = property("initialExec");

    /** The stand-in client library's installation base. */
    static final Path BASE = property("sandbox").resolve("base");

    static final Path CONNECTOR = property("connector");

    static final Path HADOOP_TYPES = property("hadoopTypes");

    static final Path CHILD = property("child");

    static final Path DIFFERENTIAL = property("differential");

    /** The JDK of JAVA_HOME, else the one that runs the test. */
    static final Path JAVA = java();

    private static final Path VARIANTS = property("variants");
    private static final String CLIENT_FILES = "orvanta/client/14.10/ovwallet/redhatlinux-x8664";

    private Build() {}

    /** An installation base whose client library has the fault of that name. */
    static Path faultyBase(String name) {
        return existing(property("sandbox").resolve("variants").resolve(name));
    }

    static Path command(Path base) {
        return base.resolve(CLIENT_FILES).resolve("ovwallet");
    }

    static Path clientLibrary(Path base) {
        return base.resolve(CLIENT_FILES).resolve("libovwallet.so");
    }

    static List<Path> classPath() {
        return List.of(CHILD, CONNECTOR, HADOOP_TYPES);
    }

    /** Classes that stand in front of those of the same name. */
    static List<Path> classPathWith(String variant) {
        Path inFront = existing(VARIANTS.resolve("java-variant." + variant));
        return Stream.concat(Stream.of(inFront), classPath().stream()).toList();
    }

    /** The connector's classes come from elsewhere. */
    static List<Path> classPathWithConnector(Path connector) {
        return List.of(CHILD, connector, HADOOP_TYPES);
    }

    private static Path property(String name) {
        String value = System.getProperty("walletcaller." + name);
        if (value == null) {
            throw new IllegalStateException("the system property walletcaller." + name
                    + " is missing: run the tests through ctest");
        }
        return existing(Path.of(value));
    }

    private static Path java() {
        String home = System.getenv("JAVA_HOME");
        if (home == null || home.isEmpty()) {
            home = System.getProperty("java.home");
        }
        System.out.println("The processes under test run in the JDK of " + home);
        return existing(Path.of(home, "bin/java"));
    }

    private static Path existing(Path path) {
        if (!Files.exists(path)) {
            throw new IllegalStateException(path + " does not exist");
        }
        return path;
    }
}
