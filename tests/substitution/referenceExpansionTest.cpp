#include "substitution/referenceExpansion.h"

#include <gtest/gtest.h>

#include "substitution/ReferenceExpansionFixture.h"

namespace Orvanta_OvWallet {
namespace {

using namespace std::string_literals;

TEST_F(ReferenceExpansion, TextWithoutKeywordStaysAndNothingIsFetched) {
    for (const std::string text : {"", "plain", "$ovwalle", "$OVWALLET(a)", "ovwallet(a)", "$"}) {
        EXPECT_EQ(expanded(text), text);
    }
    EXPECT_EQ(sandbox_.takeAsked(), Names{});
}

TEST_F(ReferenceExpansion, ANameInParenthesesIsReplacedWithThem) {
    sandbox_.add("db.pw", "secret");
    EXPECT_EQ(expanded("$ovwallet(db.pw)"), "secret");
    EXPECT_EQ(expanded("x$ovwallet(db.pw)y"), "xsecrety");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"db.pw", "db.pw"}));
}

TEST_F(ReferenceExpansion, ABareKeywordStandsForTheDefaultEntry) {
    sandbox_.add("com.orvanta.OV2", "secret");
    EXPECT_EQ(expanded("x$ovwalletY"), "xsecretY");
    EXPECT_EQ(expanded("$ovwallet"), "secret");
    EXPECT_EQ(expanded("$ovwallet (db.pw)"), "secret (db.pw)");
    EXPECT_EQ(sandbox_.takeAsked(),
              (Names{"com.orvanta.OV2", "com.orvanta.OV2", "com.orvanta.OV2"}));
}

TEST_F(ReferenceExpansion, TheDefaultEntryIsNamedForTheLogonMechanism) {
    sandbox_.add("com.orvanta.LDAP", "l");
    sandbox_.add("com.orvanta.", "n");
    logonMechanism_ = "LDAP";
    EXPECT_EQ(expanded("$ovwallet"), "l");
    logonMechanism_ = "";
    EXPECT_EQ(expanded("$ovwallet"), "n");
}

TEST_F(ReferenceExpansion, OfANameThatIsNeverClosedOnlyTheKeywordIsReplaced) {
    sandbox_.add("com.orvanta.OV2", "secret");
    EXPECT_EQ(expanded("$ovwallet(abc"), "secret(abc");
    EXPECT_EQ(expanded("$ovwallet("), "secret(");
    EXPECT_EQ(expanded("$ovwallet(abc\\"), "secret(abc\\");
    EXPECT_EQ(expanded("$ovwallet(abc\\)"), "secret(abc\\)");
    EXPECT_EQ(expanded("$ovwallet(abc$"), "secret(abc$");
    EXPECT_EQ(expanded("$ovwallet(abc$(user"), "secret(abc$(user");
    EXPECT_EQ(expanded("$ovwallet($(ovpid)"), "secret($(ovpid)");
    EXPECT_EQ(sandbox_.takeAsked(), Names(7, "com.orvanta.OV2"));
}

TEST_F(ReferenceExpansion, EscapesAndTheDatabaseIdMakeUpTheEntryName) {
    sandbox_.add("a)b", "1");
    sandbox_.add("a\\qb", "2");
    sandbox_.add("a$b", "3");
    sandbox_.add("pw_dbhost", "4");
    EXPECT_EQ(expanded("$ovwallet(a\\)b)$ovwallet(a\\qb)$ovwallet(a$b)$ovwallet(pw_$(ovpid))"),
              "1234");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a%29b", "a%5Cqb", "a%24b", "pw_dbhost"}));
}

TEST_F(ReferenceExpansion, AnEmptyDatabaseIdAddsNothing) {
    sandbox_.add("pw_", "secret");
    databaseId_ = "";
    EXPECT_EQ(expanded("$ovwallet(pw_$(ovpid))"), "secret");
}

TEST_F(ReferenceExpansion, TheWalletTakesANameUpToItsFirstNul) {
    sandbox_.add("a", "secret");
    EXPECT_EQ(expanded("$ovwallet(a\0b)"s), "secret");
    EXPECT_EQ(sandbox_.takeAsked(), Names{"a"});
}

TEST_F(ReferenceExpansion, AnUnsupportedMacroFailsAndNothingIsFetched) {
    EXPECT_EQ(expanded("$ovwallet($(user))"),
              "failed: Unsupported replacement macro, \"$(user)\", found in credential "
              "information.");
    EXPECT_EQ(expanded("$ovwallet($(user)"),
              "failed: Unsupported replacement macro, \"$(user)\", found in credential "
              "information.");
    EXPECT_EQ(sandbox_.takeAsked(), Names{});
}

