package walletcaller.differential;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.ArrayList;
import java.util.EnumSet;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import org.junit.jupiter.api.Test;

class MacroModelTest {
    private static final int BOUND = 5;

    private final Map<String, String> wallet = new HashMap<>(Map.of(
            "com.orvanta.OV2", "<default>", "a", "<a>", "b", "<b>", "empty", ""));
    private final List<String> fetched = new ArrayList<>();
    private final Set<Branch> seen = EnumSet.noneOf(Branch.class);
    private String databaseId = "dbhost";

    private String expand(String text) {
        return new MacroModel(new JdbcUrlModel(databaseId, "OV2"), this::fetch, BOUND, seen)
                .expand(text);
    }

    private String fetch(String name) {
        fetched.add(name);
        if (!wallet.containsKey(name)) {
            throw new ModelFailure("no " + name);
        }
        return wallet.get(name);
    }

    private void assertFetches(String name, String text) {
        wallet.put(name, "<it>");
        assertEquals("<it>", expand(text));
        assertEquals(List.of(name), fetched);
    }

    private void assertFails(String message, String text) {
        assertEquals(message, assertThrows(ModelFailure.class, () -> expand(text)).messageBytes);
    }

    @Test
    void textWithoutMacroStaysAsItIs() {
        assertEquals("\0\u00ff $OVWALLET(a) $ovwalle", expand("\0\u00ff $OVWALLET(a) $ovwalle"));
        assertEquals(List.of(), fetched);
    }

    @Test
    void namedMacroBecomesTheNamedValue() {
        assertFetches("db.pw", "$ovwallet(db.pw)");
    }

    @Test
    void bareMacroBecomesTheDefaultValue() {
        assertEquals("x<default>Y", expand("x$ovwalletY"));
        assertEquals("<default>", expand("$ovwallet"));
        assertEquals(List.of("com.orvanta.OV2", "com.orvanta.OV2"), fetched);
    }

    @Test
    void defaultEntryIsNamedAfterTheMechanism() {
        wallet.put("com.orvanta.X", "<x>");
        assertEquals("<x>", new MacroModel(new JdbcUrlModel("", "X"), this::fetch, BOUND, seen)
                .expand("$ovwallet"));
    }

    @Test
    void unterminatedMacroCountsAsBare() {
        assertEquals("<default>(abc", expand("$ovwallet(abc"));
        assertEquals("<default>(", expand("$ovwallet("));
        assertEquals("<default>(a\\", expand("$ovwallet(a\\"));
        assertEquals("<default>(a\\)", expand("$ovwallet(a\\)"));
        assertEquals("<default>(a$", expand("$ovwallet(a$"));
        assertEquals("<default>(a$(ovpid", expand("$ovwallet(a$(ovpid"));
        assertEquals("<default>($(ovpid)", expand("$ovwallet($(ovpid)"));
        assertTrue(seen.containsAll(EnumSet.of(Branch.UNTERMINATED,
                Branch.UNTERMINATED_AT_BACKSLASH, Branch.UNTERMINATED_AT_DOLLAR,
                Branch.UNTERMINATED_IN_SUB_MACRO)));
    }

    @Test
    void macroBehindAnUnterminatedOneIsExpandedToo() {
        assertEquals("<default>(abc<default>", expand("$ovwallet(abc$ovwallet"));
        assertEquals("<default>(<default>(", expand("$ovwallet($ovwallet("));
    }

    @Test
    void keywordWithinANameIsPartOfTheName() {
        assertFetches("x$ovwallet(b", "$ovwallet(x$ovwallet(b)");
    }

    @Test
    void backslashEscapesParenthesisDollarAndBackslash() {
        assertFetches("a)b", "$ovwallet(a\\)b)");
    }

    @Test
    void escapedDollarOpensNoSubMacro() {
        assertFetches("$(ovpid", "$ovwallet(\\$(ovpid)");
    }

    @Test
    void escapedBackslashDoesNotEscapeWhatFollows() {
        assertFetches("a\\", "$ovwallet(a\\\\)");
    }

    @Test
    void backslashBeforeAnyOtherByteIsKept() {
        assertFetches("a\\qb", "$ovwallet(a\\qb)");
    }

