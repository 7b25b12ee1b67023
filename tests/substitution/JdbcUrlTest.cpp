#include "substitution/JdbcUrl.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "substitution/ExactBytes.h"

namespace Orvanta_OvWallet {
namespace {

// "DATABASE-ID|LOGON-MECHANISM"
std::string parsed(const std::string& url) {
    ExactBytes bytes(url);
    const JdbcUrlParts parts = parseJdbcUrl(bytes.span());
    EXPECT_EQ(bytes.text(), url);
    return textOf(parts.databaseId) + "|" + textOf(parts.logonMechanism);
}

TEST(JdbcUrl, TheDatabaseIdRunsToTheFirstSlash) {
    EXPECT_EQ(parsed("jdbc:orvanta://dbhost/"), "dbhost|OV2");
    EXPECT_EQ(parsed("jdbc:orvanta://dbhost/a/b"), "dbhost|OV2");
    EXPECT_EQ(parsed("jdbc:orvanta://db host/"), "db host|OV2");
    EXPECT_EQ(parsed("jdbc:orvanta:///"), "|OV2");
}

TEST(JdbcUrl, ParametersWithoutABlankAreNotScanned) {
    EXPECT_EQ(parsed("jdbc:orvanta://dbhost/DATABASE=sales,LOGMECH=LDAP"), "dbhost|OV2");
}

TEST(JdbcUrl, ParametersWithBlanksLeaveTheLogonMechanismAlone) {
    EXPECT_EQ(parsed("jdbc:orvanta://dbhost/ LOGMECH =\tLDAP , LOGMECH= 'a''b' "), "dbhost|OV2");
}

TEST(JdbcUrl, WithoutSlashAndBlankThereIsNoDatabaseId) {
    EXPECT_EQ(parsed("jdbc:orvanta://dbhost"), "|OV2");
}

TEST(JdbcUrl, WithoutSlashTheDatabaseIdRunsFromTheFirstBlankToTheLast) {
    EXPECT_EQ(parsed("jdbc:orvanta://db host\tname"), " host\t|OV2");
    EXPECT_EQ(parsed("jdbc:orvanta://db "), " |OV2");
    EXPECT_EQ(parsed("jdbc:orvanta:// db"), " |OV2");
}

TEST(JdbcUrl, NonAsciiBytesAreBlanks) {
    EXPECT_EQ(parsed("jdbc:orvanta://d\xc3\xbc"
                     "b\xe2\x82\xac"
                     "host"),
              "\xc3\xbc"
              "b\xe2\x82\xac|OV2");
}

TEST(JdbcUrl, ThePrefixIsComparedByteForByte) {
    EXPECT_EQ(parsed("jdbc:ORVANTA://dbhost/"), "|OV2");
    EXPECT_EQ(parsed(" jdbc:orvanta://dbhost/"), "|OV2");
    EXPECT_EQ(parsed("jdbc:orvanta:/ dbhost/"), "|OV2");
}

TEST(JdbcUrl, NothingAfterThePrefixIsNotParsed) {
    EXPECT_EQ(parsed("jdbc:orvanta://"), "|OV2");
    EXPECT_EQ(parsed(""), "|OV2");
}

TEST(JdbcUrl, EveryCutOfALongUrlIsParsedWithinItsBytes) {
    const std::string url = "jdbc:orvanta://[h\x80]/ LOGMECH =\t'a''b''',c'', k= v=\t''' ";
    for (std::size_t length = 0; length <= url.size(); ++length) {
        const std::string text = parsed(url.substr(0, length));
        EXPECT_EQ(text.substr(text.size() - 4), "|OV2") << length;
    }
}

TEST(JdbcUrl, ADatabaseIdThatIsMissingIsEmpty) {
    EXPECT_TRUE(parseJdbcUrl({}).databaseId.empty());
    EXPECT_TRUE(JdbcUrlParts{}.databaseId.empty());
    EXPECT_EQ(JdbcUrlParts{}.databaseId.size(), 0U);
    EXPECT_EQ(textOf(JdbcUrlParts{}.logonMechanism), "OV2");
}

TEST(JdbcUrl, BracketsAroundTheWholeDatabaseIdStay) {
    EXPECT_EQ(parsed("jdbc:orvanta://[::1]/"), "[::1]|OV2");
    EXPECT_EQ(parsed("jdbc:orvanta://[/]"), "[|OV2");
}

// The range [first, first + size) of text after the rule on brackets.
std::string bracketed(const std::string& text, std::size_t first, std::size_t size) {
    ExactBytes bytes(text);
    return textOf(
        withBracketRule(bytes.span().subspan(first, size), bytes.span().data() + text.size()));
}

TEST(JdbcUrl, ADatabaseIdInBracketsIsShiftedNotStripped) {
    EXPECT_EQ(bracketed("x[abc]y", 1, 4), "abc]");
    EXPECT_EQ(bracketed("[]", 0, 1), "]");
}

TEST(JdbcUrl, OnlyBothBracketsInTheirPlacesCount) {
    EXPECT_EQ(bracketed("x[abc]y", 1, 5), "[abc]");
    EXPECT_EQ(bracketed("x[abc]y", 2, 3), "abc");
    EXPECT_EQ(bracketed("[abc", 0, 4), "[abc");
    EXPECT_EQ(bracketed("[abc", 4, 0), "");
    EXPECT_EQ(bracketed("[]", 0, 0), "");
}

// ---- Parameters.

// Each parameter as "KEY=VALUE;", with "2" for one in whose value a doubled quote begins.
std::string scanned(const std::string& text) {
    ExactBytes bytes(text);
    UrlParameterScan scan(bytes.span());
    std::string found;
    while (const auto parameter = scan.next()) {
        found += textOf(parameter->key) + "=" + textOf(parameter->value) +
                 (parameter->hasDoubledQuote ? "2;" : ";");
    }
    return found;
}

TEST(UrlParameters, BytesUpToTheSpaceAndAllBeyondAsciiAreBlanks) {
    for (int value = 0; value < 256; ++value) {
        if (value == '=') {
            continue;
        }
        const std::string byte(1, static_cast<char>(value));
        const bool isBlank = value <= 32 || value >= 128;
        EXPECT_EQ(scanned(byte + "k\t=\tv\t"), (isBlank ? byte + "k\t" : "\t") + "=\tv\t;")
            << value;
    }
}

TEST(UrlParameters, KeyAndValueBeginAtABlank) {
    EXPECT_EQ(scanned("x k =\tv "), " k =\tv;");
    EXPECT_EQ(scanned(" k=x\tv "), " =\tv;");
}

TEST(UrlParameters, TheKeyEndsAfterItsLastBlankBeforeTheEqualsSign) {
    EXPECT_EQ(scanned(" kk\tll=\tv "), " kk\t=\tv;");
    EXPECT_EQ(scanned(" kk=\tv "), " =\tv;");
}

TEST(UrlParameters, NothingAfterTheLastBlankCounts) {
    EXPECT_EQ(scanned(" k =\tv,w"), " k =\t;");
    EXPECT_EQ(scanned(" k =v"), "");
    EXPECT_EQ(scanned(" k =\tv\tw, a =\tb"), " k =\tv\tw; a =\t;");
}

TEST(UrlParameters, WithoutBlankKeyOrEqualsSignOrValueThereIsNone) {
    EXPECT_EQ(scanned(""), "");
    EXPECT_EQ(scanned("LOGMECH=LDAP"), "");
    EXPECT_EQ(scanned(" k "), "");
    EXPECT_EQ(scanned("\tk=vv"), "");
}

TEST(UrlParameters, SeveralFollowEachOther) {
    EXPECT_EQ(scanned(" a =\tb, c =\td e =\tf\t"), " a =\tb; c =\td; =\tf\t;");
    EXPECT_EQ(scanned(" a =\tb  e =\tf\t"), " a =\tb; e =\tf\t;");
    EXPECT_EQ(scanned(" a =\t'b, c =\td', e =\t'f''g'\t"), " a =\t'b, c =\td'; e =\t'f''g'\t2;");
    EXPECT_EQ(scanned(" a = , b =\tc "), " a =; b =\tc;");
}

TEST(UrlParameters, OneWithoutAValueEndsTheScanAndACommaEndsNoKey) {
    EXPECT_EQ(scanned(" a =\tb, c ="), " a =\tb;");
    EXPECT_EQ(scanned(" a =\tb, c, d , e =\tf "), " a =\tb; c, d , e =\tf;");
}

TEST(UrlParameters, ASpaceRightAfterTheEqualsSignIsAnEmptyValue) {
    EXPECT_EQ(scanned(" k = v "), " k =;");
}

TEST(UrlParameters, TheValueEndsAtTheFirstCommaOrSpace) {
    EXPECT_EQ(scanned(" k =\tv,w x "), " k =\tv;");
    EXPECT_EQ(scanned(" k =\tv w,x "), " k =\tv;");
    EXPECT_EQ(scanned(" k =\tv\tw\t"), " k =\tv\tw\t;");
}

TEST(UrlParameters, QuotesHideCommasAndSpaces) {
    EXPECT_EQ(scanned(" k =\t'a,b' c "), " k =\t'a,b';");
    EXPECT_EQ(scanned(" k =\t'a b',c "), " k =\t'a b';");
}

TEST(UrlParameters, ASeparatorBeforeTheOpeningQuoteIsNotHidden) {
    EXPECT_EQ(scanned(" k =\ta,'b' "), " k =\ta;");
}

TEST(UrlParameters, AQuoteThatIsNeverClosedHidesAllThatFollows) {
    EXPECT_EQ(scanned(" k =\t'a,b c "), " k =\t'a,b c ;");
}

TEST(UrlParameters, ADoubledQuoteClosesNothing) {
    EXPECT_EQ(scanned(" k =\t'a''b,c' d "), " k =\t'a''b,c'2;");
    EXPECT_EQ(scanned(" k =\t'a''b''c,' d "), " k =\t'a''b''c,'2;");
    EXPECT_EQ(scanned(" k =\ta, 'b''c' "), " k =\ta;");
}

// Deliberate behaviour: the search goes on three bytes after the first of the two quotes.
TEST(UrlParameters, AQuoteRightAfterADoubledQuoteIsPassedOver) {
    EXPECT_EQ(scanned(" k =\t'a''',b' c "), " k =\t'a''',b'2;");
}

TEST(UrlParameters, ADoubledQuoteNearTheEndEndsTheSearch) {
    EXPECT_EQ(scanned("\tk\t=\t'''\t"), "\tk\t=\t'''\t2;");
}

TEST(UrlParameters, QuotesAndCommasAsTheLastBytesAreNotLookedAt) {
    EXPECT_EQ(scanned("\tk\t=\t'a'"), "\tk\t=\t;");
    EXPECT_EQ(scanned("\tk\t=\t''"), "\tk\t=\t;");
    EXPECT_EQ(scanned("\tk\t=\ta,"), "\tk\t=\t;");
}

// Every tail of up to six of the bytes that mean something.
TEST(UrlParameters, NoTextNamesTheLogonMechanism) {
    std::vector<std::string> tails{""};
    for (int length = 0; length <= 6; ++length) {
        std::vector<std::string> longer;
        for (const std::string& tail : tails) {
            ASSERT_EQ(parsed("jdbc:orvanta://h/ LOGMEC" + tail), "h|OV2") << tail;
            for (const char byte : std::string(" H=,'")) {
                longer.push_back(tail + byte);
            }
        }
        tails = std::move(longer);
    }
}

// ---- What a parameter that names the logon mechanism would do.

// The logon mechanism after a parameter, and the bytes of its value.
std::string applied(const std::string& key, const std::string& value, bool hasDoubledQuote) {
    ExactBytes keyBytes(key);
    ExactBytes valueBytes(value);
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
    applyParameter({keyBytes.span(), valueBytes.span(), hasDoubledQuote}, logonMechanism);
    return textOf(logonMechanism) + " of " + valueBytes.text();
}

TEST(UrlParameters, AKeyThatBeginsWithLogmechInAnyCaseNamesIt) {
    for (const char* const key : {"LOGMECH", "logmech", "LoGmEcHANISM"}) {
        EXPECT_EQ(applied(key, "LDAP", false), "LDAP of LDAP") << key;
    }
}

TEST(UrlParameters, AnyOtherKeyDoesNotNameIt) {
    for (const char* const key :
         {"", "LOGMEC", " LOGMECH", "LOGMEC(", "LOGMECX", "\x0c\x0f\x07\x0d\x05\x03\x08"}) {
        EXPECT_EQ(applied(key, "LDAP", false), "OV2 of LDAP") << key;
    }
}

TEST(UrlParameters, OneQuoteIsDroppedAtEachEndOfTheValue) {
    EXPECT_EQ(applied("LOGMECH", "'LDAP'", false), "LDAP of 'LDAP'");
    EXPECT_EQ(applied("LOGMECH", "'LDAP", false), "LDAP of 'LDAP");
    EXPECT_EQ(applied("LOGMECH", "LDAP'", false), "LDAP of LDAP'");
    EXPECT_EQ(applied("LOGMECH", "'", false), " of '");
    EXPECT_EQ(applied("LOGMECH", "", false), " of ");
}

TEST(UrlParameters, DoubledQuotesBecomeSingleOnesInPlace) {
    EXPECT_EQ(applied("LOGMECH", "'a''b''''c'", true), "a'b''c of 'a'b''c''c'");
}

TEST(UrlParameters, DoubledQuotesAreCollapsedBeforeTheEnclosingOnesAreDropped) {
    EXPECT_EQ(applied("LOGMECH", "''LDAP''", true), "LDAP of 'LDAP'''");
    EXPECT_EQ(applied("LOGMECH", "''", true), " of ''");
}

TEST(UrlParameters, WithoutADoubledQuoteTheValueStaysAsItIs) {
    EXPECT_EQ(applied("LOGMECH", "'a''b'", false), "a''b of 'a''b'");
}

TEST(UrlParameters, TheLastOneThatNamesItCounts) {
    ExactBytes key("LOGMECH");
    ExactBytes first("KRB5");
    ExactBytes second("LDAP");
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
    applyParameter({key.span(), first.span(), false}, logonMechanism);
    applyParameter({key.span(), second.span(), false}, logonMechanism);
    EXPECT_EQ(textOf(logonMechanism), "LDAP");
}

}  // namespace
}  // namespace Orvanta_OvWallet
