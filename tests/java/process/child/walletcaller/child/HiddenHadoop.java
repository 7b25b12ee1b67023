package walletcaller.child;

import java.lang.reflect.InvocationTargetException;
import java.net.MalformedURLException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Paths;

/**
 * Makes one call in which Hadoop's classes are there for the caller but not for the connector: the
 * connector's class loader, which is the one that native code asks, does not see them. Prints what
 * the call threw. Arguments: the private directory, then the class directories of the connector, of
 * the Hadoop types and of this package.
 */
public final class HiddenHadoop {
    private HiddenHadoop() {}

    public static void main(String[] arguments) throws Exception {
        ClassLoader platform = ClassLoader.getSystemClassLoader().getParent();
        ClassLoader connector = new URLClassLoader(urls(arguments[1]), platform);
        ClassLoader job = new URLClassLoader(urls(arguments[2], arguments[3]), connector);
        try {
            job.loadClass("walletcaller.child.OneCall").getMethod("run", String.class)
                    .invoke(null, arguments[0]);
        } catch (InvocationTargetException failure) {
            System.out.println("= " + failure.getCause());
        }
    }

    private static URL[] urls(String... directories) throws MalformedURLException {
        URL[] urls = new URL[directories.length];
        for (int index = 0; index < urls.length; ++index) {
            urls[index] = Paths.get(directories[index]).toUri().toURL();
        }
        return urls;
    }
}
