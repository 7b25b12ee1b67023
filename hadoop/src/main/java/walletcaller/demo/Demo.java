package walletcaller.demo;

import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.io.IOException;
import java.io.PrintStream;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.TaskCounter;
import org.apache.hadoop.util.VersionInfo;
import walletcaller.database.Databases;
import walletcaller.job.CopyJob;
import walletcaller.job.KeepingMapper;
import walletcaller.job.Login;

/**
 * Runs the copy job in Hadoop's local runner and shows what was submitted, what it counted and what
 * it moved. Then it runs a job that has to fail. Arguments: a directory for the job's files, and
 * the wallet's journal.
 */
public final class Demo {
    private static final String URL = "^orvanta\\.";
    private static final List<String> SECRETS = Arrays.asList("etl_reader", "s3cret (for sales)",
            "etl_writer", "grüne Wälder");
    private static final List<String> FETCHES =
            Arrays.asList("reader.name", "pw_sales-db", "com.orvanta.OV2", "pw_mart-db", "forest");

    private final PrintStream out = new PrintStream(System.out, true, "UTF-8");
    private final Path directory;
    private final Path journal;
    private final Databases databases;
    private boolean asExpected = true;

    private Demo(Path directory, Path journal, Databases databases) throws IOException {
        this.directory = directory;
        this.journal = journal;
        this.databases = databases;
    }

    public static void main(String[] arguments) throws Exception {
        boolean asExpected;
        try (Databases databases = new Databases()) {
            databases.addReader("etl_reader", "s3cret (for sales)");
            databases.addWriter("etl_writer", "grüne Wälder");
            Demo demo = new Demo(Paths.get(arguments[0]), Paths.get(arguments[1]), databases);
            demo.runJob();
            demo.runJobWithAWrongReference();
            asExpected = demo.asExpected;
        }
        System.exit(asExpected ? 0 : 1);
    }

    private void runJob() throws Exception {
        Job job = job("$ovwallet(pw_$(ovpid))");
        out.println("Hadoop " + VersionInfo.getVersion() + ", local runner, Java "
                + System.getProperty("java.version"));
        out.println();
        out.println("The job's credentials as the user sets them, with their references:");
        credentials(job).forEach((name, value) -> out.printf("  %-28s%s%n", name, value));

        job.waitForCompletion(false);

        check("the job's end", true, job.isSuccessful());
        Configuration submitted = submittedConfiguration();
        out.println();
        out.println("The configuration that was submitted (" + submitted.size()
                + " properties; user names and passwords are not among them):");
        for (Map.Entry<String, String> property : submitted.getValByRegex(URL).entrySet()) {
            out.printf("  %-28s%s%n", property.getKey(), property.getValue());
        }
        show("job name", submitted.get("mapreduce.job.name"));
        show("input format", submitted.get("mapreduce.job.inputformat.class"));
        show("output format", submitted.get("mapreduce.job.outputformat.class"));
        show("tasks", submitted.get("mapreduce.job.maps"));

        out.println();
        out.println("Counters of the job:");
        long read = counter(job, TaskCounter.MAP_INPUT_RECORDS);
        long written = counter(job, TaskCounter.MAP_OUTPUT_RECORDS);
        show("records read", Long.toString(read));
        show("records written", Long.toString(written));

        out.println();
        out.println("Rows moved from sales-db to mart-db: " + databases.copies().size() + " of "
                + databases.orders().size() + ", for instance \""
                + databases.copies().get(1L) + "\"");
        out.println("Wallet entries fetched, in order: " + String.join(", ", fetches()));
        check("the rows", databases.orders(), databases.copies());
        check("the records read", 5000L, read);
        check("the records written", 5000L, written);
        check("the entries fetched", FETCHES, fetches());
        lookForSecrets();
    }

    /** All files that were submitted, as bytes. */
    private void lookForSecrets() throws IOException {
        List<Path> files = submittedFiles();
        List<String> found = new ArrayList<>();
        for (Path file : files) {
            String text = new String(Files.readAllBytes(file), StandardCharsets.UTF_8);
            SECRETS.stream().filter(text::contains).forEach(found::add);
        }
        out.println("Secrets in the submitted files ("
                + files.stream().map(file -> file.getFileName().toString()).sorted().distinct()
                        .collect(Collectors.joining(", "))
                + "): " + (found.isEmpty() ? "none" : String.join(", ", found)));
        check("secrets in the submitted files", Collections.emptyList(), found);
    }

    private void runJobWithAWrongReference() throws Exception {
        out.println();
        out.println("A job with a wrong reference on purpose: $ovwallet(pw_sales)");
        String expected = "com.orvanta.connector.common.exception.ConnectorException: Attempt to "
                + "get value from Orvanta Wallet failed because: There is no string named "
                + "\"pw_sales\" in the wallet.";
        try {
            job("$ovwallet(pw_sales)").waitForCompletion(false);
            check("its submission", expected, "accepted");
        } catch (IOException refused) {
            out.println("  " + refused);
            check("its submission", expected, refused.toString());
        }
        out.println();
        out.println(asExpected
                ? "All of it is as it should be." : "NOT as it should be, see above.");
    }

    private Job job(String inputPassword) throws IOException {
        Configuration configuration = new Configuration();
        configuration.set("hadoop.tmp.dir", directory.resolve("hadoop").toString());
        configuration.set("mapreduce.framework.name", "local");
        configuration.set(KeepingMapper.DIRECTORY, kept().toString());
        return CopyJob.create(configuration,
                new Login(databases.url("sales-db"), "$ovwallet(reader.name)", inputPassword),
                new Login(databases.url("mart-db"), "$ovwallet", "$ovwallet(pw_$(ovpid))"));
    }

    private static Map<String, String> credentials(Job job) {
        Map<String, String> values = new LinkedHashMap<>();
        values.put("input user name",
                text(OrvantaPlugInConfiguration.getInputOrvantaUserName(job)));
        values.put("input password", text(OrvantaPlugInConfiguration.getInputOrvantaPassword(job)));
        values.put("output user name",
                text(OrvantaPlugInConfiguration.getOutputOrvantaUserName(job)));
        values.put("output password",
                text(OrvantaPlugInConfiguration.getOutputOrvantaPassword(job)));
        return values;
    }

    private Path kept() {
        return directory.resolve("submitted");
    }

    private List<Path> submittedFiles() throws IOException {
        try (Stream<Path> files = Files.walk(kept())) {
            return files.filter(file -> file.getFileName().toString().startsWith("job."))
                    .collect(Collectors.toList());
        }
    }

    private Configuration submittedConfiguration() throws IOException {
        Configuration submitted = new Configuration(false);
        for (Path file : submittedFiles()) {
            if (file.endsWith("job.xml")) {
                submitted.addResource(Files.newInputStream(file));
                return submitted;
            }
        }
        throw new IOException("The submitted configuration was not kept");
    }

    private List<String> fetches() {
        try {
            return Files.readAllLines(journal).stream()
                    .map(line -> line.substring("get ".length())).collect(Collectors.toList());
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    private static long counter(Job job, TaskCounter counter) throws IOException {
        return job.getCounters().findCounter(counter).getValue();
    }

    private void show(String name, String value) {
        out.printf("  %-28s%s%n", name, value);
    }

    private void check(String what, Object expected, Object actual) {
        if (!expected.equals(actual)) {
            asExpected = false;
            out.println("NOT as it should be: " + what + ": " + actual + ", not " + expected);
        }
    }

    private static String text(byte[] bytes) {
        return new String(bytes, StandardCharsets.UTF_8);
    }
}
