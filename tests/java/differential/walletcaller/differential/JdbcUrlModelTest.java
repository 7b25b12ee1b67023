package walletcaller.differential;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.EnumSet;
import java.util.Set;
import org.junit.jupiter.api.Test;

class JdbcUrlModelTest {
    private final Set<Branch> seen = EnumSet.noneOf(Branch.class);

    private JdbcUrlModel parse(String ordinaryUrl) {
        return JdbcUrlModel.parse(ByteText.ofUtf8(ordinaryUrl), seen);
    }

    private void assertId(String expectedOrdinary, String ordinaryUrl) {
        assertEquals(new JdbcUrlModel(ByteText.ofUtf8(expectedOrdinary), "OV2"), parse(ordinaryUrl),
                ordinaryUrl);
    }

    @Test
    void parametersWithoutBlankHoldNoKey() {
        assertId("dbhost", "jdbc:orvanta://dbhost/DATABASE=sales,LOGMECH=LDAP");
        assertTrue(seen.contains(Branch.URL_SCAN_NO_BLANK));
    }

    @Test
    void hostWithoutSlashGivesNoDatabaseId() {
        assertId("", "jdbc:orvanta://dbhost");
        assertTrue(seen.contains(Branch.URL_NO_SLASH_NO_BLANK));
    }

    @Test
    void hostBeforeSlashIsTheDatabaseId() {
        assertId("dbhost", "jdbc:orvanta://dbhost/");
        assertTrue(seen.contains(Branch.URL_NO_PARAMETERS));
    }

    @Test
    void prefixIsCaseSensitive() {
        assertId("", "jdbc:ORVANTA://dbhost/");
        assertTrue(seen.contains(Branch.URL_PREFIX_OTHER_CASE));
    }

    @Test
    void urlAsLongAsThePrefixIsNotParsed() {
        assertId("", "jdbc:orvanta://");
        assertTrue(seen.contains(Branch.URL_PREFIX_ONLY));
    }

    @Test
    void prefixMayNotStandLaterInTheUrl() {
        assertId("", " jdbc:orvanta://dbhost/");
    }

    @Test
    void nullAndEmptyUrlsGiveNoDatabaseId() {
        assertEquals(new JdbcUrlModel("", "OV2"), JdbcUrlModel.parse(null, seen));
        assertId("", "");
        assertEquals(EnumSet.of(Branch.URL_NULL, Branch.URL_EMPTY), seen);
    }

    @Test
    void withoutSlashTheIdRunsFromTheFirstBlankToTheLast() {
        assertId("\u00e9c\u00e9", "jdbc:orvanta://db\u00e9c\u00e9d");
        assertId(" b\t", "jdbc:orvanta://a b\tc");
        assertId("\0", "jdbc:orvanta://a\0b");
        assertId(" ", "jdbc:orvanta:// ");
    }

    @Test
    void spaceIsTheHighestAsciiBlank() {
        assertId("", "jdbc:orvanta://a!b\u007fc");
        assertId("\u0080", "jdbc:orvanta://a!\u0080!");
    }

    @Test
    void slashAtOnceGivesAnEmptyId() {
        assertId("", "jdbc:orvanta:///x");
        assertId("", "jdbc:orvanta://// a");
    }

    @Test
    void onlyTheFirstSlashEndsTheId() {
        assertId("a b", "jdbc:orvanta://a b/c/d");
    }

    @Test
    void bracketsStayPartOfTheId() {
        assertId("[::1]", "jdbc:orvanta://[::1]/");
        assertId("[x", "jdbc:orvanta://[x/]");
        assertTrue(seen.containsAll(
                EnumSet.of(Branch.URL_ID_IN_BRACKETS, Branch.URL_ID_OPENS_BRACKET)));
    }

    @Test
    void noSpellingOfTheMechanismIsHeard() {
        assertAll(
                () -> assertId("h", "jdbc:orvanta://h/ LOGMECH= LDAP "),
                () -> assertId("h", "jdbc:orvanta://h/ LOGMECH = LDAP ,"),
                () -> assertId("h", "jdbc:orvanta://h/\tlogmech \t=\t'LDAP' , x= y "),
                () -> assertId("h", "jdbc:orvanta://h/LOGMECH =LDAP ,"));
        assertTrue(seen.contains(Branch.URL_SCAN_BLANK_BEFORE_LOGMECH));
    }

    @Test
    void scanStopsAtAParameterWithoutEquals() {
        assertId("h", "jdbc:orvanta://h/a b=");
        assertEquals(EnumSet.of(Branch.URL_SLASH, Branch.URL_SCAN_NO_EQUALS), seen);
    }

    @Test
    void spaceBeforeTheCommaEndsAValue() {
        assertId("h", "jdbc:orvanta://h/ a= b,\t");
        assertEquals(EnumSet.of(Branch.URL_SLASH, Branch.URL_SCAN_UNQUOTED,
                Branch.URL_SCAN_VALUE_TO_SPACE, Branch.URL_SCAN_NO_EQUALS), seen);
    }

    @Test
    void commaBeforeTheSpaceEndsAValue() {
        assertId("h", "jdbc:orvanta://h/ a=\tb, ");
        assertEquals(EnumSet.of(Branch.URL_SLASH, Branch.URL_SCAN_UNQUOTED,
                Branch.URL_SCAN_VALUE_TO_COMMA, Branch.URL_SCAN_NO_EQUALS), seen);
    }

    @Test
    void delimiterInQuotesEndsNoValue() {
        assertId("h", "jdbc:orvanta://h/ a=\t'b,c d'\t");
        assertEquals(EnumSet.of(Branch.URL_SLASH, Branch.URL_SCAN_QUOTED,
                Branch.URL_SCAN_DELIMITER_IN_QUOTES, Branch.URL_SCAN_VALUE_TO_END), seen);
    }

    @Test
    void byteAfterADoubledQuoteIsNotLookedAt() {
        // The third quote in a row closes nothing, so the comma lies in the open span.
        assertId("h", "jdbc:orvanta://h/ a=\t'b''',c\t");
        assertEquals(EnumSet.of(Branch.URL_SLASH, Branch.URL_SCAN_DOUBLED_QUOTE,
                Branch.URL_SCAN_QUOTE_OPEN, Branch.URL_SCAN_DELIMITER_IN_QUOTES,
                Branch.URL_SCAN_VALUE_TO_END), seen);
    }

    @Test
    void secondParameterIsScannedAfterTheFirst() {
        assertId("h", "jdbc:orvanta://h/ a=\t'b'  c= d\t");
        assertTrue(seen.contains(Branch.URL_SCAN_SECOND_PARAMETER));
    }

    @Test
    void loneSurrogateArrivesAsAQuestionMark() {
        assertId("?h", "jdbc:orvanta://\ud83dh/");
    }
}
