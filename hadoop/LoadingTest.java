package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The library loaded as a job does it, and in ways that a job should not. */
class LoadingTest {
    @TempDir Path directory;

    private Scene scene;

    @BeforeEach
    void makeWallet() {
        scene = new Scene(directory);
        scene.wallet().add("name", "value");
    }

    @Test
    void x() throws IOException {
        for (String way : List.of("fromTheJar", "fileDeleted", "twoClassLoaders", "oneFileForTwoClassLoaders", "directoryOfAnother", "withoutSlash")) {
            ChildJvm jvm = scene.run("LoadProgram", way, Build.classPath().stream().map(Path::toString).collect(Collectors.joining(":")));
            System.out.println(way + ": \n   " + String.join("\n   ", jvm.lines()));
            System.out.println("LEFT " + Files.list(scene.path("tmp")).toList());
        }
    }
}
