package walletcaller.job;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.FileNotFoundException;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import org.apache.hadoop.mapreduce.JobContext;

/**
 * The native library as a job carries it: in the distributed cache, which puts it into a task's
 * working directory, or else as a resource of the job's jar. It is copied into a private directory
 * that is made for this class loader in this process, and loaded from there before the first call.
 * What the cache has cannot be loaded in place: the directory belongs to all that use the cache.
 *
 * <p>The directory is never one that another process or another attempt of a task has used: the
 * library makes a link in it and fails if there is one. It has to stay while the process makes
 * calls, because the library looks for that link beside its own file each time that it opens the
 * wallet; it is removed when the JVM ends.
 */
public final class PrivateLibrary {
    /** The link that the library makes. */
    private static final String WALLET_LINK = "ovwalletdir";

    private static Path directory;

    private PrivateLibrary() {}

    /**
     * Replaces the references in the job's credentials by what the wallet has for them. Any thread
     * may call, several at once.
     */
    public static void substitute(JobContext job) throws IOException {
        WalletCaller.performSubstitutions(job, loadedFrom() + "/");
    }

    private static synchronized Path loadedFrom() throws IOException {
        if (directory == null) {
            Path fresh = Files.createTempDirectory("orvanta-wallet-");
            try {
                unpackTo(fresh);
                WalletCaller.load(fresh);
            } catch (UnsatisfiedLinkError failure) {
                remove(fresh);
                throw new ConnectorException(failure.getMessage());
            } catch (IOException failure) {
                remove(fresh);
                throw failure;
            }
            directory = fresh;
            Runtime.getRuntime().addShutdownHook(new Thread(PrivateLibrary::removeAtEnd));
        }
        return directory;
    }

    private static void unpackTo(Path directory) throws IOException {
        Path copy = directory.resolve(WalletCaller.LIBRARY_NAME);
        Path cached = Paths.get(WalletCaller.LIBRARY_NAME);
        if (Files.exists(cached)) {
            Files.copy(cached, copy);
            return;
        }
        try (InputStream library =
                PrivateLibrary.class.getResourceAsStream("/" + WalletCaller.LIBRARY_NAME)) {
            if (library == null) {
                throw new FileNotFoundException(
                        "The job's jar does not hold " + WalletCaller.LIBRARY_NAME);
            }
            Files.copy(library, copy);
        }
    }

    private static void removeAtEnd() {
        try {
            remove(directory);
        } catch (IOException failure) {
            System.err.println("Cannot remove " + directory + ": " + failure);
        }
    }

    private static void remove(Path directory) throws IOException {
        Files.deleteIfExists(directory.resolve(WALLET_LINK));
        Files.deleteIfExists(directory.resolve(WalletCaller.LIBRARY_NAME));
        Files.delete(directory);
    }
}
