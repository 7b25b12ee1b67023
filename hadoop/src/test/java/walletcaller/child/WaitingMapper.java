package walletcaller.child;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.concurrent.TimeUnit;
import org.apache.hadoop.mapreduce.TaskAttemptID;
import walletcaller.job.KeepingMapper;

/** The first attempt of the first task says that it is there and waits to be killed. */
public class WaitingMapper extends KeepingMapper {
    @Override
    protected void setup(Context task) throws IOException, InterruptedException {
        super.setup(task);
        TaskAttemptID attempt = task.getTaskAttemptID();
        if (attempt.getTaskID().getId() == 0 && attempt.getId() == 0) {
            Path directory = Path.of(task.getConfiguration().get(KeepingMapper.DIRECTORY));
            Path file = Files.writeString(directory.resolve("attempt.new"), attempt.toString());
            Files.move(file, directory.resolve("attempt"), StandardCopyOption.ATOMIC_MOVE);
            TimeUnit.MINUTES.sleep(5);
            throw new IOException("nobody killed " + attempt);
        }
    }
}
