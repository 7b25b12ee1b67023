package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import com.orvanta.connector.orvanta.utils.OrvantaPlugInConfiguration;
import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;
import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.mapreduce.Job;
import org.apache.hadoop.mapreduce.JobContext;
import walletcaller.job.PrivateLibrary;

/** Loads the library in one of the ways below and tells what its calls give. */
public final class LoadProgram {
    private static final Path TEMPORARY = Path.of(System.getProperty("java.io.tmpdir"));

    private LoadProgram() {}

    /** The argument is the name of the way. */
    public static void main(String[] arguments) throws Exception {
        switch (arguments[0]) {
            case "fromTheJar": fromTheJar(); break;
            case "fileDeleted": fileDeleted(); break;
            case "twoClassLoaders": twoClassLoaders(); break;
            case "oneFileForTwoClassLoaders": oneFileForTwoClassLoaders(); break;
            case "directoryOfAnother": directoryOfAnother(); break;
            case "withoutSlash": withoutSlash(); break;
            case "lockedMemory": lockedMemory(); break;
            default: throw new IllegalArgumentException(arguments[0]);
        }
    }

    private static void fromTheJar() throws IOException {
        callAndTell("first call", LoadProgram::substitute);
        for (Path directory : list(TEMPORARY)) {
            tell("directory", PosixFilePermissions.toString(
                    Files.getPosixFilePermissions(directory)));
            tell("files", list(directory).stream().map(Path::getFileName).toList());
        }
        callAndTell("second call", LoadProgram::substitute);
    }

    private static void fileDeleted() throws IOException {
        Path directory = unpacked();
        Path file = directory.resolve(WalletCaller.LIBRARY_NAME);
        Path aside = directory.resolve("aside");
        WalletCaller.load(directory);
        callAndTell("first call", () -> substitute(directory + "/"));
        Files.copy(file, aside);
        Files.delete(file);
        tell("mapped", mappedFiles());
        callAndTell("call without the file", () -> substitute(directory + "/"));
        Files.move(aside, file);
        callAndTell("call with the file", () -> substitute(directory + "/"));
    }

    private static void twoClassLoaders() throws Exception {
        try (URLClassLoader one = loader(); URLClassLoader other = loader()) {
            for (URLClassLoader loader : List.of(one, other, one)) {
                callAndTell("call", () -> invoke(method(loader, "substitute")));
            }
            tell("one class", method(one, "substitute").equals(method(other, "substitute")));
        }
        tell("mapped", mappedFiles().size());
    }

    private static void oneFileForTwoClassLoaders() throws Exception {
        Path directory = unpacked();
        WalletCaller.load(directory);
        callAndTell("first class loader", () -> substitute(directory + "/"));
        try (URLClassLoader other = loader()) {
            callAndTell("second class loader",
                    () -> invoke(method(other, "load", Path.class), directory));
        }
    }

    /** As a second attempt of a task does that uses the first one's directory. */
    private static void directoryOfAnother() throws IOException {
        Path directory = unpacked();
        Path link = directory.resolve("ovwalletdir");
        Files.createSymbolicLink(link, Path.of("/nowhere"));
        WalletCaller.load(directory);
        callAndTell("call", () -> substitute(directory + "/"));
        tell("link", Files.readSymbolicLink(link));
        Files.delete(link);
        callAndTell("call without the link", () -> substitute(directory + "/"));
    }

    private static void withoutSlash() throws IOException {
        Path directory = unpacked();
        WalletCaller.load(directory);
        callAndTell("call", () -> substitute(directory.toString()));
        tell("link beside the directory", Files.isSymbolicLink(Path.of(directory + "ovwalletdir")));
    }

    private static void lockedMemory() throws IOException {
        WatchedJob job = new WatchedJob(job());
        callAndTell("call", () -> PrivateLibrary.substitute(job));
        tell("locked during the call", job.sawLockedMemory());
        tell("user name", new String(OrvantaPlugInConfiguration.getInputOrvantaUserName(job),
                StandardCharsets.UTF_8));
    }

    /** In whichever class loader this class is, from the jar of that class loader. */
    public static void substitute() throws IOException {
        PrivateLibrary.substitute(job());
    }

    /** In whichever class loader this class is. */
    public static void load(Path directory) {
        WalletCaller.load(directory);
    }

    private static void substitute(String directory) throws IOException {
        WalletCaller.performSubstitutions(job(), directory);
    }

    private static JobContext job() throws IOException {
        Job job = Job.getInstance(new Configuration());
        OrvantaPlugInConfiguration.setInputOrvantaUserName(
                job, "$ovwallet(name)".getBytes(StandardCharsets.UTF_8));
        return job;
    }

    private static Path unpacked() throws IOException {
        Path directory = Files.createTempDirectory("unpacked-");
        try (InputStream library =
                LoadProgram.class.getResourceAsStream("/" + WalletCaller.LIBRARY_NAME)) {
            Files.copy(library, directory.resolve(WalletCaller.LIBRARY_NAME));
        }
        return directory;
    }

    /** The names under which the process has the library's file in its memory. */
    private static List<String> mappedFiles() throws IOException {
        return Files.readAllLines(Path.of("/proc/self/maps")).stream()
                .filter(line -> line.contains(WalletCaller.LIBRARY_NAME))
                .map(line -> line.substring(line.indexOf('/'))).distinct().toList();
    }

    /** Everything but the JDK's own classes is loaded anew. */
    private static URLClassLoader loader() throws IOException {
        List<URL> urls = new ArrayList<>();
        for (String path : System.getProperty("java.class.path").split(File.pathSeparator)) {
            urls.add(new File(path).toURI().toURL());
        }
        return new URLClassLoader(
                urls.toArray(new URL[0]), ClassLoader.getPlatformClassLoader());
    }

    private static Method method(ClassLoader loader, String name, Class<?>... parameters)
            throws ReflectiveOperationException {
        return loader.loadClass(LoadProgram.class.getName()).getMethod(name, parameters);
    }

    private static void invoke(Method method, Object... arguments) throws Throwable {
        ClassLoader before = Thread.currentThread().getContextClassLoader();
        Thread.currentThread().setContextClassLoader(method.getDeclaringClass().getClassLoader());
        try {
            method.invoke(null, arguments);
        } catch (InvocationTargetException failure) {
            throw failure.getCause();
        } finally {
            Thread.currentThread().setContextClassLoader(before);
        }
    }

    private interface Call {
        void run() throws Throwable;
    }

    private static void callAndTell(String name, Call call) {
        try {
            call.run();
            tell(name, "well");
        } catch (Throwable failure) {
            tell(name, failure);
        }
    }

    private static List<Path> list(Path directory) throws IOException {
        try (Stream<Path> entries = Files.list(directory)) {
            return entries.sorted().toList();
        }
    }

    private static void tell(String name, Object value) {
        System.out.println("= " + name + ": " + value);
    }
}
