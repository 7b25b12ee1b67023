package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;
import walletcaller.harness.ChildJvm;

/** What a job in the local runner needs of the JVM's options. */
class JavaOptionsTest {
    private static final String RESTRICTED =
            "WARNING: A restricted method in java.lang.System has been called";

    @TempDir Path directory;

    static List<Jdk> jdks() {
        return Jdk.all();
    }

    @ParameterizedTest
    @MethodSource("jdks")
    void withoutAnyTheJobWorksAndNewerJvmsWarnOfNativeAccess(Jdk jdk) {
        try (Scene scene = Scene.withReferences(directory)) {
            ChildJvm job = scene.submit(jdk.withOptions(List.of()));
            assertEquals("true", job.value("successful"), job::report);
            assertEquals(jdk.version() >= 24, job.log().contains(RESTRICTED), job::report);
        }
    }

    @ParameterizedTest
    @MethodSource("jdks")
    void withNativeAccessEnabledNoJvmWarnsOfIt(Jdk jdk) {
        try (Scene scene = Scene.withReferences(directory)) {
            ChildJvm job = scene.submit(jdk.withOptions(List.of(Jdk.NATIVE_ACCESS)));
            assertEquals("true", job.value("successful"), job::report);
            assertEquals(false, job.log().contains(RESTRICTED), job::report);
        }
    }
}
