package walletcaller.hadoop;

import java.io.IOException;
import java.io.OutputStream;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileVisitResult;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.nio.file.SimpleFileVisitor;
import java.nio.file.attribute.BasicFileAttributes;
import java.util.Map;
import java.util.TreeMap;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.v2.MiniMRYarnCluster;

/** Two nodes that start each task in a JVM and a container of its own. */
final class Cluster implements AutoCloseable {
    private static final int NODES = 2;

    private final Path directory;
    private final Path configuration;
    private final MiniMRYarnCluster cluster;

    Cluster(Path directory) {
        this.directory = directory;
        System.setProperty("test.build.data", directory.toString());
        Configuration wanted = new Configuration();
        wanted.set("hadoop.tmp.dir", directory.resolve("tmp").toString());
        wanted.set("yarn.app.mapreduce.am.staging-dir", directory.resolve("staging").toString());
        wanted.setInt("yarn.nodemanager.resource.memory-mb", 2048);
        wanted.setInt("yarn.nodemanager.resource.cpu-vcores", 8);
        wanted.setInt("yarn.scheduler.minimum-allocation-mb", 128);
        wanted.setBoolean("yarn.nodemanager.vmem-check-enabled", false);
        wanted.setFloat("yarn.nodemanager.disk-health-checker"
                + ".max-disk-utilization-per-disk-percentage", 99);
        wanted.setInt("yarn.resourcemanager.nodemanagers.heartbeat-interval-ms", 100);
        // Containers leave their files, for the tests to look at.
        wanted.setLong("yarn.nodemanager.delete.debug-delay-sec", 3600);
        cluster = new MiniMRYarnCluster("wallet", NODES);
        cluster.init(wanted);
        cluster.start();
        configuration = directory.resolve("cluster.xml");
        try (OutputStream file = Files.newOutputStream(configuration)) {
            cluster.getConfig().writeXml(file);
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    /** What a submitter has to know. */
    Path configuration() {
        return configuration;
    }

    /** All that nodes and containers have written, without what is deleted meanwhile. */
    Map<Path, String> files() {
        Map<Path, String> files = new TreeMap<>();
        try {
            Files.walkFileTree(directory, new SimpleFileVisitor<>() {
                @Override
                public FileVisitResult visitFile(Path file, BasicFileAttributes attributes)
                        throws IOException {
                    if (attributes.isRegularFile()) {
                        try {
                            files.put(file, Files.readString(file, StandardCharsets.ISO_8859_1));
                        } catch (NoSuchFileException deleted) {
                            return FileVisitResult.CONTINUE;
                        }
                    }
                    return FileVisitResult.CONTINUE;
                }

                @Override
                public FileVisitResult visitFileFailed(Path file, IOException failure)
                        throws IOException {
                    if (failure instanceof NoSuchFileException) {
                        return FileVisitResult.CONTINUE;
                    }
                    throw failure;
                }

                @Override
                public FileVisitResult postVisitDirectory(Path visited, IOException failure) {
                    return FileVisitResult.CONTINUE;
                }
            });
            return files;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    @Override
    public void close() {
        cluster.stop();
    }
}
