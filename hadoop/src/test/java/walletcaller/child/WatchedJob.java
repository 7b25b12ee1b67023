package walletcaller.child;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import org.apache.hadoop.mapred.JobConf;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.mapreduce.task.JobContextImpl;
import org.apache.hadoop.security.Credentials;

/**
 * A job that looks, whenever its credentials are reached for, whether the process has memory
 * locked. That is so in the middle of a call, too: while native code has a property's text.
 */
final class WatchedJob extends JobContextImpl {
    private boolean sawLockedMemory;

    WatchedJob(JobContext job) {
        super(new JobConf(job.getConfiguration()), job.getJobID());
    }

    boolean sawLockedMemory() {
        return sawLockedMemory;
    }

    @Override
    public Credentials getCredentials() {
        try {
            sawLockedMemory |= Files.readAllLines(Path.of("/proc/self/status")).stream()
                    .anyMatch(line -> line.matches("VmLck:\\s*[1-9]\\d* kB"));
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
        return super.getCredentials();
    }
}
