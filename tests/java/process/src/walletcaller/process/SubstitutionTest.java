package walletcaller.process;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static walletcaller.process.ConnectorJvm.INPUT;
import static walletcaller.process.ConnectorJvm.OUTPUT;

import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** What one call does to a job's properties. */
class SubstitutionTest extends ProcessTest {
    private static final String WALLET_FAILED =
            "Attempt to get value from Orvanta Wallet failed because: ";

    @BeforeEach
    void install() {
        scene.install(Build.BASE);
    }

    @Test
    void replacesReferencesOnBothSides() {
        scene.wallet().add("reader", "alice");
        scene.wallet().add("pw_sales-db", "wonder(land)");
        scene.wallet().add("com.orvanta.OV2", "bob");
        scene.wallet().add("pw)$", "gr\u00fcn");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "jdbc:orvanta://sales-db/DATABASE=x", "$ovwallet(reader)",
                "<$ovwallet(pw_$(ovpid))>");
        jvm.set(OUTPUT, "jdbc:orvanta://mart/", "x$ovwalletY", "$ovwallet(pw\\)\\$)");

        assertEquals(Outcome.RETURNED, jvm.call());

        assertEquals("alice", jvm.userName(INPUT));
        assertEquals("<wonder(land)>", jvm.password(INPUT));
        assertEquals("xbobY", jvm.userName(OUTPUT));
        assertEquals("gr\u00fcn", jvm.password(OUTPUT));
        assertEquals(List.of("reader", "pw_sales-db", "com.orvanta.OV2", "pw%29%24"),
                scene.wallet().fetched());
    }

    @Test
    void expandsReferencesInFetchedValues() {
        scene.wallet().add("outer", "a$ovwallet(inner)b");
        scene.wallet().add("inner", "-");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(outer)$ovwallet(outer)", "$ovwallet(inner)");

        assertEquals(Outcome.RETURNED, jvm.call());

        assertEquals("a-ba-b", jvm.userName(INPUT));
        assertEquals("-", jvm.password(INPUT));
        assertEquals(List.of("outer", "outer", "inner", "inner", "inner"),
                scene.wallet().fetched());
    }

    @Test
    void failureOnTheInputSideLeavesTheOutputSideUntouched() {
        scene.wallet().add("known", "value");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(known)", "$ovwallet(unknown)");
        jvm.set(OUTPUT, "", "$ovwallet(known)", "$ovwallet(known)");

        assertEquals(Outcome.connectorException(
                WALLET_FAILED + "There is no string named \"unknown\" in the wallet."), jvm.call());

        assertEquals("value", jvm.userName(INPUT));
        assertEquals("$ovwallet(unknown)", jvm.password(INPUT));
        assertEquals("$ovwallet(known)", jvm.userName(OUTPUT));
        assertEquals("$ovwallet(known)", jvm.password(OUTPUT));
        scene.wallet().assertAtRest();
        assertEquals(1, scene.wallet().calls("OvWallet_freeV1"));
    }

    @Test
    void failureOnTheOutputSideKeepsWhatTheInputSideGot() {
        scene.wallet().add("known", "value");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(known)", "plain");
        jvm.set(OUTPUT, "", "$ovwallet(unknown)", "$ovwallet(known)");

        assertEquals(Outcome.connectorException(
                WALLET_FAILED + "There is no string named \"unknown\" in the wallet."), jvm.call());

        assertEquals("value", jvm.userName(INPUT));
        assertEquals("$ovwallet(known)", jvm.password(OUTPUT));
    }

    @Test
    void unsupportedMacroInsideANameIsQuoted() {
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(a$(user))", "plain");

        assertEquals(Outcome.connectorException("Unsupported replacement macro, \"$(user)\","
                + " found in credential information."), jvm.call());

        assertEquals("$ovwallet(a$(user))", jvm.userName(INPUT));
        assertEquals(List.of(), scene.wallet().fetched());
    }

    @Test
    void failureInsideTheWalletIsReportedWithItsText() {
        scene.wallet().add("known", "value");
        scene.wallet().fail("OvWallet_getStringValue", 2, "The wallet is out of order.");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(known)", "$ovwallet(known)");

        assertEquals(
                Outcome.connectorException(WALLET_FAILED + "The wallet is out of order."),
                jvm.call());

        assertEquals("value", jvm.userName(INPUT));
        assertEquals("$ovwallet(known)", jvm.password(INPUT));
        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value", jvm.password(INPUT));
    }

    @Test
    void walletThatCannotBeMadeIsReportedWithItsText() {
        scene.wallet().fail("OvWalletFactory_generateOvWalletV1", 1, "No wallet today.");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "plain", "plain");

        assertEquals(Outcome.connectorException(
                "Attempt to use Orvanta Wallet failed because: No wallet today."), jvm.call());
        assertEquals(Outcome.RETURNED, jvm.call());
    }

    @Test
    void valuesThatLeadBackToThemselvesAreAnError() {
        scene.wallet().add("loop", "$ovwallet(loop)");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(loop)", "plain");

        assertEquals(Outcome.connectorException("Orvanta Wallet references in credential"
                + " information lead back to themselves."), jvm.call());

        assertEquals("$ovwallet(loop)", jvm.userName(INPUT));
    }

    @Test
    void propertyWithoutReferenceIsWrittenBackAsAnEqualArray() {
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "jdbc:orvanta://db/", "plain", "");

        assertEquals("returned equal-array equal-array", jvm.callAndCompare());

        assertEquals(List.of(), scene.wallet().fetched());
    }

    @Test
    void propertyThatIsNotSetIsNotWrittenBack() {
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "jdbc:orvanta://db/", null, null);
        jvm.throwIn("setInputOrvantaUserName");
        assertEquals(Outcome.RETURNED, jvm.call());
        jvm.throwIn("setInputOrvantaPassword");
        assertEquals(Outcome.RETURNED, jvm.call());

        assertEquals(null, jvm.userName(INPUT));
        assertEquals(null, jvm.password(INPUT));
        assertEquals(null, jvm.userName(OUTPUT));
        assertEquals(null, jvm.password(OUTPUT));
    }

    @Test
    void urlThatIsNotSetGivesAnEmptyDatabaseId() {
        scene.wallet().add("pw_", "value");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, null, "user", "$ovwallet(pw_$(ovpid))");

        assertEquals(Outcome.RETURNED, jvm.call());

        assertEquals("value", jvm.password(INPUT));
    }

    @Test
    void emptyUrlAndEmptyPasswordWorkAnyNumberOfTimes() {
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "a user", "");
        jvm.set(OUTPUT, "", "", "a password");

        assertEquals(Outcome.RETURNED, jvm.calls(5000));

        assertEquals("a user", jvm.userName(INPUT));
        assertEquals("", jvm.password(INPUT));
        assertEquals("", jvm.userName(OUTPUT));
        assertEquals("a password", jvm.password(OUTPUT));
    }

    @Test
    void everyByteOfAValueArrives() {
        byte[] value = new byte[256];
        for (int index = 0; index < value.length; ++index) {
            value[index] = (byte) index;
        }
        scene.wallet().add("bytes", value);
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", null, "$ovwallet(bytes)");

        assertEquals(Outcome.RETURNED, jvm.call());

        assertArrayEquals(value, jvm.passwordBytes(INPUT));
    }

    @Test
    void bytesAroundAReferenceAreKept() {
        scene.wallet().add("empty", "");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", null, null);
        jvm.setPassword(INPUT, Bytes.fromHex("x00ff80" + Bytes.hex("$ovwallet(empty)").substring(1)
                + "c30080"));

        assertEquals(Outcome.RETURNED, jvm.call());

        assertArrayEquals(Bytes.fromHex("x00ff80c30080"), jvm.passwordBytes(INPUT));
    }

    @Test
    void databaseIdMayHoldAnyCharacterButASlash() {
        scene.wallet().add("pw_\u00e9 \t\u20ac", "value");
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "jdbc:orvanta://\u00e9 \t\u20ac/", null, "$ovwallet(pw_$(ovpid))");

        assertEquals(Outcome.RETURNED, jvm.call());

        assertEquals("value", jvm.password(INPUT));
    }

    @Test
    void valueOfManyPagesIsInserted() {
        scene.wallet().add("long", "v".repeat(100_000));
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", null, "[$ovwallet(long)|$ovwallet(long)]");

        assertEquals(Outcome.RETURNED, jvm.call());

        assertEquals("[" + "v".repeat(100_000) + "|" + "v".repeat(100_000) + "]",
                jvm.password(INPUT));
    }

    @Test
    void messageKeepsCharactersBeyondAscii() {
        ConnectorJvm jvm = scene.start();
        jvm.set(INPUT, "", "$ovwallet(gr\u00fcn)", null);

        assertEquals(Outcome.connectorException(WALLET_FAILED
                + "There is no string named \"gr\u00fcn\" in the wallet."), jvm.call());
    }

    @Test
    void noJobIsANullPointerExceptionAndDisturbsNoFurtherCall() {
        scene.wallet().add("known", "value");
        ConnectorJvm jvm = scene.start();

        assertEquals("java.lang.NullPointerException", jvm.callWithoutJob().thrownClass());

        jvm.set(INPUT, "", "$ovwallet(known)", null);
        assertEquals(Outcome.RETURNED, jvm.call());
        assertEquals("value", jvm.userName(INPUT));
    }
}
