package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static walletcaller.process.ConnectorJvm.INPUT;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** How the first call of a process finds the installation and makes the link to it. */
class SetUpTest extends ProcessTest {
    private static final Outcome NOT_INSTALLED = Outcome.connectorException(
            "The Orvanta Wallet software is not installed; install version 14.10 of the Orvanta"
            + " Wallet software (available from https://downloads.orvanta.example/ovwallet) in"
            + " order to use Orvanta Wallet.");

    @BeforeEach
    void fillWallet() {
        scene.wallet().add("known", "value");
    }

    private ConnectorJvm startWithReference() {
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(known)", null);
        return jvm;
    }

    /** The call works, with the installation at this base. */
    private void assertFound(Path base) {
        ConnectorJvm jvm = startWithReference();
        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value", jvm.userName(INPUT));
        assertEquals(base + "/orvanta/client/ovwallet", scene.walletLinkTarget());
    }

    @Test
    void absoluteCommandLink() throws IOException {
        scene.link(scene.command(), Build.command(Build.BASE).toString());

        assertFound(Build.BASE.toRealPath());
    }

    @Test
    void relativeCommandLinkStartsFromTheCommandsDirectory() throws IOException {
        scene.link(scene.command(), "../.." + Build.command(Build.BASE));

        assertFound(Build.BASE.toRealPath());
    }

    @Test
    void chainOfRelativeAndAbsoluteLinksIsFollowedLinkByLink() throws IOException {
        scene.directory("first");
        scene.directory("second");
        scene.link(scene.command(), "../.." + scene.path("first/a"));
        scene.link(scene.path("first/a"), "../second/b");
        scene.link(scene.path("second/b"), "c");
        scene.link(scene.path("second/c"), Build.command(Build.BASE).toString());

        assertFound(Build.BASE.toRealPath());
    }

    @Test
    void commandThatIsNoLinkPutsTheBaseAtTheRoot() throws IOException {
        Files.writeString(scene.command(), "a program");
        scene.packageRecord("ovwallet", Build.BASE + "\n");
        ConnectorJvm jvm = startWithReference();

        Outcome outcome = jvm.call();

        String client = scene.walletLinkTarget().replaceFirst("^//", "/") + "/..";
        assertEquals("/orvanta/client/ovwallet/..", client);
        assertEquals(Outcome.connectorException("Attempt to use Orvanta Wallet failed because:"
                + " Orvanta Wallet 14.10 is not installed (cannot access \""
                + scene.walletLinkTarget()
                + "/../14.10/ovwallet/redhatlinux-x8664/libovwallet.so\")"), outcome);
    }

    @Test
    void commandLinkWinsOverPackageRecords() throws IOException {
        scene.install(Build.BASE);
        scene.packageRecord("ovwallet", scene.baseNamed("recorded") + "\n");

        assertFound(Build.BASE.toRealPath());
    }

    @Test
    void danglingCommandLinkLeavesItToThePackageRecords() {
        scene.link(scene.command(), scene.path("nowhere").toString());
        Path base = scene.baseNamed("recorded");
        scene.packageRecord("ovwallet1410", base + "\n");

        assertFound(base);
    }

    @Test
    void firstPackageInAscendingOrderWins() {
        Path plain = scene.baseNamed("plain");
        scene.packageRecord("ovwallet1410", scene.baseNamed("numbered") + "\n");
        scene.packageRecord("ovwallet", plain + "\n");

        assertFound(plain);
    }

    @Test
    void packageNumbersAreNotComparedAsNumbers() {
        Path ten = scene.baseNamed("ten");
        scene.packageRecord("ovwallet9", scene.baseNamed("nine") + "\n");
        scene.packageRecord("ovwallet10", ten + "\n");

        assertFound(ten);
    }

    @Test
    void packageWhoseNameGoesOnOtherwiseNeverCounts() {
        scene.packageRecord("ovwallet1410x", scene.baseNamed("lettered") + "\n");
        scene.packageRecord("ovwallet-1410", scene.path("lettered") + "\n");
        scene.packageRecord("xovwallet", scene.path("lettered") + "\n");
        scene.packageRecord("ovwalle", scene.path("lettered") + "\n");

        assertEquals(NOT_INSTALLED, startWithReference().call());
        assertFalse(Files.exists(scene.walletLink(), LinkOption.NOFOLLOW_LINKS));
    }

    @Test
    void recordsThatNameNoDirectoryAreSkipped() throws IOException {
        Path base = scene.baseNamed("good");
        Files.writeString(scene.path("file"), "");
        scene.packageRecord("ovwallet1", "");
        scene.packageRecord("ovwallet2", scene.path("file") + "\n");
        scene.packageRecord("ovwallet3", scene.path("missing") + "\n");
        scene.packageRecord("ovwallet4", base + "\r\n");
        scene.packageRecord("ovwallet5", base + " \n");
        Files.createDirectory(scene.packages().resolve("ovwallet6"));
        Files.writeString(scene.packages().resolve("ovwallet7"), base + "\n");
        scene.packageRecord("ovwallet8", base + "\nanother line\n");
        scene.packageRecord("ovwallet9", scene.baseNamed("too late") + "\n");

        assertFound(base);
    }

