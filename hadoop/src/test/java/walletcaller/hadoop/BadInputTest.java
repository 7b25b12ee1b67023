package walletcaller.hadoop;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.HexFormat;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import walletcaller.harness.ChildJvm;

/** Properties and entries that nobody should have: the right result or one clear error. */
class BadInputTest {
    private static final int MEBIBYTE = 1024 * 1024;
    private static final String WRONG_LOGIN =
            "java.io.IOException: Wrong user name or password [28000-224]";

    @TempDir Path directory;

    private Scene scene;

    @BeforeEach
    void makeJob() {
        scene = Scene.withReferences(directory);
    }

    @AfterEach
    void everythingIsTakenBack() {
        scene.close();
    }

    @Test
    void aPasswordOf1MiBWith1000ReferencesOpensTheDatabase() {
        scene.wallet().add("part", "-");
        String filler = "x".repeat(MEBIBYTE / 1000 - "$ovwallet(part)".length());
        String text = (filler + "$ovwallet(part)").repeat(1000);
        String password = (filler + "-").repeat(1000);
        scene.input("$ovwallet(reader.name)", text + "x".repeat(MEBIBYTE - text.length()));
        password += "x".repeat(MEBIBYTE - text.length());
        scene.databases().changePassword("etl_reader", password);

        ChildJvm job = scene.submit();

        assertEquals("true", job.value("successful"), job::report);
        assertEquals(password, job.text("input.password"));
        assertEquals(1000, scene.wallet().fetches().get("part"));
        assertEquals(scene.databases().orders(), scene.databases().copies());
    }

    @Test
    void aValueOf1MiBOpensTheDatabase() {
        String password = "0123456789abcdef".repeat(MEBIBYTE / 16);
        scene.wallet().add("pw_sales-db", password);
        scene.databases().changePassword("etl_reader", password);

        ChildJvm job = scene.submit();

        assertEquals("true", job.value("successful"), job::report);
        assertEquals(password, job.text("input.password"));
        assertEquals(scene.databases().orders(), scene.databases().copies());
    }

    @Test
    void bytesThatAreNotUtf8ComeBackAsTheyWere() {
        byte[] userName = HexFormat.of().parseHex("fffe00c328");
        scene.input(userName, concatenated(userName, "$ovwallet(reader.name)", userName));

        ChildJvm job = scene.submit();

        assertEquals(WRONG_LOGIN, job.value("refused"));
        assertEquals("fffe00c328", job.value("input.user.name"));
        assertEquals("fffe00c328" + hex("etl_reader") + "fffe00c328", job.value("input.password"));
        assertEquals("etl_writer", job.text("output.user.name"));
    }

    @Test
    void anEntryNameThatIsNotUtf8IsRefused() {
        scene.input("$ovwallet(reader.name)".getBytes(StandardCharsets.UTF_8),
                concatenated(bytes("$ovwallet("), "", HexFormat.of().parseHex("ff29")));

        ChildJvm job = scene.submit();

        assertEquals("com.orvanta.connector.common.exception.ConnectorException: Invalid UTF-8",
                job.value("refused"));
        assertEquals("etl_reader", job.text("input.user.name"));
        assertEquals(hex("$ovwallet(") + "ff29", job.value("input.password"));
        assertEquals("$ovwallet", job.text("output.user.name"));
    }

    @Test
    void anEntryWhoseValueIsEmptyLeavesNothing() {
        scene.wallet().add("pw_sales-db", "");
        scene.databases().changePassword("etl_reader", "");

        ChildJvm job = scene.submit();

        assertEquals("true", job.value("successful"), job::report);
        assertEquals("", job.text("input.password"));
        assertEquals(scene.databases().orders(), scene.databases().copies());
    }

    @Test
    void aReferenceThatLeadsBackToItselfIsSaidAndLeavesTheRestAlone() {
        scene.wallet().add("pw_sales-db", "again $ovwallet(pw_sales-db)");

        ChildJvm job = scene.submit();

        assertEquals("com.orvanta.connector.common.exception.ConnectorException: Orvanta Wallet"
                + " references in credential information lead back to themselves.",
                job.value("refused"));
        assertEquals("etl_reader", job.text("input.user.name"));
        assertEquals("$ovwallet(pw_$(ovpid))", job.text("input.password"));
        assertEquals("$ovwallet", job.text("output.user.name"));
        assertEquals("$ovwallet(pw_$(ovpid))", job.text("output.password"));
    }

    @Test
    void anUnknownMacroIsNamedAndLeavesTheRestAlone() {
        scene.input("$ovwallet(reader.name)", "$ovwallet(pw_$(user))");

        ChildJvm job = scene.submit();

        assertEquals("com.orvanta.connector.common.exception.ConnectorException: Unsupported"
                + " replacement macro, \"$(user)\", found in credential information.",
                job.value("refused"));
        assertEquals("etl_reader", job.text("input.user.name"));
        assertEquals("$ovwallet(pw_$(user))", job.text("input.password"));
        assertEquals("$ovwallet", job.text("output.user.name"));
    }

    private static byte[] concatenated(byte[] one, String middle, byte[] other) {
        return HexFormat.of().parseHex(
                HexFormat.of().formatHex(one) + hex(middle) + HexFormat.of().formatHex(other));
    }

    private static String hex(String text) {
        return HexFormat.of().formatHex(bytes(text));
    }

    private static byte[] bytes(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }
}
