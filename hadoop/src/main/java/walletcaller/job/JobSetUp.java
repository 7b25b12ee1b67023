package walletcaller.job;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.SQLException;
import org.apache.hadoop.mapred.JobConf;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.mapreduce.task.JobContextImpl;
import org.apache.hadoop.security.Credentials;

/**
 * From a job to its databases. Every process of a job sets itself up: the references in the
 * credentials that it has are replaced, then it can log in.
 */
final class JobSetUp {
    private final JobContext job;

    private JobSetUp(JobContext job) {
        this.job = job;
    }

    static JobSetUp of(JobContext job) throws IOException {
        JobContext target = job.getConfiguration().getBoolean(CopyJob.REFERENCES_TRAVEL, false)
                ? withOwnCredentials(job) : withPresentCredentials(job);
        PrivateLibrary.substitute(target);
        return new JobSetUp(target);
    }

    Connection connectToInput() throws IOException {
        return connect(OrvantaPlugInConfiguration.getInputJdbcUrl(job.getConfiguration()),
                OrvantaPlugInConfiguration.getInputOrvantaUserName(job),
                OrvantaPlugInConfiguration.getInputOrvantaPassword(job));
    }

    Connection connectToOutput() throws IOException {
        return connect(OrvantaPlugInConfiguration.getOutputJdbcUrl(job.getConfiguration()),
                OrvantaPlugInConfiguration.getOutputOrvantaUserName(job),
                OrvantaPlugInConfiguration.getOutputOrvantaPassword(job));
    }

    /** What is replaced stays in this process: the job goes on carrying the references. */
    private static JobContext withOwnCredentials(JobContext job) throws IOException {
        JobConf configuration = new JobConf(job.getConfiguration());
        configuration.setCredentials(new Credentials(PresentCredentials.of(job)));
        return new JobContextImpl(configuration, job.getJobID());
    }

    /** The job itself, unless its credentials came later than its context. */
    private static JobContext withPresentCredentials(JobContext job) throws IOException {
        return PresentCredentials.of(job) == job.getCredentials()
                ? job : new JobContextImpl(job.getConfiguration(), job.getJobID());
    }

    private static Connection connect(String url, byte[] userName, byte[] password)
            throws IOException {
        try {
            return DriverManager.getConnection(url, text(userName), text(password));
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    private static String text(byte[] bytes) {
        return bytes == null ? null : new String(bytes, StandardCharsets.UTF_8);
    }
}
