package walletcaller.child;

import java.nio.charset.StandardCharsets;
import java.util.Locale;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.security.Credentials;

/**
 * A job whose properties are set and read under the names that the connector gives them, without
 * the connector's own class for it: a test may replace that class by one with a fault.
 *
 * <p>The connector asks the job for its configuration or its credentials in each method that native
 * code calls, so this is where such a method is made to throw (see {@link Faults}).
 */
final class TestJob implements JobContext {
    private final Configuration configuration = new Configuration() {
        @Override
        public String get(String name) {
            Faults.strikeIfDue();
            return super.get(name);
        }
    };
    private final Credentials credentials = new Credentials();

    @Override
    public Configuration getConfiguration() {
        Faults.strikeIfDue();
        return configuration;
    }

    @Override
    public Credentials getCredentials() {
        Faults.strikeIfDue();
        return credentials;
    }

    /** The side is "Input" or "Output"; null unsets the URL. */
    void setUrl(String side, String url) {
        String name = "orvanta." + side.toLowerCase(Locale.ROOT) + ".jdbc.url";
        if (url == null) {
            configuration.unset(name);
        } else {
            configuration.set(name, url);
        }
    }

    /** The property is "user.name" or "password"; null unsets it. */
    void setSecret(String side, String property, byte[] secret) {
        if (secret == null) {
            credentials.removeSecretKey(alias(side, property));
        } else {
            credentials.addSecretKey(alias(side, property), secret);
        }
    }

    byte[] secret(String side, String property) {
        return credentials.getSecretKey(alias(side, property));
    }

    void set(String side, String url, String userName, String password) {
        setUrl(side, url);
        setSecret(side, "user.name", userName.getBytes(StandardCharsets.UTF_8));
        setSecret(side, "password", password.getBytes(StandardCharsets.UTF_8));
    }

    String text(String side, String property) {
        return new String(secret(side, property), StandardCharsets.UTF_8);
    }

    private static Text alias(String side, String property) {
        return new Text("orvanta." + side.toLowerCase(Locale.ROOT) + "." + property);
    }
}
