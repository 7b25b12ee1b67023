package walletcaller.child;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.concurrent.CompletableFuture;
import org.apache.hadoop.mapred.JobConf;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.mapreduce.OutputCommitter;
import org.apache.hadoop.mapreduce.task.JobContextImpl;
import org.apache.hadoop.security.Credentials;
import walletcaller.job.OrderOutputFormat;

/**
 * What the local runner does to a job's set-up when it is slow: the context is made and the set-up
 * begins, and only when that waits do the credentials reach the configuration.
 */
public final class LateCredentials {
    private LateCredentials() {}

    public static void main(String[] arguments) throws Exception {
        Job submitted = JobDescription.read(Path.of(arguments[0])).job();
        JobConf configuration = new JobConf(submitted.getConfiguration());
        configuration.setCredentials(new Credentials());
        JobContext context = new JobContextImpl(configuration, submitted.getJobID());
        OutputCommitter committer = new OrderOutputFormat().getOutputCommitter(null);

        CompletableFuture<Void> end = new CompletableFuture<>();
        Thread setUp = new Thread(() -> {
            try {
                committer.setupJob(context);
                end.complete(null);
            } catch (Exception failure) {
                end.completeExceptionally(failure);
            }
        });
        setUp.start();
        while (setUp.getState() != Thread.State.TIMED_WAITING && !end.isDone()) {
            Thread.onSpinWait();
        }
        configuration.setCredentials(submitted.getCredentials());
        end.get();
        System.out.println("= user.name " + new String(
                OrvantaPlugInConfiguration.getOutputOrvantaUserName(submitted),
                StandardCharsets.UTF_8));
    }
}
