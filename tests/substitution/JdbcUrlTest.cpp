#include "substitution/JdbcUrl.h"

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

TEST(JdbcUrl, NothingBehindThePrefixIsNotParsed) {
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

}  // namespace
}  // namespace Orvanta_OvWallet
