package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static walletcaller.process.ConnectorJvm.INPUT;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** Client libraries that cannot be used. Each failure is followed by a good call. */
class ClientLibraryTest extends ProcessTest {
    private static final String USE_FAILED = "Attempt to use Orvanta Wallet failed because: ";

    private ConnectorJvm jvm;

    @BeforeEach
    void start() {
        scene.wallet().add("known", "value");
        jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(known)", "plain");
    }

    /** Found through the package records, since a faulty base need not have the command. */
    private Path installFaulty(String variant) throws IOException {
        Path base = Build.faultyBase(variant);
        scene.packageRecord("ovwallet", base + "\n");
        return Build.clientLibrary(base).toRealPath().normalize();
    }

    /** The good client library takes the place of the faulty one. */
    private void assertGoodCallFollows() throws IOException {
        scene.link(scene.walletLink(), Build.BASE + "/orvanta/client/ovwallet");

        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value", jvm.userName(INPUT));
    }

    @Test
    void missingFile() throws IOException {
        Path base = Build.faultyBase("no-library").toRealPath();
        scene.packageRecord("ovwallet", base + "\n");

        assertEquals(Outcome.connectorException(USE_FAILED
                + "Orvanta Wallet 14.10 is not installed (cannot access \""
                + Build.clientLibrary(base) + "\")"), jvm.call());

        assertEquals("$ovwallet(known)", jvm.userName(INPUT));
        assertGoodCallFollows();
    }

    @Test
    void textFile() throws IOException {
        Path library = installFaulty("text-file");
        String reason = Files.size(library) < 64 ? "file too short" : "invalid ELF header";

        assertEquals(Outcome.connectorException(USE_FAILED + "Cannot load the \"" + library
                + "\" library because: " + library + ": " + reason), jvm.call());

        assertGoodCallFollows();
    }

    @ParameterizedTest(name = "{1}")
    @CsvSource({
        "missing-first, OvWallet_getErrorDescription",
        "missing-getversion, OvWallet_getVersion",
        "missing-last, OvWallet_addPlaintextStringFromTerminal",
    })
    void missingEntryPoint(String variant, String entryPoint) throws IOException {
        Path library = installFaulty(variant);

        assertEquals(Outcome.connectorException(USE_FAILED + "Cannot find the \"" + entryPoint
                + "\" function in the \"" + library + "\" library because: " + library
                + ": undefined symbol: " + entryPoint), jvm.call());

        assertEquals(1, scene.wallet().ledger().get("loads"));
        assertEquals(1, scene.wallet().ledger().get("unloads"));
        assertGoodCallFollows();
    }

    @Test
    void exceptionOutOfAnEntryPoint() throws IOException {
        installFaulty("throwing");

        assertEquals(Outcome.connectorException("Attempt to get value from Orvanta Wallet failed"
                + " because: the client library threw"), jvm.call());

        assertEquals("$ovwallet(known)", jvm.userName(INPUT));
        scene.wallet().assertAtRest();
        assertGoodCallFollows();
    }

    /** Its class is the client library's own, which is unmapped when the exception is read. */
    @ParameterizedTest
    @ValueSource(strings = {"OvWallet_getPtrLockedUTF8Vector", "OvWallet_getSizeLockedUTF8Vector"})
    void exceptionThatOutlivesTheLibrary(String entryPoint) {
        scene.install(Build.BASE);
        scene.wallet().throwFrom(entryPoint, "std");

        assertEquals(Outcome.connectorException("the client library threw"), jvm.call());

        scene.wallet().assertAtRest();
        scene.wallet().throwFrom(entryPoint, "none");
        assertEquals(Outcome.RETURNED, jvm.call());
    }

    @Test
    void libraryStaysUnloadedBetweenCalls() {
        scene.install(Build.BASE);

        assertEquals(Outcome.RETURNED, jvm.calls(3));

        assertEquals(3, scene.wallet().ledger().get("loads"));
        assertEquals(3, scene.wallet().ledger().get("unloads"));
        assertEquals(3, scene.wallet().calls("OvWalletFactory_generateOvWalletV1"));
        assertEquals(1, scene.wallet().calls("OvWallet_getStringValue"));
    }
}
