package walletcaller.job;

import java.io.DataInput;
import java.io.DataOutput;
import java.io.IOException;
import org.apache.hadoop.io.Writable;
import org.apache.hadoop.mapreduce.InputSplit;

/** One task's share of the table: ids from begin up to but not including end. */
public final class OrderRange extends InputSplit implements Writable {
    private long begin;
    private long end;

    /** Hadoop makes one, then reads it. */
    public OrderRange() {}

    OrderRange(long begin, long end) {
        this.begin = begin;
        this.end = end;
    }

    long begin() {
        return begin;
    }

    long end() {
        return end;
    }

    @Override
    public long getLength() {
        return end - begin;
    }

    @Override
    public String[] getLocations() {
        return new String[0];
    }

    @Override
    public void write(DataOutput output) throws IOException {
        output.writeLong(begin);
        output.writeLong(end);
    }

    @Override
    public void readFields(DataInput input) throws IOException {
        begin = input.readLong();
        end = input.readLong();
    }
}
