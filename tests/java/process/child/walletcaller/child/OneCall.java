package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.nio.file.Paths;

/** Loads the library and makes one call for an empty job. */
public final class OneCall {
    private OneCall() {}

    public static void run(String directory) throws IOException {
        WalletCaller.load(Paths.get(directory));
        WalletCaller.performSubstitutions(new TestJob(), directory);
    }
}
