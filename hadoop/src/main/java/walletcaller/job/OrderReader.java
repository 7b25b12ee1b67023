package walletcaller.job;

import java.io.IOException;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import org.apache.hadoop.io.LongWritable;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.InputSplit;
import org.apache.hadoop.mapreduce.RecordReader;
import org.apache.hadoop.mapreduce.TaskAttemptContext;

/** Reads one range. The task that it runs in sets itself up here. */
final class OrderReader extends RecordReader<LongWritable, Text> {
    private final LongWritable id = new LongWritable();
    private final Text text = new Text();
    private OrderRange range;
    private Connection connection;
    private ResultSet rows;

    @Override
    public void initialize(InputSplit split, TaskAttemptContext task) throws IOException {
        range = (OrderRange) split;
        connection = JobSetUp.of(task).connectToInput();
        try {
            PreparedStatement statement = connection.prepareStatement(
                    "SELECT ID, TEXT FROM ORDERS WHERE ID >= ? AND ID < ? ORDER BY ID");
            statement.closeOnCompletion();
            statement.setLong(1, range.begin());
            statement.setLong(2, range.end());
            rows = statement.executeQuery();
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    @Override
    public boolean nextKeyValue() throws IOException {
        try {
            if (!rows.next()) {
                return false;
            }
            id.set(rows.getLong(1));
            text.set(rows.getString(2));
            return true;
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    @Override
    public LongWritable getCurrentKey() {
        return id;
    }

    @Override
    public Text getCurrentValue() {
        return text;
    }

    @Override
    public float getProgress() {
        return range.getLength() == 0 || id.get() == 0
                ? 0 : (float) (id.get() + 1 - range.begin()) / range.getLength();
    }

    @Override
    public void close() throws IOException {
        try {
            if (connection != null) {
                connection.close();
            }
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }
}
