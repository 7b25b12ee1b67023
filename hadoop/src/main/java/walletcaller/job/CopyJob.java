package walletcaller.job;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.io.IOException;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.LongWritable;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.Job;

/**
 * Copies the table ORDERS of the input side to the table COPIES of the output side. Its
 * configuration has to have {@link KeepingMapper#DIRECTORY}.
 */
public final class CopyJob {
    /**
     * Whether the job carries the references, which then every process of it replaces for itself.
     * Else they are replaced when the job is submitted, and the job carries, among its credentials,
     * what they stood for.
     */
    public static final String REFERENCES_TRAVEL = "walletcaller.references.travel";

    /** Into how many tasks; Hadoop's own number of maps is always 1 in its local runner. */
    public static final String TASKS = "walletcaller.tasks";

    private CopyJob() {}

    /** A job that may be submitted; the configuration is copied. */
    public static Job create(Configuration configuration, Login input, Login output)
            throws IOException {
        Job job = Job.getInstance(configuration, "copy");
        job.setJarByClass(CopyJob.class);
        OrvantaPlugInConfiguration.setInputJdbcUrl(job.getConfiguration(), input.url);
        OrvantaPlugInConfiguration.setInputOrvantaUserName(job, input.userName);
        OrvantaPlugInConfiguration.setInputOrvantaPassword(job, input.password);
        OrvantaPlugInConfiguration.setOutputJdbcUrl(job.getConfiguration(), output.url);
        OrvantaPlugInConfiguration.setOutputOrvantaUserName(job, output.userName);
        OrvantaPlugInConfiguration.setOutputOrvantaPassword(job, output.password);
        PresentCredentials.mark(job);
        job.setInputFormatClass(OrderInputFormat.class);
        job.setMapperClass(KeepingMapper.class);
        job.setNumReduceTasks(0);
        job.setOutputFormatClass(OrderOutputFormat.class);
        job.setOutputKeyClass(LongWritable.class);
        job.setOutputValueClass(Text.class);
        return job;
    }
}
