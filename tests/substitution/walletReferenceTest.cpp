#include "substitution/walletReference.h"

#include <gtest/gtest.h>

#include "doubles/thrown.h"
#include "substitution/ExactBytes.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

// "NAME|REST" for a name that is closed, "open" for one that is not, or "failed: " and the message.
std::string parsed(const std::string& text, const std::string& databaseId = "dbhost") {
    ExactBytes bytes("$ovwallet(" + text);
    ExactBytes id(databaseId);
    const JdbcUrlParts url{.databaseId = id.span()};
    return outcomeOf<OvWalletException>([&]() -> std::string {
        const WalletReference reference = readReference(bytes.span(), 0, url);
        if (reference.kind == ReferenceKind::kUnclosed) {
            return "open";
        }
        const std::string entryName = entryNameOf(reference, url);
        EXPECT_EQ(reference.entryNameSize, entryName.size());
        return entryName + "|" + bytes.text().substr(reference.end);
    });
}

TEST(WalletReference, EndsAtTheFirstClosingParenthesis) {
    EXPECT_EQ(parsed("db.pw)rest)"), "db.pw|rest)");
    EXPECT_EQ(parsed(")"), "|");
}

TEST(WalletReference, BlanksAndOpeningParenthesesStandForThemselves) {
    EXPECT_EQ(parsed(" a (b )c"), " a (b |c");
}

TEST(WalletReference, ABackslashTakesTheMeaningFromThreeBytes) {
    EXPECT_EQ(parsed("a\\)b)"), "a)b|");
    EXPECT_EQ(parsed("a\\$b)"), "a$b|");
    EXPECT_EQ(parsed("a\\\\b)"), "a\\b|");
    EXPECT_EQ(parsed("\\$(ovpid))"), "$(ovpid|)");
    EXPECT_EQ(parsed("a\\\\)b)"), "a\\|b)");
}

TEST(WalletReference, ABackslashBeforeAnotherByteStandsForItself) {
    EXPECT_EQ(parsed("a\\qb)"), "a\\qb|");
    EXPECT_EQ(parsed("a\\(b)"), "a\\(b|");
}

TEST(WalletReference, ADollarSignBeforeAnotherByteStandsForItself) {
    EXPECT_EQ(parsed("a$b)"), "a$b|");
    EXPECT_EQ(parsed("$)"), "$|");
    EXPECT_EQ(parsed("$$(ovpid))"), "$dbhost|");
    EXPECT_EQ(parsed("$\\))"), "$)|");
}

TEST(WalletReference, WhatFollowsTheTextIsNotLookedAt) {
    for (const char* const text : {"\\)b)", "$(ovpid)b)", "a)b)"}) {
        ExactBytes bytes(text);
        EXPECT_FALSE(walkName(bytes.span().first(1), {}, [](const NamePiece&) {})) << text;
    }
}

TEST(WalletReference, TheMacroStandsForTheDatabaseId) {
    EXPECT_EQ(parsed("pw_$(ovpid))x"), "pw_dbhost|x");
    EXPECT_EQ(parsed("pw_$(ovpid))", ""), "pw_|");
    EXPECT_EQ(parsed("$(ovpid)$(ovpid))"), "dbhostdbhost|");
}

TEST(WalletReference, TheDatabaseIdIsTakenAsItIs) {
    EXPECT_EQ(parsed("$(ovpid))", "a)\\$(ovpid)"), "a)\\$(ovpid)|");
}

TEST(WalletReference, AnyOtherMacroFails) {
    EXPECT_EQ(
        parsed("$(user))"),
        "failed: Unsupported replacement macro, \"$(user)\", found in credential information.");
    EXPECT_EQ(
        parsed("$(OVPID))"),
        "failed: Unsupported replacement macro, \"$(OVPID)\", found in credential information.");
    EXPECT_EQ(
        parsed("$( ovpid))"),
        "failed: Unsupported replacement macro, \"$( ovpid)\", found in credential information.");
    EXPECT_EQ(
        parsed("$(ovpid x))"),
        "failed: Unsupported replacement macro, \"$(ovpid x)\", found in credential information.");
    EXPECT_EQ(parsed("$())"),
              "failed: Unsupported replacement macro, \"$()\", found in credential information.");
}

TEST(WalletReference, EscapesMeanNothingInAMacro) {
    EXPECT_EQ(
        parsed("$(a\\)b))"),
        "failed: Unsupported replacement macro, \"$(a\\)\", found in credential information.");
}

TEST(WalletReference, AnUnsupportedMacroFailsEvenInANameThatIsNeverClosed) {
    EXPECT_EQ(
        parsed("a$(user)b"),
        "failed: Unsupported replacement macro, \"$(user)\", found in credential information.");
    EXPECT_EQ(
        parsed("$(user)"),
        "failed: Unsupported replacement macro, \"$(user)\", found in credential information.");
}

