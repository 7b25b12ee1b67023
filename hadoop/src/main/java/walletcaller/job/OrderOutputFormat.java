package walletcaller.job;

import java.io.IOException;
import org.apache.hadoop.io.LongWritable;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.mapreduce.OutputCommitter;
import org.apache.hadoop.mapreduce.OutputFormat;
import org.apache.hadoop.mapreduce.RecordWriter;
import org.apache.hadoop.mapreduce.TaskAttemptContext;

/** Writes the table COPIES of the output side, which the job's set-up makes. */
public final class OrderOutputFormat extends OutputFormat<LongWritable, Text> {
    @Override
    public void checkOutputSpecs(JobContext job) {
        // The database says what is wrong when the job is set up.
    }

    @Override
    public RecordWriter<LongWritable, Text> getRecordWriter(TaskAttemptContext task)
            throws IOException {
        return new OrderWriter(JobSetUp.of(task).connectToOutput());
    }

    @Override
    public OutputCommitter getOutputCommitter(TaskAttemptContext task) {
        return new OrderCommitter();
    }
}
