package walletcaller.differential;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.util.ArrayList;
import java.util.EnumMap;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.function.BiConsumer;
import java.util.function.Function;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.JobContext;
import org.apache.hadoop.security.Credentials;

/** A job that is set up from a case and then notes in which order its properties are written. */
final class RecordingJob implements JobContext {
    private static final Map<Property, BiConsumer<JobContext, byte[]>> SETTERS = Map.of(
            Property.INPUT_USER_NAME, OrvantaPlugInConfiguration::setInputOrvantaUserName,
            Property.INPUT_PASSWORD, OrvantaPlugInConfiguration::setInputOrvantaPassword,
            Property.OUTPUT_USER_NAME, OrvantaPlugInConfiguration::setOutputOrvantaUserName,
            Property.OUTPUT_PASSWORD, OrvantaPlugInConfiguration::setOutputOrvantaPassword);
    private static final Map<Property, Function<JobContext, byte[]>> GETTERS = Map.of(
            Property.INPUT_USER_NAME, OrvantaPlugInConfiguration::getInputOrvantaUserName,
            Property.INPUT_PASSWORD, OrvantaPlugInConfiguration::getInputOrvantaPassword,
            Property.OUTPUT_USER_NAME, OrvantaPlugInConfiguration::getOutputOrvantaUserName,
            Property.OUTPUT_PASSWORD, OrvantaPlugInConfiguration::getOutputOrvantaPassword);

    private final Configuration configuration = new Configuration();
    private final List<Text> writtenAliases = new ArrayList<>();
    private final Credentials credentials = new Credentials() {
        @Override
        public void addSecretKey(Text alias, byte[] key) {
            super.addSecretKey(alias, key);
            writtenAliases.add(alias);
        }
    };
    /** Under which alias the connector keeps each property, learnt from its own setters. */
    private final Map<Text, Property> aliases = new HashMap<>();

    RecordingJob(TestCase testCase) {
        Map<Side, String> urls = testCase.urls();
        OrvantaPlugInConfiguration.setInputJdbcUrl(configuration, urls.get(Side.INPUT));
        OrvantaPlugInConfiguration.setOutputJdbcUrl(configuration, urls.get(Side.OUTPUT));
        testCase.texts().forEach((property, text) -> {
            SETTERS.get(property).accept(this, ByteText.bytes(text));
            aliases.put(writtenAliases.get(writtenAliases.size() - 1), property);
        });
        writtenAliases.clear();
    }

    @Override
    public Configuration getConfiguration() {
        return configuration;
    }

    @Override
    public Credentials getCredentials() {
        return credentials;
    }

    /** The properties as they are now; no entry for one that is null. */
    Map<Property, String> texts() {
        Map<Property, String> texts = new EnumMap<>(Property.class);
        GETTERS.forEach((property, getter) -> {
            byte[] bytes = getter.apply(this);
            if (bytes != null) {
                texts.put(property, ByteText.of(bytes));
            }
        });
        return texts;
    }

    /** The properties written since the set-up, in order; null stands for one that was not set. */
    List<Property> written() {
        return writtenAliases.stream().map(aliases::get).toList();
    }
}