    @Test
    void subMacroStandsForTheDatabaseId() {
        assertFetches("pw_dbhost", "$ovwallet(pw_$(ovpid))");
    }

    @Test
    void emptyDatabaseIdLeavesNothing() {
        databaseId = "";
        assertFetches("pw_", "$ovwallet(pw_$(ovpid))");
    }

    @Test
    void databaseIdIsNotReadAsAPartOfAMacro() {
        databaseId = "d)\\$(x)";
        assertFetches("d)\\$(x)d)\\$(x)", "$ovwallet($(ovpid)$(ovpid))");
    }

    @Test
    void anyOtherSubMacroIsUnsupported() {
        assertFails("Unsupported replacement macro, \"$(user)\", found in credential information.",
                "$ovwallet($(user))");
        assertFails("Unsupported replacement macro, \"$()\", found in credential information.",
                "$ovwallet($())");
        assertFails("Unsupported replacement macro, \"$(\\)\", found in credential information.",
                "$ovwallet($(\\))");
        assertEquals(List.of(), fetched);
    }

    @Test
    void unsupportedSubMacroIsNoticedBeforeTheMissingEnd() {
        assertFails("Unsupported replacement macro, \"$(user)\", found in credential information.",
                "$ovwallet($(user)");
    }

    @Test
    void dollarBeforeAnyOtherByteIsKept() {
        assertFetches("a$b", "$ovwallet(a$b)");
    }

    @Test
    void dollarAtTheEndOfANameIsKept() {
        assertFetches("a$", "$ovwallet(a$)");
    }

    @Test
    void dollarsInARowEachStandForThemselves() {
        assertFetches("$dbhost", "$ovwallet($$(ovpid))");
    }

    @Test
    void blanksAndOpenParenthesesBelongToTheName() {
        assertFetches(" (a (\n", "$ovwallet( (a (\n)");
    }

    @Test
    void nameMayBeEmpty() {
        assertFails("no ", "$ovwallet()");
    }

    @Test
    void macrosAreExpandedFromLeftToRight() {
        assertEquals("<b> and <a>", expand("$ovwallet(b) and $ovwallet(a)"));
        assertEquals(List.of("b", "a"), fetched);
    }

    @Test
    void macrosInAValueWaitForTheNextPass() {
        wallet.put("outer", "[$ovwallet(a)]");
        assertEquals("[<a>]<b>", expand("$ovwallet(outer)$ovwallet(b)"));
        assertEquals(List.of("outer", "b", "a"), fetched);
    }

    @Test
    void valueMayCompleteAKeyword() {
        wallet.put("half", "allet(a)");
        assertEquals("<a>", expand("$ovw$ovwallet(half)"));
        assertEquals("<a>", expand("$ovwal$ovwallet(empty)let(a)"));
        assertTrue(seen.containsAll(
                EnumSet.of(Branch.KEYWORD_JOINED, Branch.KEYWORD_JOINED_BY_NOTHING)));
    }

    @Test
    void valueMayEndInAKeywordThatTheTextCompletes() {
        wallet.put("keyword", "$ovwallet");
        assertEquals("<a>", expand("$ovwallet(keyword)(a)"));
        assertTrue(seen.contains(Branch.NAME_JOINED));
    }

    @Test
    void asManyLaterReplacementsAsTheBoundAreMade() {
        wallet.put("many", "$ovwallet(empty)".repeat(BOUND));
        assertEquals("", expand("$ovwallet(many)"));
        assertTrue(seen.contains(Branch.BOUND_REACHED_EXACTLY));
    }

    @Test
    void oneMoreLaterReplacementFails() {
        wallet.put("many", "$ovwallet(empty)".repeat(BOUND + 1));
        assertFails(MacroModel.ENDLESS, "$ovwallet(many)");
        assertEquals(1 + BOUND, fetched.size());
    }

    @Test
    void valueThatLeadsBackToItselfFails() {
        wallet.put("loop", "x$ovwallet(loop)");
        assertFails(MacroModel.ENDLESS, "$ovwallet(loop)");
    }

    @Test
    void writtenMacrosAreNotBounded() {
        assertEquals("<a>".repeat(BOUND * 2), expand("$ovwallet(a)".repeat(BOUND * 2)));
        assertTrue(seen.contains(Branch.WRITTEN_MACROS_BEYOND_BOUND));
    }
}
