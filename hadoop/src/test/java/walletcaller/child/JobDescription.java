package walletcaller.child;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HexFormat;
import java.util.Properties;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.Mapper;
import walletcaller.job.CopyJob;
import walletcaller.job.Login;

/**
 * One copy job, described in a file of properties:
 *
 * <pre>
 * hadoop.NAME = VALUE                      a property of Hadoop's
 * SIDE.url, SIDE.user.name, SIDE.password  the last two in hexadecimal
 * mapper = CLASS                           one of this package in place of the job's own
 * </pre>
 */
record JobDescription(Properties properties) {
    private static final String HADOOP = "hadoop.";

    static JobDescription read(Path path) throws IOException {
        Properties properties = new Properties();
        try (InputStream file = Files.newInputStream(path)) {
            properties.load(file);
        }
        return new JobDescription(properties);
    }

    Job job() throws IOException, ClassNotFoundException {
        Configuration configuration = new Configuration();
        for (String name : properties.stringPropertyNames()) {
            if (name.startsWith(HADOOP)) {
                configuration.set(
                        name.substring(HADOOP.length()), properties.getProperty(name));
            }
        }
        Job job = CopyJob.create(configuration, login("input"), login("output"));
        if (properties.containsKey("mapper")) {
            job.setMapperClass(mapper(properties.getProperty("mapper")));
        }
        return job;
    }

    private Login login(String side) {
        return new Login(properties.getProperty(side + ".url"),
                HexFormat.of().parseHex(properties.getProperty(side + ".user.name")),
                HexFormat.of().parseHex(properties.getProperty(side + ".password")));
    }

    @SuppressWarnings({"unchecked", "rawtypes"})
    private static Class<? extends Mapper> mapper(String name) throws ClassNotFoundException {
        return (Class<? extends Mapper>) Class.forName("walletcaller.child." + name);
    }
}
