package walletcaller.differential;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.util.EnumSet;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

class CallModelTest {
    private static Outcome predict(String line) {
        return CallModel.predict(CaseText.parse(line), EnumSet.noneOf(Branch.class));
    }

    @Test
    void eachSideUsesItsOwnDatabaseIdForUserNameAndThenPassword() {
        Outcome outcome = predict("InputJdbcUrl=\"jdbc:orvanta://in/\""
                + " OutputJdbcUrl=\"jdbc:orvanta://out/\""
                + " InputOrvantaUserName=\"$ovwallet(u$(ovpid))\""
                + " InputOrvantaPassword=\"$ovwallet(p$(ovpid))\""
                + " OutputOrvantaUserName=\"$ovwallet(u$(ovpid))\""
                + " OutputOrvantaPassword=\"$ovwallet(p$(ovpid))\""
                + " \"uin\"=\"1\" \"pin\"=\"2\" \"uout\"=\"3\" \"pout\"=\"4\"");
        assertEquals(List.of("uin", "pin", "uout", "pout"), outcome.fetched());
        assertEquals(Map.of(Property.INPUT_USER_NAME, "1", Property.INPUT_PASSWORD, "2",
                Property.OUTPUT_USER_NAME, "3", Property.OUTPUT_PASSWORD, "4"), outcome.texts());
        assertEquals(List.of(Property.values()), outcome.written());
    }

    @Test
    void nullPropertyIsNotWritten() {
        assertEquals(
                new Outcome(Map.of(Property.INPUT_PASSWORD, "x"),
                        List.of(Property.INPUT_PASSWORD), List.of(), null),
                predict("InputOrvantaPassword=\"x\""));
    }

    @Test
    void failureLeavesItsPropertyAndAllLaterOnesAsTheyWere() {
        assertEquals(new Outcome(
                Map.of(Property.INPUT_USER_NAME, "1",
                        Property.INPUT_PASSWORD, "$ovwallet(a)$ovwallet(none)",
                        Property.OUTPUT_USER_NAME, "$ovwallet(a)"),
                List.of(Property.INPUT_USER_NAME), List.of("a", "a", "none"),
                "Attempt to get value from Orvanta Wallet failed because: "
                        + "There is no string named \"none\" in the wallet."),
                predict("InputOrvantaUserName=\"$ovwallet(a)\""
                        + " OutputOrvantaUserName=\"$ovwallet(a)\""
                        + " InputOrvantaPassword=\"$ovwallet(a)$ovwallet(none)\" \"a\"=\"1\""));
    }

    @Test
    void walletSeesANameUpToItsFirstNul() {
        Outcome outcome = predict("InputOrvantaUserName=\"$ovwallet(a\\x00b)\" \"a\"=\"\\x00\"");
        assertEquals(List.of("a"), outcome.fetched());
        assertEquals(Map.of(Property.INPUT_USER_NAME, "\0"), outcome.texts());
    }

    @Test
    void boundHoldsForEachPropertyOnItsOwn() {
        String many = "\"many\"=\"$ovwallet(e)\"*10000 \"e\"=\"\"";
        Outcome outcome = predict("InputOrvantaUserName=\"$ovwallet(many)\""
                + " InputOrvantaPassword=\"$ovwallet(many)\" " + many);
        assertEquals(List.of(Property.INPUT_USER_NAME, Property.INPUT_PASSWORD), outcome.written());
        assertEquals(20_002, outcome.fetched().size());
    }

    @Test
    void beyondTheBoundNothingIsFetchedOrWritten() {
        Outcome outcome = predict("InputOrvantaUserName=\"$ovwallet(loop)\""
                + " \"loop\"=\"$ovwallet(loop)\"");
        assertEquals(Map.of(Property.INPUT_USER_NAME, "$ovwallet(loop)"), outcome.texts());
        assertEquals(List.of(), outcome.written());
        assertEquals(10_001, outcome.fetched().size());
        assertEquals(MacroModel.ENDLESS, outcome.message());
    }
}
