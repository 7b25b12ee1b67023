package walletcaller.bench;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.IOException;
import java.util.Arrays;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.security.alias.CredentialProvider;
import org.apache.hadoop.security.alias.CredentialProviderFactory;

/**
 * A warm call for a job of real Hadoop, beside Hadoop's own way of keeping passwords out of a
 * configuration: four aliases in a key store, each read with Configuration.getPassword.
 *
 * <p>Arguments: the shipped file, a key store to make.
 */
final class BesideHadoop {
    private static final int ROUNDS = 7;
    private static final int CALLS = 5;
    private static final int WARM_UP = 100;
    private static final int GROWTH_CALLS = 8;

    private BesideHadoop() {}

    public static void main(String[] arguments) throws IOException, InterruptedException {
        Configuration configuration = new Configuration();
        configuration.set(CredentialProviderFactory.CREDENTIAL_PROVIDER_PATH,
                "localjceks://file" + arguments[1]);
        makeKeyStore(configuration);
        BenchJob job = new BenchJob(configuration);
        try (PrivateDirectory directory = new PrivateDirectory(arguments[0])) {
            WalletCaller.load(directory.path());
            job.reset();
            WholeCall.call(job, directory.name());
            if (!job.result().equals(fromKeyStore(configuration))) {
                throw new IllegalStateException("the key store has other values than the wallet");
            }
            double[] ratios = new double[ROUNDS];
            for (int round = 0; round < ROUNDS; ++round) {
                Rounds one = new Rounds(job::reset, () -> fromKeyStore(configuration),
                        () -> warmUp(job, directory.name()),
                        () -> WholeCall.call(job, directory.name()));
                one.run(1, CALLS);
                ratios[round] = one.ratio();
            }
            Calls.row("localjceks, four aliases / call", Rounds.spread(ratios));
        }
        Growth growth = new Growth();
        growth.add("localjceks", own -> () -> fromKeyStore(configuration));
        growth.run(ROUNDS, GROWTH_CALLS);
    }

    /** A key store takes so long that the processor's caches have lost the library meanwhile. */
    private static void warmUp(BenchJob job, String directory) {
        for (int call = 0; call < WARM_UP; ++call) {
            job.reset();
            WholeCall.call(job, directory);
        }
        job.reset();
    }

    private static void makeKeyStore(Configuration configuration) throws IOException {
        CredentialProvider provider = CredentialProviderFactory.getProviders(configuration).get(0);
        String[] values = {"etl_reader", "s3cret (for sales)", "etl_writer", "another secret"};
        for (int i = 0; i < values.length; ++i) {
            provider.createCredentialEntry(BenchJob.NAMES[i], values[i].toCharArray());
        }
        provider.flush();
    }

    private static String fromKeyStore(Configuration configuration) {
        try {
            String[] values = new String[BenchJob.NAMES.length];
            for (int i = 0; i < values.length; ++i) {
                values[i] = new String(configuration.getPassword(BenchJob.NAMES[i]));
            }
            return String.join(" ", Arrays.asList(values));
        } catch (IOException failure) {
            throw new IllegalStateException(failure);
        }
    }
}
