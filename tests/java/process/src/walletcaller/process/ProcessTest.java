package walletcaller.process;

import java.nio.file.Path;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.io.TempDir;

/**
 * A test whose scenario is laid out afresh. When it ends, each process that it started has to end
 * with exit code 0 and without a word of its JVM, and the wallet's ledger has to be at zero.
 */
abstract class ProcessTest {
    @TempDir
    Path root;

    Scene scene;

    @BeforeEach
    void layOut() {
        scene = new Scene(root);
    }

    @AfterEach
    void endProcesses() {
        scene.close();
    }
}