// The message is text, and text is UTF-8.
TEST_F(ReferenceExpansion, AnUnsupportedMacroThatIsNoTextFailsAllTheSame) {
    EXPECT_EQ(expanded("$ovwallet($(\xff))"), "failed: Invalid UTF-8");
}

TEST_F(ReferenceExpansion, SeveralReferencesAreReplacedFromLeftToRight) {
    sandbox_.add("a", "long value");
    sandbox_.add("b", "");
    sandbox_.add("c", "z");
    EXPECT_EQ(expanded("$ovwallet(a)-$ovwallet(b)-$ovwallet(c)"), "long value--z");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a", "b", "c"}));
}

// ---- Values that are expanded in turn.

TEST_F(ReferenceExpansion, TheScanGoesOnAfterAValueAndOnlyThenStartsAgain) {
    sandbox_.add("a", "$ovwallet(c)");
    sandbox_.add("b", "$ovwallet(d)");
    sandbox_.add("c", "C$ovwallet(e)");
    sandbox_.add("d", "D");
    sandbox_.add("e", "E");
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(b)"), "CED");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a", "b", "c", "d", "e"}));
}

TEST_F(ReferenceExpansion, AValueCompletesAKeywordWithWhatFollows) {
    sandbox_.add("half", "$ovwal");
    sandbox_.add("whole", "$ovwallet");
    sandbox_.add("b", "B");
    EXPECT_EQ(expanded("$ovwallet(half)let(b)"), "B");
    EXPECT_EQ(expanded("$ovwallet(whole)(b)"), "B");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"half", "b", "whole", "b"}));
}

TEST_F(ReferenceExpansion, AValueCompletesAKeywordWithWhatStandsBefore) {
    sandbox_.add("half", "allet(b)");
    sandbox_.add("b", "B");
    EXPECT_EQ(expanded("$ovw$ovwallet(half)"), "B");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"half", "b"}));
}

TEST_F(ReferenceExpansion, AnEmptyValueJoinsItsSurroundings) {
    sandbox_.add("empty", "");
    sandbox_.add("com.orvanta.OV2", "secret");
    EXPECT_EQ(expanded("$ovw$ovwallet(empty)allet"), "secret");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"empty", "com.orvanta.OV2"}));
}

TEST_F(ReferenceExpansion, AValueClosesANameWithWhatFollows) {
    sandbox_.add("com.orvanta.OV2", "$ovwallet(");
    sandbox_.add("b", "B");
    EXPECT_EQ(expanded("$ovwalletb)"), "B");
}

TEST_F(ReferenceExpansion, AnEmptyValueAtTheBeginningIsFollowedByTheRest) {
    sandbox_.add("empty", "");
    sandbox_.add("a", "A");
    EXPECT_EQ(expanded("$ovwallet(empty)$ovwallet(a)"), "A");
    EXPECT_EQ(expanded("$ovwallet(empty)$ov$ovwallet(empty)wallet(a)"), "A");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"empty", "a", "empty", "empty", "a"}));
}

// ---- Values of any bytes and sizes.

TEST_F(ReferenceExpansion, AnEmptyValueMayComeWithANullPointer) {
    sandbox_.add("empty", "");
    EXPECT_EQ(expanded("$ovwallet(empty)"), "");
    EXPECT_EQ(expanded("x$ovwallet(empty)y"), "xy");
}

TEST_F(ReferenceExpansion, NulBytesAreOrdinaryBytes) {
    sandbox_.add("nul", "\0a\0"s);
    EXPECT_EQ(expanded("\0$ovwallet(nul)\0"s), "\0\0a\0\0"s);
}

TEST_F(ReferenceExpansion, EveryByteOfAValueIsKept) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all.push_back(static_cast<char>(value));
    }
    sandbox_.add("all", all);
    EXPECT_EQ(expanded("<$ovwallet(all)>"), "<" + all + ">");
}

TEST_F(ReferenceExpansion, AValueMayBeMuchLongerThanTheText) {
    const std::string value(100'000, 'v');
    sandbox_.add("long", value);
    EXPECT_EQ(expanded("<$ovwallet(long)>"), "<" + value + ">");
}

}  // namespace
}  // namespace Orvanta_OvWallet