    @Test
    void recordWithoutANewlineCounts() {
        Path base = scene.baseNamed("good");
        scene.packageRecord("ovwallet", base.toString());

        assertFound(base);
    }

    @Test
    void noPackageDirectory() {
        assertEquals(Outcome.connectorException(
                "Cannot open directory \"/var/lib/rpm\" (errno = No such file or directory)"),
                startWithReference().call());
    }

    @Test
    void failedSetUpIsTriedAgainByTheNextCall() throws IOException {
        Files.createDirectory(scene.packages());
        ConnectorJvm jvm = startWithReference();
        assertEquals(NOT_INSTALLED, jvm.call());
        assertEquals(NOT_INSTALLED, jvm.call());
        assertEquals("$ovwallet(known)", jvm.userName(INPUT));
        assertEquals(0, scene.wallet().ledger().get("loads"));

        scene.install(Build.BASE);

        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value", jvm.userName(INPUT));
    }

    @Test
    void secondCallDoesNotSearchAgain() throws IOException {
        scene.install(Build.BASE);
        ConnectorJvm jvm = startWithReference();
        assertEquals(Outcome.RETURNED, jvm.call());
        String target = scene.walletLinkTarget();

        scene.uninstall();
        scene.packageRecord("ovwallet", scene.baseNamed("other") + "\n");
        jvm.set(INPUT, "", "$ovwallet(known)", null);

        assertEquals(Outcome.RETURNED, jvm.call(scene.path("elsewhere") + "/"));
        assertEquals("value", jvm.userName(INPUT));
        assertEquals(target, scene.walletLinkTarget());
        assertFalse(Files.exists(scene.path("elsewhere")));
    }

    @Test
    void linkThatIsAlreadyThereIsAnErrorAndStays() throws IOException {
        scene.install(Build.BASE);
        scene.link(scene.walletLink(), "/somewhere/else");
        ConnectorJvm jvm = startWithReference();

        Outcome exists = Outcome.connectorException(
                "An attempt to create a symbolic link named " + scene.privateName()
                + "ovwalletdir failed (errno = File exists)");
        assertEquals(exists, jvm.call());
        assertEquals(exists, jvm.call());
        assertEquals("/somewhere/else", scene.walletLinkTarget());

        Files.delete(scene.walletLink());
        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value", jvm.userName(INPUT));
    }

    @Test
    void directoryThatDoesNotExist() {
        scene.install(Build.BASE);
        String missing = scene.path("missing") + "/";
        ConnectorJvm jvm = startWithReference();

        assertEquals(Outcome.connectorException("An attempt to create a symbolic link named "
                + missing + "ovwalletdir failed (errno = No such file or directory)"),
                jvm.call(missing));
        assertEquals(Outcome.RETURNED, jvm.call());
    }

    @Test
    void directoryWithoutSlashPutsTheLinkBesideIt() throws IOException {
        scene.install(Build.BASE);
        String directory = scene.privateName().replaceFirst("/$", "");
        ConnectorJvm jvm = startWithReference();

        Outcome notPresent = Outcome.connectorException(
                "Attempt to use Orvanta Wallet failed because: The ovwalletdir symbolic link is not"
                + " present in \"" + directory + "\".");
        assertEquals(notPresent, jvm.call(directory));

        assertEquals(Build.BASE.toRealPath() + "/orvanta/client/ovwallet",
                Scene.readLink(Path.of(directory + "ovwalletdir")));
        assertFalse(Files.exists(scene.walletLink(), LinkOption.NOFOLLOW_LINKS));
        // The link has been made once, so no later call makes it.
        assertEquals(notPresent, jvm.call());
    }

    @Test
    void noDirectoryIsAnErrorInTheFirstCallOnly() {
        scene.install(Build.BASE);
        ConnectorJvm jvm = startWithReference();

        assertEquals(Outcome.connectorException(
                "Cannot retrieve the pathname to the private temporary directory."),
                jvm.call(null));
        assertEquals("$ovwallet(known)", jvm.userName(INPUT));

        assertEquals(Outcome.RETURNED, jvm.call());
        jvm.set(INPUT, "", "$ovwallet(known)", null);
        assertEquals(Outcome.RETURNED, jvm.call(null));
        assertEquals("value", jvm.userName(INPUT));
    }

    @Test
    void linkThatDisappearsAfterSetUp() throws IOException {
        scene.install(Build.BASE);
        ConnectorJvm jvm = startWithReference();
        assertEquals(Outcome.RETURNED, jvm.call());

        Files.delete(scene.walletLink());

        assertEquals(Outcome.connectorException(
                "Attempt to use Orvanta Wallet failed because: The ovwalletdir symbolic link is not"
                + " present in \"" + scene.privateName().replaceFirst("/$", "") + "\"."),
                jvm.call());
        assertTrue(Files.notExists(scene.walletLink(), LinkOption.NOFOLLOW_LINKS));
    }
}
