#include "substitution/MacroName.h"

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "substitution/ExactBytes.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

// "NAME|REST" for a name that is closed, "open" for one that is not, or the failure's message.
std::string parsed(const std::string& text, const std::string& databaseId = "dbhost") {
    ExactBytes bytes(text);
    ExactBytes id(databaseId);
    try {
        const auto name = findMacroName(bytes.range(), id.range());
        if (!name) {
            return "open";
        }
        const std::string entryName = entryNameOf(*name, id.range());
        EXPECT_EQ(name->size, entryName.size());
        return entryName + "|" + textOf({name->end, bytes.range().end});
    } catch (const OvWalletException& failure) {
        return failure.what();
    }
}

TEST(MacroName, EndsAtTheFirstClosingParenthesis) {
    EXPECT_EQ(parsed("db.pw)rest)"), "db.pw|rest)");
    EXPECT_EQ(parsed(")"), "|");
}

TEST(MacroName, BlanksAndOpeningParenthesesStandForThemselves) {
    EXPECT_EQ(parsed(" a (b )c"), " a (b |c");
}

TEST(MacroName, ABackslashTakesTheMeaningFromThreeBytes) {
    EXPECT_EQ(parsed("a\\)b)"), "a)b|");
    EXPECT_EQ(parsed("a\\$b)"), "a$b|");
    EXPECT_EQ(parsed("a\\\\b)"), "a\\b|");
    EXPECT_EQ(parsed("\\$(ovpid))"), "$(ovpid|)");
    EXPECT_EQ(parsed("a\\\\)b)"), "a\\|b)");
}

TEST(MacroName, ABackslashBeforeAnotherByteStandsForItself) {
    EXPECT_EQ(parsed("a\\qb)"), "a\\qb|");
    EXPECT_EQ(parsed("a\\(b)"), "a\\(b|");
}

TEST(MacroName, ADollarSignBeforeAnotherByteStandsForItself) {
    EXPECT_EQ(parsed("a$b)"), "a$b|");
    EXPECT_EQ(parsed("$)"), "$|");
    EXPECT_EQ(parsed("$$(ovpid))"), "$dbhost|");
    EXPECT_EQ(parsed("$\\))"), "$)|");
}

TEST(MacroName, WhatStandsBehindTheTextIsNotLookedAt) {
    for (const char* const text : {"\\)b)", "$(ovpid)b)", "a)b)"}) {
        ExactBytes bytes(text);
        const std::uint8_t* const begin = bytes.range().begin;
        EXPECT_FALSE(findMacroName({begin, begin + 1}, {})) << text;
    }
}

TEST(MacroName, TheSubMacroStandsForTheDatabaseId) {
    EXPECT_EQ(parsed("pw_$(ovpid))x"), "pw_dbhost|x");
    EXPECT_EQ(parsed("pw_$(ovpid))", ""), "pw_|");
    EXPECT_EQ(parsed("$(ovpid)$(ovpid))"), "dbhostdbhost|");
}

TEST(MacroName, TheDatabaseIdIsTakenAsItIs) {
    EXPECT_EQ(parsed("$(ovpid))", "a)\\$(ovpid)"), "a)\\$(ovpid)|");
}

TEST(MacroName, AnyOtherSubMacroFails) {
    EXPECT_EQ(parsed("$(user))"),
              "Unsupported replacement macro, \"$(user)\", found in credential information.");
    EXPECT_EQ(parsed("$(OVPID))"),
              "Unsupported replacement macro, \"$(OVPID)\", found in credential information.");
    EXPECT_EQ(parsed("$( ovpid))"),
              "Unsupported replacement macro, \"$( ovpid)\", found in credential information.");
    EXPECT_EQ(parsed("$(ovpid x))"),
              "Unsupported replacement macro, \"$(ovpid x)\", found in credential information.");
    EXPECT_EQ(parsed("$())"),
              "Unsupported replacement macro, \"$()\", found in credential information.");
}

TEST(MacroName, EscapesMeanNothingInASubMacro) {
    EXPECT_EQ(parsed("$(a\\)b))"),
              "Unsupported replacement macro, \"$(a\\)\", found in credential information.");
}

TEST(MacroName, AnUnsupportedSubMacroFailsEvenInANameThatIsNeverClosed) {
    EXPECT_EQ(parsed("a$(user)b"),
              "Unsupported replacement macro, \"$(user)\", found in credential information.");
    EXPECT_EQ(parsed("$(user)"),
              "Unsupported replacement macro, \"$(user)\", found in credential information.");
}

TEST(MacroName, ANameThatIsNeverClosedIsNone) {
    EXPECT_EQ(parsed(""), "open");
    EXPECT_EQ(parsed("abc"), "open");
    EXPECT_EQ(parsed("a\\)"), "open");
    EXPECT_EQ(parsed("$(ovpid)"), "open");
}

TEST(MacroName, ASubMacroThatIsNeverClosedMakesTheNameNone) {
    EXPECT_EQ(parsed("a$("), "open");
    EXPECT_EQ(parsed("a$(user"), "open");
    EXPECT_EQ(parsed("a$(\\"), "open");
}

TEST(MacroName, ABackslashOrDollarSignAsTheLastByteMakesTheNameNone) {
    EXPECT_EQ(parsed("\\"), "open");
    EXPECT_EQ(parsed("abc\\"), "open");
    EXPECT_EQ(parsed("$"), "open");
    EXPECT_EQ(parsed("abc$"), "open");
}

TEST(MacroName, AnyByteMayStandInAName) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        if (value != ')' && value != '\\') {
            all.push_back(static_cast<char>(value));
        }
    }
    EXPECT_EQ(parsed(all + ")"), all + "|");
}

// ---- Every short text against the grammar written down once more, byte by byte.

std::string plainlyParsed(const std::string& text) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string rest = text.substr(i);
        if (rest[0] == ')') {
            return name + "|" + rest.substr(1);
        }
        if (rest == "\\" || rest == "$") {
            return "open";
        }
        if (rest.starts_with("\\)") || rest.starts_with("\\$") || rest.starts_with("\\\\")) {
            name += rest[1];
            ++i;
        } else if (rest.starts_with("$(")) {
            const std::size_t close = rest.find(')');
            if (close == std::string::npos) {
                return "open";
            }
            return "Unsupported replacement macro, \"" + rest.substr(0, close + 1) +
                   "\", found in credential information.";
        } else {
            name += rest[0];
        }
    }
    return "open";
}

TEST(MacroName, EveryShortTextIsReadByTheGrammar) {
    std::vector<std::string> texts{""};
    for (int length = 0; length <= 6; ++length) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            ASSERT_EQ(parsed(text), plainlyParsed(text)) << text;
            for (const char byte : std::string("a()$\\")) {
                longer.push_back(text + byte);
            }
        }
        texts = std::move(longer);
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
