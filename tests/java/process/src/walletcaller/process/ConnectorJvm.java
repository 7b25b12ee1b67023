package walletcaller.process;

import java.nio.file.Path;
import java.util.List;
import java.util.Map;
import java.util.stream.Stream;
import walletcaller.harness.ChildJvm;

/** A process that holds one job and makes the calls that the test asks for, one at a time. */
final class ConnectorJvm extends ChildJvm {
    static final String INPUT = "Input";
    static final String OUTPUT = "Output";

    private final Path workDirectory;
    private final Map<String, String> environment;
    private final String privateDirectory;
    private boolean called;

    /** The pathname is that of the private directory, with a "/" at its end. */
    ConnectorJvm(Path workDirectory, Map<String, String> environment, List<Path> classPath,
            String privateDirectory) {
        super(workDirectory, environment, List.of(Build.JAVA.toString()),
                Stream.concat(Scene.NATIVE_ACCESS.stream(), Stream.of("-Xmx64m")).toList(),
                classPath, List.of("walletcaller.child.CallServer", privateDirectory));
        this.workDirectory = workDirectory;
        this.environment = environment;
        this.privateDirectory = privateDirectory;
    }

    /** Sets one side; null leaves a property out. */
    void set(String side, String url, String userName, String password) {
        ask("url " + side + " " + Bytes.hex(url));
        setUserName(side, Bytes.utf8(userName));
        setPassword(side, Bytes.utf8(password));
    }

    void setUserName(String side, byte[] userName) {
        ask("set " + side + " user.name " + Bytes.hex(userName));
    }

    void setPassword(String side, byte[] password) {
        ask("set " + side + " password " + Bytes.hex(password));
    }

    String userName(String side) {
        return Bytes.textFromHex(ask("get " + side + " user.name"));
    }

    String password(String side) {
        return Bytes.textFromHex(ask("get " + side + " password"));
    }

    byte[] passwordBytes(String side) {
        return Bytes.fromHex(ask("get " + side + " password"));
    }

    /** From now on this method throws when native code calls it; null ends that. */
    void throwIn(String method) {
        ask("throw " + (method == null ? "-" : method));
    }

    Outcome call() {
        return call(privateDirectory);
    }

    /** The set-up is made by the first call, so that is the one that can be foreseen. */
    Outcome call(String directory) {
        Doctor doctor = called || directory == null
                ? null : new Doctor(environment, workDirectory.resolve("doctor"),
                        Path.of(privateDirectory).resolve(Build.LIBRARY.getFileName()), directory);
        called = true;
        Outcome outcome = Outcome.parse(ask("call " + Bytes.hex(directory) + " 1"));
        if (doctor != null) {
            doctor.assertForesaw(outcome);
        }
        return outcome;
    }

    /** Stops at the first call that fails. */
    Outcome calls(int times) {
        return Outcome.parse(ask("call " + Bytes.hex(privateDirectory) + " " + times));
    }

    Outcome callWithoutJob() {
        return Outcome.parse(ask("call-without-job " + Bytes.hex(privateDirectory)));
    }

    /** Says of each of the input side's two arrays: the old one, an equal one, or other bytes. */
    String callAndCompare() {
        return ask("call-and-compare " + Bytes.hex(privateDirectory));
    }
}
