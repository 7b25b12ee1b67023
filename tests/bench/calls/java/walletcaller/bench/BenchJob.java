package walletcaller.bench;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.nio.charset.StandardCharsets;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.security.Credentials;

/** A job with one reference in each of its four properties. */
final class BenchJob implements JobContext {
    /** What the references name, once "$(ovpid)" has been replaced. */
    static final String[] NAMES = {"reader.name", "pw_sales-db", "writer.name", "pw_mart-db"};

    private static final byte[] INPUT_USER = bytes("$ovwallet(reader.name)");
    private static final byte[] INPUT_PASSWORD = bytes("$ovwallet(pw_$(ovpid))");
    private static final byte[] OUTPUT_USER = bytes("$ovwallet(writer.name)");
    private static final byte[] OUTPUT_PASSWORD = bytes("$ovwallet(pw_$(ovpid))");

    private final Configuration configuration;
    private final Credentials credentials = new Credentials();

    BenchJob(Configuration configuration) {
        this.configuration = configuration;
        OrvantaPlugInConfiguration.setInputJdbcUrl(
                configuration, "jdbc:orvanta://sales-db/DATABASE=sales");
        OrvantaPlugInConfiguration.setOutputJdbcUrl(
                configuration, "jdbc:orvanta://mart-db/DATABASE=mart");
    }

    @Override
    public Configuration getConfiguration() {
        return configuration;
    }

    @Override
    public Credentials getCredentials() {
        return credentials;
    }

    /** Puts the references back. */
    void reset() {
        OrvantaPlugInConfiguration.setInputOrvantaUserName(this, INPUT_USER);
        OrvantaPlugInConfiguration.setInputOrvantaPassword(this, INPUT_PASSWORD);
        OrvantaPlugInConfiguration.setOutputOrvantaUserName(this, OUTPUT_USER);
        OrvantaPlugInConfiguration.setOutputOrvantaPassword(this, OUTPUT_PASSWORD);
    }

    /** All four properties, to see that a contestant did its work. */
    String result() {
        return text(OrvantaPlugInConfiguration.getInputOrvantaUserName(this))
                + " " + text(OrvantaPlugInConfiguration.getInputOrvantaPassword(this))
                + " " + text(OrvantaPlugInConfiguration.getOutputOrvantaUserName(this))
                + " " + text(OrvantaPlugInConfiguration.getOutputOrvantaPassword(this));
    }

    private static byte[] bytes(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }

    private static String text(byte[] bytes) {
        return new String(bytes, StandardCharsets.UTF_8);
    }
}
