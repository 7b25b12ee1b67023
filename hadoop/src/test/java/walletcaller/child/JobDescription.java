package walletcaller.child;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.util.HexFormat;
import java.util.Optional;
import java.util.Properties;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.fs.Path;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.Mapper;
import walletcaller.job.CopyJob;
import walletcaller.job.Login;

/**
 * One copy job, described in a file of properties:
 *
 * <pre>
 * configuration = FILE                     properties of Hadoop's, as XML
 * hadoop.NAME = VALUE                      one more of them
 * SIDE.url, SIDE.user.name, SIDE.password  the last two in hexadecimal
 * mapper = CLASS                           one of this package in place of the job's own
 * cached = FILE                            shipped in the distributed cache
 * killed = FILE                            names a task attempt as soon as it is to be killed
 * </pre>
 */
record JobDescription(Properties properties) {
    private static final String HADOOP = "hadoop.";

    static JobDescription read(java.nio.file.Path path) throws IOException {
        Properties properties = new Properties();
        try (InputStream file = Files.newInputStream(path)) {
            properties.load(file);
        }
        return new JobDescription(properties);
    }

    Job job() throws IOException, ClassNotFoundException {
        Configuration configuration = new Configuration();
        if (properties.containsKey("configuration")) {
            configuration.addResource(new Path(properties.getProperty("configuration")));
        }
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
        if (properties.containsKey("cached")) {
            job.addCacheFile(java.nio.file.Path.of(properties.getProperty("cached")).toUri());
        }
        return job;
    }

    /** Where the name of the attempt will be found. */
    Optional<java.nio.file.Path> killed() {
        return Optional.ofNullable(properties.getProperty("killed")).map(java.nio.file.Path::of);
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