TEST(WalletReference, ANameThatIsNeverClosedIsNone) {
    EXPECT_EQ(parsed(""), "open");
    EXPECT_EQ(parsed("abc"), "open");
    EXPECT_EQ(parsed("a\\)"), "open");
    EXPECT_EQ(parsed("$(ovpid)"), "open");
}

TEST(WalletReference, AMacroThatIsNeverClosedMakesTheNameNone) {
    EXPECT_EQ(parsed("a$("), "open");
    EXPECT_EQ(parsed("a$(user"), "open");
    EXPECT_EQ(parsed("a$(\\"), "open");
}

TEST(WalletReference, ABackslashOrDollarSignAsTheLastByteMakesTheNameNone) {
    EXPECT_EQ(parsed("\\"), "open");
    EXPECT_EQ(parsed("abc\\"), "open");
    EXPECT_EQ(parsed("$"), "open");
    EXPECT_EQ(parsed("abc$"), "open");
}

TEST(WalletReference, AnyByteMayStandInAName) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        if (value != ')' && value != '\\') {
            all.push_back(static_cast<char>(value));
        }
    }
    EXPECT_EQ(parsed(all + ")"), all + "|");
}

// ---- References in a text.

// "KIND [BEGIN,END) ENTRY", with how long the entry name was said to be.
std::string shown(const std::string& text, std::size_t from = 0) {
    ExactBytes bytes(text);
    const auto keyword = findKeyword(bytes.span(), from);
    if (!keyword) {
        return "none";
    }
    const WalletReference reference = readReference(bytes.span(), *keyword, {});
    const char* const kinds[] = {"named", "bare", "unclosed"};
    return std::string(kinds[static_cast<int>(reference.kind)]) + " [" +
           std::to_string(reference.begin) + "," + std::to_string(reference.end) + ") " +
           entryNameOf(reference, {}) + " of " + std::to_string(reference.entryNameSize);
}

TEST(WalletReference, ANamedOneEndsAfterItsParenthesis) {
    EXPECT_EQ(shown("x$ovwallet(a\\)b)y)"), "named [1,16) a)b of 3");
    EXPECT_EQ(shown("$ovwallet()"), "named [0,11)  of 0");
}

TEST(WalletReference, ABareOneIsTheKeywordAlone) {
    EXPECT_EQ(shown("x$ovwallet"), "bare [1,10) com.orvanta.OV2 of 0");
    EXPECT_EQ(shown("$ovwalletY (a)"), "bare [0,9) com.orvanta.OV2 of 0");
}

TEST(WalletReference, OfAnUnclosedOneTheKeywordAloneIsTaken) {
    EXPECT_EQ(shown("x$ovwallet(abc"), "unclosed [1,10) com.orvanta.OV2 of 0");
    EXPECT_EQ(shown("$ovwallet("), "unclosed [0,9) com.orvanta.OV2 of 0");
}

TEST(WalletReference, TheKeywordIsLookedForFromAnOffset) {
    const std::string text = "$ovwallet$ovwallet(a)";
    EXPECT_EQ(shown(text, 0), "bare [0,9) com.orvanta.OV2 of 0");
    EXPECT_EQ(shown(text, 1), "named [9,21) a of 1");
    EXPECT_EQ(shown(text, 10), "none");
    EXPECT_EQ(shown(text, text.size()), "none");
}

TEST(WalletReference, TheKeywordIsComparedByteForByte) {
    for (const char* const text :
         {"", "$", "$ovwalle", "$OVWALLET(a)", "ovwallet(a)", "$ ovwallet"}) {
        EXPECT_EQ(shown(text), "none") << text;
    }
}

// ---- Pieces.

// The pieces in the order in which they are seen, and the size that was walked.
std::string pieces(const std::string& text) {
    ExactBytes bytes(text);
    ExactBytes id("db");
    std::string seen;
    const auto walked = walkName(bytes.span(), id.span(), [&seen](const NamePiece& piece) {
        const char* const kinds[] = {"literal", "escape", "id"};
        seen += kinds[static_cast<int>(piece.kind)] + (" " + textOf(piece.written)) + "=" +
                textOf(piece.meaning) + ", ";
    });
    return seen + (walked ? std::to_string(*walked) : "open");
}

TEST(WalletReference, LiteralBytesAreOnePieceAsFarAsTheyGo) {
    EXPECT_EQ(pieces("a (\\q$b)c"), "literal a (\\q$b=a (\\q$b, 8");
    EXPECT_EQ(pieces(")"), "1");
}

TEST(WalletReference, EachEscapeAndEachMacroIsAPiece) {
    EXPECT_EQ(pieces("u_$(ovpid)\\)\\\\x)"),
              "literal u_=u_, id $(ovpid)=db, escape \\)=), escape \\\\=\\, literal x=x, 16");
}

TEST(WalletReference, PiecesOfANameThatIsNeverClosedAreSeenUpToTheOpenOne) {
    EXPECT_EQ(pieces("a\\)b"), "literal a=a, escape \\)=), open");
}

}  // namespace
}  // namespace Orvanta_OvWallet
