package walletcaller.job;

import java.io.IOException;
import java.io.InterruptedIOException;
import java.util.concurrent.TimeUnit;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapred.JobConf;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.security.Credentials;

/**
 * The credentials that a job was submitted with. Hadoop's local runner starts the job's thread
 * first and hands it the credentials then, so that a job that is being set up may find a context
 * without them: they are marked, and awaited at the configuration, where they arrive.
 */
final class PresentCredentials {
    private static final Text MARK = new Text("walletcaller.credentials");
    private static final long LATEST_AFTER_NANOS = TimeUnit.MINUTES.toNanos(1);

    private PresentCredentials() {}

    /** To be called before the job is submitted. */
    static void mark(Job job) {
        job.getCredentials().addSecretKey(MARK, new byte[0]);
    }

    static Credentials of(JobContext job) throws IOException {
        if (areIn(job.getCredentials())) {
            return job.getCredentials();
        }
        long start = System.nanoTime();
        while (System.nanoTime() - start < LATEST_AFTER_NANOS) {
            Configuration configuration = job.getConfiguration();
            if (configuration instanceof JobConf
                    && areIn(((JobConf) configuration).getCredentials())) {
                return ((JobConf) configuration).getCredentials();
            }
            pause();
        }
        throw new IOException("The job's credentials have not arrived");
    }

    private static boolean areIn(Credentials credentials) {
        return credentials.getSecretKey(MARK) != null;
    }

    private static void pause() throws InterruptedIOException {
        try {
            TimeUnit.MILLISECONDS.sleep(1);
        } catch (InterruptedException failure) {
            Thread.currentThread().interrupt();
            throw new InterruptedIOException("The job was given up while it was set up");
        }
    }
}
