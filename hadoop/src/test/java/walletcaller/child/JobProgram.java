package walletcaller.child;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HexFormat;
import java.util.List;
import java.util.Optional;
import java.util.concurrent.TimeUnit;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.TaskAttemptID;
import org.apache.hadoop.mapreduce.TaskCounter;

/** Submits one job and tells what becomes of it. */
public final class JobProgram {
    private JobProgram() {}

    public static void main(String[] arguments) throws Exception {
        JobDescription description = JobDescription.read(Path.of(arguments[0]));
        Job job = description.job();
        run(job, description.killed());
        tellCredentials(job);
        tellMemory();
    }

    private static void run(Job job, Optional<Path> killed) throws Exception {
        try {
            job.submit();
        } catch (IOException failure) {
            tell("refused", failure.toString());
            return;
        }
        if (killed.isPresent()) {
            kill(job, killed.get());
        }
        tell("successful", job.waitForCompletion(false));
        tell("failure", job.getStatus().getFailureInfo());
        if (job.isSuccessful()) {
            tell("read", job.getCounters().findCounter(TaskCounter.MAP_INPUT_RECORDS).getValue());
            tell("written",
                    job.getCounters().findCounter(TaskCounter.MAP_OUTPUT_RECORDS).getValue());
        }
    }

    /** The task attempt that the file names; the file is there once the attempt runs. */
    private static void kill(Job job, Path file) throws Exception {
        while (!Files.exists(file) && !job.isComplete()) {
            TimeUnit.MILLISECONDS.sleep(20);
        }
        job.killTask(TaskAttemptID.forName(Files.readString(file)));
    }

    /** As they stand in the submitter after the job. */
    private static void tellCredentials(Job job) {
        tellBytes("input.user.name", OrvantaPlugInConfiguration.getInputOrvantaUserName(job));
        tellBytes("input.password", OrvantaPlugInConfiguration.getInputOrvantaPassword(job));
        tellBytes("output.user.name", OrvantaPlugInConfiguration.getOutputOrvantaUserName(job));
        tellBytes("output.password", OrvantaPlugInConfiguration.getOutputOrvantaPassword(job));
    }

    /** The most that this process has used. */
    private static void tellMemory() throws IOException {
        List<String> status = Files.readAllLines(Path.of("/proc/self/status"));
        for (String line : status) {
            if (line.startsWith("VmHWM:")) {
                tell("memory", line.substring("VmHWM:".length()).trim());
            }
        }
    }

    private static void tellBytes(String name, byte[] bytes) {
        tell(name, HexFormat.of().formatHex(bytes));
    }

    private static void tell(String name, Object value) {
        System.out.println("= " + name + " " + String.valueOf(value).replace("\n", "\\n"));
    }
}
