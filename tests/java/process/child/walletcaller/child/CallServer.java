package walletcaller.child;

import com.orvanta.connector.common.ovwallet.WalletCaller;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Paths;
import java.util.Arrays;

/**
 * The process under test: loads the library from the directory that it is given, then obeys one
 * command a line from standard input, so that a test can change the world between two calls of one
 * process. Each reply is one line that begins with "= "; any other line comes from the JVM.
 *
 * <p>Names no class that a test may leave out of the class path.
 */
public final class CallServer {
    private final TestJob job = new TestJob();

    private CallServer() {}

    public static void main(String[] arguments) throws IOException {
        WalletCaller.load(Paths.get(arguments[0]));
        CallServer server = new CallServer();
        BufferedReader commands =
                new BufferedReader(new InputStreamReader(System.in, StandardCharsets.US_ASCII));
        for (String line = commands.readLine(); line != null; line = commands.readLine()) {
            System.out.println("= " + server.obey(line.split(" ")));
        }
    }

    private String obey(String[] words) {
        switch (words[0]) {
            case "url": // SIDE URL
                job.setUrl(words[1], Hex.decodeText(words[2]));
                return "done";
            case "set": // SIDE PROPERTY BYTES
                job.setSecret(words[1], words[2], Hex.decode(words[3]));
                return "done";
            case "get": // SIDE PROPERTY
                return Hex.encode(job.secret(words[1], words[2]));
            case "throw": // METHOD
                Faults.throwIn(words[1].equals("-") ? null : words[1]);
                return "done";
            case "call": // DIRECTORY TIMES
                return call(job, Hex.decodeText(words[1]), Integer.parseInt(words[2]));
            case "call-without-job": // DIRECTORY
                return call(null, Hex.decodeText(words[1]), 1);
            case "call-and-compare": // DIRECTORY
                return callAndCompare(Hex.decodeText(words[1]));
            default:
                throw new IllegalArgumentException(words[0]);
        }
    }

    /** Stops at the first call that throws. */
    private static String call(TestJob job, String directory, int times) {
        try {
            for (int round = 0; round < times; ++round) {
                WalletCaller.performSubstitutions(job, directory);
            }
            return "returned";
        } catch (Throwable thrown) {
            return "threw " + thrown.getClass().getName() + " " + Hex.encode(thrown.getMessage())
                    + (thrown == Faults.thrown() ? " same" : " other");
        }
    }

    /** Tells in what the arrays of the input side differ from those that were there before. */
    private String callAndCompare(String directory) {
        byte[] userName = job.secret("Input", "user.name");
        byte[] password = job.secret("Input", "password");
        String outcome = call(job, directory, 1);
        return outcome + " " + compare(userName, job.secret("Input", "user.name"))
                + " " + compare(password, job.secret("Input", "password"));
    }

    private static String compare(byte[] before, byte[] after) {
        return before == after ? "same-array"
                : Arrays.equals(before, after) ? "equal-array" : "other-bytes";
    }
}
