package walletcaller.child;

import com.orvanta.connector.common.exception.ConnectorException;
import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.File;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/**
 * Copies of the library alive in one process, each in a class loader of its own; each of four
 * threads makes a good and a failing call with each of them. Then a library is loaded that needs
 * room in the static thread storage.
 *
 * <p>Arguments: a private directory with the shipped file, the number of copies, that library.
 */
public final class ManyCopies {
    private ManyCopies() {}

    public static void main(String[] arguments) throws Exception {
        Path directory = Paths.get(arguments[0]);
        int copies = Integer.parseInt(arguments[1]);
        ExecutorService threads = Executors.newFixedThreadPool(4, ManyCopies::daemon);
        List<Object> alive = new ArrayList<>();
        for (int number = 0; number < copies; ++number) {
            Callable<?> copy = copyIn(Files.createDirectory(directory.resolve("copy" + number)),
                    directory.resolve(WalletCaller.LIBRARY_NAME));
            alive.add(copy);
            List<Future<?>> calls = new ArrayList<>();
            for (int thread = 0; thread < 4; ++thread) {
                calls.add(threads.submit(copy));
            }
            for (Future<?> call : calls) {
                call.get();
            }
        }
        System.load(arguments[2]);
        System.out.println("= " + alive.size() + " copies");
    }

    /** So that what fails in the main thread ends the process. */
    private static Thread daemon(Runnable work) {
        Thread thread = new Thread(work);
        thread.setDaemon(true);
        return thread;
    }

    private static Callable<?> copyIn(Path directory, Path library) throws Exception {
        Files.copy(library, directory.resolve(library.getFileName()));
        List<URL> classes = new ArrayList<>();
        for (String path : System.getProperty("java.class.path").split(File.pathSeparator)) {
            classes.add(Paths.get(path).toUri().toURL());
        }
        // No parent: each loader defines every class anew. Closing it would unload the library.
        @SuppressWarnings("resource")
        ClassLoader loader = new URLClassLoader(classes.toArray(new URL[0]), null);
        return (Callable<?>) loader.loadClass(Copy.class.getName())
                .getConstructor(String.class).newInstance(directory + "/");
    }

    /** What one class loader has. */
    public static final class Copy implements Callable<Void> {
        private final String directory;

        public Copy(String directory) {
            this.directory = directory;
            WalletCaller.load(Paths.get(directory));
        }

        @Override
        public Void call() throws Exception {
            TestJob job = new TestJob();
            job.set("Input", "jdbc:orvanta://db/", "$ovwallet", "plain");
            job.set("Output", "jdbc:orvanta://db/", "plain", "$ovwallet");
            WalletCaller.performSubstitutions(job, directory);
            if (job.text("Input", "user.name").contains("$")
                    || !job.text("Input", "user.name").equals(job.text("Output", "password"))) {
                throw new IllegalStateException(job.text("Output", "password"));
            }
            job.set("Input", "jdbc:orvanta://db/", "$ovwallet(no such entry)", "plain");
            try {
                WalletCaller.performSubstitutions(job, directory);
                throw new IllegalStateException("the call does not fail");
            } catch (ConnectorException expected) {
                return null;
            }
        }
    }
}
