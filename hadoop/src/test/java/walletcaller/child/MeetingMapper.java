package walletcaller.child;

import java.io.IOException;
import java.util.concurrent.BrokenBarrierException;
import java.util.concurrent.CyclicBarrier;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import walletcaller.job.KeepingMapper;

/** Waits until all three tasks of a process are there, so that they really run at once. */
public class MeetingMapper extends KeepingMapper {
    private static final CyclicBarrier ALL = new CyclicBarrier(3);

    @Override
    protected void setup(Context task) throws IOException, InterruptedException {
        super.setup(task);
        try {
            ALL.await(2, TimeUnit.MINUTES);
        } catch (BrokenBarrierException | TimeoutException failure) {
            throw new IOException("the tasks do not run at once", failure);
        }
    }
}
