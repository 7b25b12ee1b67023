package walletcaller.job;

import java.io.IOException;
import java.net.URI;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.StandardCopyOption;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.apache.hadoop.io.LongWritable;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.MRJobConfig;
import org.apache.hadoop.mapreduce.Mapper;

/**
 * Passes everything on, and keeps a copy of the files that were submitted with the job, which
 * Hadoop deletes at its end.
 */
public class KeepingMapper extends Mapper<LongWritable, Text, LongWritable, Text> {
    /** Where the copies go, in a directory for each task, with what the kernel says of it. */
    public static final String DIRECTORY = "walletcaller.kept";

    @Override
    protected void setup(Context task) throws IOException, InterruptedException {
        Path kept = Paths.get(task.getConfiguration().get(DIRECTORY),
                task.getTaskAttemptID().toString());
        Files.createDirectories(kept);
        Path submitted = Paths.get(URI.create(
                task.getConfiguration().get(MRJobConfig.MAPREDUCE_JOB_DIR)).getPath());
        for (Path file : files(submitted)) {
            Files.copy(file, kept.resolve(file.getFileName()), StandardCopyOption.REPLACE_EXISTING);
        }
        for (String file : Arrays.asList("cmdline", "maps", "status")) {
            Files.copy(Paths.get("/proc/self", file), kept.resolve(file));
        }
    }

    private static List<Path> files(Path directory) throws IOException {
        try (Stream<Path> files = Files.list(directory)) {
            return files.filter(Files::isRegularFile).collect(Collectors.toList());
        }
    }
}
