package walletcaller.job;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.FileNotFoundException;
import java.io.IOException;
import java.io.InputStream;
import java.net.URL;
import java.net.URLConnection;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.Arrays;
import org.apache.hadoop.mapreduce.JobContext;

/**
 * The native library as a job carries it, as a resource of the job's jar. It is copied into a private
 * directory that is made for this class loader in this process, and loaded from there before the
 * first call.
 *
 * <p>A job may carry it in the distributed cache, too, which puts it into a container's working
 * directory; it has to be the same then. Elsewhere anybody's file may lie in the working directory,
 * and is not looked at.
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
        try (InputStream library = openInOwnJar()) {
            Files.copy(library, copy);
        } catch (FileNotFoundException failure) {
            throw new FileNotFoundException(
                    "The job's jar does not hold " + WalletCaller.LIBRARY_NAME);
        }
        Path cached = Paths.get(WalletCaller.LIBRARY_NAME);
        boolean inContainer = System.getenv("CONTAINER_ID") != null;
        if (inContainer && Files.exists(cached) && !Arrays.equals(sha256(cached), sha256(copy))) {
            throw new ConnectorException("The distributed cache has another "
                    + WalletCaller.LIBRARY_NAME + " than the job's jar");
        }
    }

    /** In the jar of this class: a container's class path has its working directory, too. */
    private static InputStream openInOwnJar() throws IOException {
        URL root = new URL(PrivateLibrary.class.getResource("PrivateLibrary.class"), "../../");
        URLConnection library = new URL(root, WalletCaller.LIBRARY_NAME).openConnection();
        library.setUseCaches(false);
        return library.getInputStream();
    }

    private static byte[] sha256(Path file) throws IOException {
        try {
            return MessageDigest.getInstance("SHA-256").digest(Files.readAllBytes(file));
        } catch (NoSuchAlgorithmException failure) {
            throw new IOException(failure);
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
