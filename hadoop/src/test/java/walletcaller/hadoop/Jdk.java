package walletcaller.hadoop;

import java.io.IOException;
import java.io.StringReader;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Properties;
import java.util.stream.Stream;

/** A Java installation that jobs are run on. */
record Jdk(Path home, int version, List<String> options) {
    static final String ADD_OPENS = "--add-opens=java.base/java.lang=ALL-UNNAMED";
    static final String NATIVE_ACCESS = "--enable-native-access=ALL-UNNAMED";

    Jdk withOptions(List<String> other) {
        return new Jdk(home, version, other);
    }

    String java() {
        return home.resolve("bin/java").toString();
    }

    /** The one that runs the tests. */
    static Jdk current() {
        return of(Path.of(System.getProperty("java.home")));
    }

    /**
     * The current one, and if Hadoop is to run on newer ones, those that lie where Debian's and
     * Temurin's packages put them.
     */
    static List<Jdk> all() {
        List<Jdk> all = new ArrayList<>(List.of(current()));
        if (Boolean.getBoolean("walletcaller.newerJdks")) {
            all.addAll(newer());
        }
        System.out.println("Hadoop " + Build.HADOOP + " on JDK "
                + all.stream().map(jdk -> Integer.toString(jdk.version)).toList());
        return all;
    }

    @Override
    public String toString() {
        return "JDK " + version;
    }

    private static List<Jdk> newer() {
        try (Stream<Path> homes = Files.list(Path.of("/usr/lib/jvm"))) {
            return homes.filter(home -> !Files.isSymbolicLink(home))
                    .filter(home -> Files.exists(home.resolve("release")))
                    .filter(home -> Files.exists(home.resolve("bin/java")))
                    .map(Jdk::of).filter(jdk -> jdk.version > current().version)
                    .sorted((one, other) -> one.version - other.version).toList();
        } catch (IOException failure) {
            return List.of();
        }
    }

    private static Jdk of(Path home, int version) {
        return new Jdk(home, version,
                version < 24 ? List.of(ADD_OPENS) : List.of(ADD_OPENS, NATIVE_ACCESS));
    }

    private static Jdk of(Path home) {
        try {
            Properties release = new Properties();
            release.load(new StringReader(Files.readString(home.resolve("release"))));
            String version = release.getProperty("JAVA_VERSION").replace("\"", "");
            return of(home, Integer.parseInt(version.split("\\.")[0]));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }
}
