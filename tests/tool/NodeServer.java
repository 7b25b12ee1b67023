import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Proxy;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.Base64;

/**
 * Sets up one job after the other, each in a class loader of its own and so with a copy of the
 * library of its own. The arguments are the class path. A line of standard input holds the directory
 * to load the library from, the name to pass and, if the job has one, its password, in base64. The
 * answer is "= returned", or "= " with the class and the message of what was thrown; the last word is
 * how many kilobytes were locked at most whenever the library asked the job for something.
 */
final class NodeServer {
    private static long mostLocked;

    public static void main(String[] arguments) throws Exception {
        URL[] classPath = new URL[arguments.length];
        for (int i = 0; i < arguments.length; ++i) {
            classPath[i] = Path.of(arguments[i]).toUri().toURL();
        }
        BufferedReader lines = new BufferedReader(
                new InputStreamReader(System.in, StandardCharsets.US_ASCII));
        for (String line = lines.readLine(); line != null; line = lines.readLine()) {
            String[] words = Arrays.stream(line.split(" ", -1))
                    .map(word -> new String(Base64.getDecoder().decode(word), StandardCharsets.UTF_8))
                    .toArray(String[]::new);
            mostLocked = 0;
            String outcome = setUp(classPath, words[0], words[1], words.length > 2 ? words[2] : null);
            System.out.println("= " + outcome + " " + mostLocked);
        }
    }

    private static String setUp(URL[] classPath, String library, String directory, String password)
            throws Exception {
        ClassLoader loader = new URLClassLoader(classPath, ClassLoader.getPlatformClassLoader());
        Class<?> context = loader.loadClass("org.apache.hadoop.mapreduce.JobContext");
        Object configuration =
                loader.loadClass("org.apache.hadoop.conf.Configuration").getConstructor().newInstance();
        Object credentials =
                loader.loadClass("org.apache.hadoop.security.Credentials").getConstructor().newInstance();
        Class<?> text = loader.loadClass("org.apache.hadoop.io.Text");
        if (password != null) {
            credentials.getClass().getMethod("addSecretKey", text, byte[].class).invoke(credentials,
                    text.getConstructor(String.class).newInstance("orvanta.input.password"),
                    password.getBytes(StandardCharsets.UTF_8));
        }
        Object job = Proxy.newProxyInstance(loader, new Class<?>[] {context}, (proxy, method, none) -> {
            mostLocked = Math.max(mostLocked, locked());
            return method.getName().equals("getConfiguration") ? configuration : credentials;
        });
        Class<?> caller = loader.loadClass("com.orvanta.connector.common.ovwallet.WalletCaller");
        try {
            caller.getMethod("load", Path.class).invoke(null, Path.of(library));
            caller.getMethod("performSubstitutions", context, String.class).invoke(null, job, directory);
            return "returned";
        } catch (InvocationTargetException failure) {
            Throwable thrown = failure.getCause();
            return thrown.getClass().getName() + " " + Base64.getEncoder().encodeToString(
                    String.valueOf(thrown.getMessage()).getBytes(StandardCharsets.UTF_8));
        }
    }

    private static long locked() throws IOException {
        return Files.readAllLines(Path.of("/proc/self/status")).stream()
                .filter(line -> line.startsWith("VmLck:"))
                .mapToLong(line -> Long.parseLong(line.replaceAll("\\D", ""))).sum();
    }
}
