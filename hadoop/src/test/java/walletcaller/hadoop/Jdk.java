package walletcaller.hadoop;

import java.nio.file.Path;
import java.util.List;

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
        return of(Path.of(System.getProperty("java.home")), Runtime.version().feature());
    }

    /** The current one and, unless this Hadoop does not run on it, the newest. */
    static List<Jdk> all() {
        String newest = System.getProperty("walletcaller.jdk25", "");
        List<Jdk> all = newest.isEmpty()
                ? List.of(current()) : List.of(current(), of(Path.of(newest), 25));
        System.out.println("Hadoop " + Build.HADOOP + " on " + all);
        return all;
    }

    @Override
    public String toString() {
        return "JDK " + version;
    }

    private static Jdk of(Path home, int version) {
        return new Jdk(home, version,
                version < 24 ? List.of(ADD_OPENS) : List.of(ADD_OPENS, NATIVE_ACCESS));
    }
}
