package walletcaller.bench;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;

/** A process's own directory with a copy of the library; removed when it is closed. */
final class PrivateDirectory implements AutoCloseable {
    private final Path directory;
    private final long copying;

    PrivateDirectory(String library) throws IOException {
        directory = Files.createTempDirectory("walletcaller-bench");
        long start = System.nanoTime();
        Files.copy(Paths.get(library), directory.resolve(WalletCaller.LIBRARY_NAME));
        copying = System.nanoTime() - start;
    }

    /** Nanoseconds. */
    long copying() {
        return copying;
    }

    Path path() {
        return directory;
    }

    /** As the native method wants it. */
    String name() {
        return directory + "/";
    }

    @Override
    public void close() throws IOException {
        Files.deleteIfExists(directory.resolve("ovwalletdir"));
        Files.delete(directory.resolve(WalletCaller.LIBRARY_NAME));
        Files.delete(directory);
    }
}
