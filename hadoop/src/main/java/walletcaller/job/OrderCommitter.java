package walletcaller.job;

import java.io.IOException;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.mapreduce.OutputCommitter;
import org.apache.hadoop.mapreduce.TaskAttemptContext;

/** Makes the table; the writers need no further commit. */
final class OrderCommitter extends OutputCommitter {
    @Override
    public void setupJob(JobContext job) throws IOException {
        try (Connection connection = JobSetUp.of(job).connectToOutput();
                Statement statement = connection.createStatement()) {
            statement.execute("CREATE TABLE COPIES (ID BIGINT PRIMARY KEY, TEXT VARCHAR)");
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    @Override
    public void setupTask(TaskAttemptContext task) {}

    @Override
    public boolean needsTaskCommit(TaskAttemptContext task) {
        return false;
    }

    @Override
    public void commitTask(TaskAttemptContext task) {}

    @Override
    public void abortTask(TaskAttemptContext task) {}
}
