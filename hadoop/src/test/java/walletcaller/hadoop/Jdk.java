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
record Jdk(Path home, int version) {
    /** What Hadoop asks of this Java, as its users have to say it. */
    List<String> options() {
        List<String> options =
                new ArrayList<>(List.of("--add-opens", "java.base/java.lang=ALL-UNNAMED"));
        if (version >= 24) {
            options.add("--enable-native-access=ALL-UNNAMED");
        }
        return options;
    }

    String java() {
        return home.resolve("bin/java").toString();
    }

    /** The one that runs the tests. */
    static Jdk current() {
        return of(Path.of(System.getProperty("java.home")));
    }

    /**
     * The current one and those of the property walletcaller.jdks; without it, the newer ones that
     * lie where Debian's and Temurin's packages put them.
     */
    static List<Jdk> all() {
        List<Jdk> all = new ArrayList<>(List.of(current()));
        String named = System.getProperty("walletcaller.jdks", "");
        for (String home : named.isEmpty() ? List.<String>of() : List.of(named.split(":"))) {
            all.add(of(Path.of(home)));
        }
        if (named.isEmpty()) {
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

    private static Jdk of(Path home) {
        try {
            Properties release = new Properties();
            release.load(new StringReader(Files.readString(home.resolve("release"))));
            String version = release.getProperty("JAVA_VERSION").replace("\"", "");
            return new Jdk(home, Integer.parseInt(version.split("\\.")[0]));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }
}
