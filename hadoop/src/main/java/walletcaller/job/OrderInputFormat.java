package walletcaller.job;

import java.io.IOException;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.List;
import org.apache.hadoop.io.LongWritable;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.InputFormat;
import org.apache.hadoop.mapreduce.InputSplit;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.mapreduce.RecordReader;
import org.apache.hadoop.mapreduce.TaskAttemptContext;

/** Reads the table ORDERS of the input side, in ranges of its ids: the text of each by its id. */
public final class OrderInputFormat extends InputFormat<LongWritable, Text> {
    @Override
    public List<InputSplit> getSplits(JobContext job) throws IOException {
        try (Connection connection = JobSetUp.of(job).connectToInput();
                Statement statement = connection.createStatement();
                ResultSet row = statement.executeQuery("SELECT MIN(ID), MAX(ID) + 1 FROM ORDERS")) {
            row.next();
            return ranges(row.getLong(1), row.getLong(2),
                    job.getConfiguration().getInt(CopyJob.TASKS, 3));
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    @Override
    public RecordReader<LongWritable, Text> createRecordReader(
            InputSplit split, TaskAttemptContext task) {
        return new OrderReader();
    }

    private static List<InputSplit> ranges(long begin, long end, int count) {
        List<InputSplit> ranges = new ArrayList<>();
        long size = end - begin;
        for (int part = 0; part < count; ++part) {
            ranges.add(new OrderRange(
                    begin + size * part / count, begin + size * (part + 1) / count));
        }
        return ranges;
    }
}
