package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Set;
import java.util.TreeSet;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import walletcaller.harness.ChildJvm;

/** What a job leaves for others to read while it runs: its configuration, splits and log. */
class SubmittedFilesTest {
    /** Values and references: neither belongs into a configuration. */
    private static final List<String> SECRETS = List.of("etl_reader", "s3cret", "etl_writer",
            "v3rborgen", "W\u00e4lder", "ovwallet(");

    @TempDir Path directory;

    @Test
    void noneOfThemHoldsASecret() throws IOException {
        try (Scene scene = Scene.withReferences(directory)) {
            ChildJvm job = scene.submit();
            assertEquals("true", job.value("successful"), job::report);
            List<Path> files = files(scene.path("kept"));
            Set<String> names = new TreeSet<>();
            files.forEach(file -> names.add(file.getFileName().toString()));
            assertTrue(names.containsAll(Set.of("job.xml", "job.split", "job.splitmetainfo")),
                    names::toString);
            for (Path file : files) {
                String text = Files.readString(file, StandardCharsets.ISO_8859_1);
                assertEquals(List.of(), found(text), file::toString);
                if (file.endsWith("job.xml")) {
                    assertTrue(text.contains("<name>orvanta.input.jdbc.url</name>"), text);
                }
            }
            assertEquals(List.of(), found(String.join("\n", job.log())));
        }
    }

    private static List<String> found(String text) {
        List<String> found = new ArrayList<>();
        for (String secret : SECRETS) {
            String bytes = new String(
                    secret.getBytes(StandardCharsets.UTF_8), StandardCharsets.ISO_8859_1);
            if (text.contains(bytes) || text.contains(secret)) {
                found.add(secret);
            }
        }
        return found;
    }

    private static List<Path> files(Path directory) throws IOException {
        try (Stream<Path> files = Files.walk(directory)) {
            return files.filter(Files::isRegularFile).toList();
        }
    }
}
