package walletcaller.job;

import java.io.IOException;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import org.apache.hadoop.io.LongWritable;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.RecordWriter;
import org.apache.hadoop.mapreduce.TaskAttemptContext;

/** Writes in one transaction: an attempt that is killed leaves no row behind. */
final class OrderWriter extends RecordWriter<LongWritable, Text> {
    private static final int BATCH = 500;

    private final Connection connection;
    private final PreparedStatement insert;
    private int waiting;

    /** Closes the connection, at the latest in {@link #close}. */
    OrderWriter(Connection connection) throws IOException {
        this.connection = connection;
        try {
            connection.setAutoCommit(false);
            insert = connection.prepareStatement("INSERT INTO COPIES (ID, TEXT) VALUES (?, ?)");
        } catch (SQLException failure) {
            closeQuietly(failure);
            throw new IOException(failure.getMessage(), failure);
        }
    }

    @Override
    public void write(LongWritable id, Text text) throws IOException {
        try {
            insert.setLong(1, id.get());
            insert.setString(2, text.toString());
            insert.addBatch();
            if (++waiting == BATCH) {
                insert.executeBatch();
                waiting = 0;
            }
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    @Override
    public void close(TaskAttemptContext task) throws IOException {
        try (Connection closing = connection) {
            insert.executeBatch();
            closing.commit();
        } catch (SQLException failure) {
            throw new IOException(failure.getMessage(), failure);
        }
    }

    private void closeQuietly(SQLException failure) {
        try {
            connection.close();
        } catch (SQLException further) {
            failure.addSuppressed(further);
        }
    }
}
