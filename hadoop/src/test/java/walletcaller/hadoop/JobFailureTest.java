package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Path;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import walletcaller.harness.ChildJvm;

/** What the person sees whose job cannot be set up, and that nothing is moved then. */
class JobFailureTest {
    private static final String WRONG_LOGIN =
            "java.io.IOException: Wrong user name or password [28000-224]";
    private static final String OUR_EXCEPTION =
            "com.orvanta.connector.common.exception.ConnectorException: ";

    @TempDir Path directory;

    @Test
    void aWrongPasswordInTheWalletIsRefusedByTheDatabaseAtSubmission() {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.wallet().add("pw_sales-db", "not the password");
            ChildJvm job = scene.submit();
            assertEquals(WRONG_LOGIN, job.value("refused"));
            assertFalse(scene.databases().copiesExist());
        }
    }

    /** Hadoop's local runner tells the submitter of a failing job set-up in the log, no more. */
    @Test
    void aWrongPasswordOfTheOutputSideFailsTheJobAndIsInTheLog() {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.wallet().add("pw_mart-db", "not the password");
            ChildJvm job = scene.submit();
            assertEquals("false", job.value("successful"));
            assertEquals("NA", job.value("failure"));
            assertTrue(job.log().contains(WRONG_LOGIN), () -> String.join("\n", job.log()));
            assertFalse(scene.databases().copiesExist());
        }
    }

    @Test
    void aMissingEntryIsNamedAtSubmissionAndWhatComesBeforeItIsReplaced() {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.wallet().delete("pw_mart-db");
            ChildJvm job = scene.submit();
            assertEquals(OUR_EXCEPTION + "Attempt to get value from Orvanta Wallet failed because:"
                    + " There is no string named \"pw_mart-db\" in the wallet.",
                    job.value("refused"));
            assertEquals("etl_reader", job.text("input.user.name"));
            assertEquals("etl_writer", job.text("output.user.name"));
            assertEquals("$ovwallet(pw_$(ovpid))", job.text("output.password"));
            assertFalse(scene.databases().copiesExist());
        }
    }

    @Test
    void missingWalletSoftwareIsSaidAtSubmissionWithWhereToGetIt() {
        try (Scene scene = Scene.withReferences(directory)) {
            scene.uninstallWallet();
            ChildJvm job = scene.submit();
            assertEquals(OUR_EXCEPTION + "The Orvanta Wallet software is not installed; install"
                    + " version 14.10 of the Orvanta Wallet software (available from"
                    + " https://downloads.orvanta.example/ovwallet) in order to use"
                    + " Orvanta Wallet.", job.value("refused"));
            assertEquals("$ovwallet(reader.name)", job.text("input.user.name"));
            assertFalse(scene.databases().copiesExist());
            assertEquals(0, scene.wallet().counter("loads"));
        }
    }

    @Test
    void withoutTheLibraryInItsJarTheJobIsRefused() {
        try (Scene scene = Scene.withReferences(directory)) {
            ChildJvm job = scene.submitWithoutLibrary();
            assertEquals("java.io.FileNotFoundException: The job's jar does not hold "
                    + "libWalletCaller-redhatlinux-x8664.so", job.value("refused"));
            assertFalse(scene.databases().copiesExist());
        }
    }
}
