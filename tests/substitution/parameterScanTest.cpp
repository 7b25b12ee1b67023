#include "substitution/parameterScan.h"

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "substitution/ExactBytes.h"
#include "substitution/JdbcUrl.h"

namespace Orvanta_OvWallet {
namespace {

std::string shown(const std::optional<UrlParameter>& parameter, std::size_t end) {
    const std::string scanned = " of " + std::to_string(end);
    if (!parameter) {
        return "nothing" + scanned;
    }
    return "key " + std::to_string(parameter->key) + "-" + std::to_string(parameter->keyEnd) +
           " value " + std::to_string(parameter->value) + "-" +
           std::to_string(parameter->valueEnd) + " doubled " +
           std::to_string(parameter->doubledQuote) + " next " + std::to_string(parameter->next) +
           scanned;
}

std::string scanned(const std::string& text, std::size_t from = 0) {
    ExactBytes bytes(text);
    std::size_t end = text.size();
    const auto parameter = nextParameter(bytes.span(), from, end);
    return shown(parameter, end);
}

// ---- Blanks.

TEST(ParameterScan, BytesUpToTheSpaceAndAllBeyondAsciiAreBlanks) {
    for (unsigned value = 0; value < 256; ++value) {
        EXPECT_EQ(isBlank(static_cast<std::uint8_t>(value)), value <= 32 || value >= 128) << value;
    }
}

TEST(ParameterScan, FindsTheFirstBlank) {
    ExactBytes bytes("ab\x80 c");
    EXPECT_EQ(findBlank(bytes.span(), 0, 5), 2U);
    EXPECT_EQ(findBlank(bytes.span(), 3, 5), 3U);
    EXPECT_EQ(findBlank(bytes.span(), 4, 5), 5U);
    EXPECT_EQ(findBlank(bytes.span(), 0, 2), 2U);
}

TEST(ParameterScan, FindsTheEndOfTheLastBlank) {
    ExactBytes bytes("ab\x80 c");
    EXPECT_EQ(findBlankEnd(bytes.span(), 0, 5), 4U);
    EXPECT_EQ(findBlankEnd(bytes.span(), 0, 3), 3U);
    EXPECT_EQ(findBlankEnd(bytes.span(), 0, 2), 0U);
    EXPECT_EQ(findBlankEnd(bytes.span(), 1, 2), 1U);
    EXPECT_EQ(findBlankEnd(bytes.span(), 4, 5), 4U);
}

TEST(ParameterScan, ASearchThatStartsBehindItsEndFindsNothing) {
    ExactBytes bytes("    ");
    EXPECT_EQ(findBlank(bytes.span(), 3, 2), 2U);
    EXPECT_EQ(findBlank(bytes.span(), 9, 4), 4U);
    EXPECT_EQ(findBlankEnd(bytes.span(), 3, 2), 3U);
    EXPECT_EQ(findBlankEnd(bytes.span(), 9, 4), 9U);
}

// ---- One parameter.

TEST(ParameterScan, KeyAndValueBeginAtABlank) {
    EXPECT_EQ(scanned("x k =\tv,w "), "key 1-4 value 5-7 doubled 10 next 8 of 10");
}

TEST(ParameterScan, TheKeyEndsBehindItsLastBlankBeforeTheEqualsSign) {
    EXPECT_EQ(scanned(" kk\tll=\tv "), "key 0-4 value 7-9 doubled 10 next 10 of 10");
    EXPECT_EQ(scanned(" kk=\tv "), "key 0-1 value 4-6 doubled 7 next 7 of 7");
}

TEST(ParameterScan, NothingBehindTheLastBlankCounts) {
    EXPECT_EQ(scanned(" k=\tv,w"), "key 0-1 value 3-4 doubled 4 next 4 of 4");
    EXPECT_EQ(scanned(" k=v"), "nothing of 1");
}

TEST(ParameterScan, WithoutBlankKeyOrEqualsSignOrValueThereIsNothing) {
    EXPECT_EQ(scanned(""), "nothing of 0");
    EXPECT_EQ(scanned("LOGMECH=LDAP"), "nothing of 12");
    EXPECT_EQ(scanned(" k "), "nothing of 3");
    EXPECT_EQ(scanned("\tk=v\t", 1), "nothing of 5");
    EXPECT_EQ(scanned("\tk=vv", 0), "nothing of 1");
}

TEST(ParameterScan, ASpaceRightBehindTheEqualsSignIsAnEmptyValue) {
    EXPECT_EQ(scanned(" k= v "), "key 0-1 value 3-3 doubled 6 next 4 of 6");
}

TEST(ParameterScan, TheValueEndsAtTheFirstCommaOrSpace) {
    EXPECT_EQ(scanned(" k=\tv,w x "), "key 0-1 value 3-5 doubled 10 next 6 of 10");
    EXPECT_EQ(scanned(" k=\tv w,x "), "key 0-1 value 3-5 doubled 10 next 6 of 10");
    EXPECT_EQ(scanned(" k=\tv\tw\t"), "key 0-1 value 3-8 doubled 8 next 8 of 8");
}

TEST(ParameterScan, QuotesHideCommasAndSpaces) {
    EXPECT_EQ(scanned(" k=\t'a,b' c "), "key 0-1 value 3-9 doubled 12 next 10 of 12");
    EXPECT_EQ(scanned(" k=\t'a b',c "), "key 0-1 value 3-9 doubled 12 next 10 of 12");
}

TEST(ParameterScan, ASeparatorBeforeTheOpeningQuoteIsNotHidden) {
    EXPECT_EQ(scanned(" k=\ta,'b' "), "key 0-1 value 3-5 doubled 10 next 6 of 10");
}

TEST(ParameterScan, AQuoteThatIsNeverClosedHidesAllThatFollows) {
    EXPECT_EQ(scanned(" k=\t'a,b c "), "key 0-1 value 3-11 doubled 11 next 11 of 11");
}

TEST(ParameterScan, ADoubledQuoteClosesNothing) {
    EXPECT_EQ(scanned(" k=\t'a''b,c' d "), "key 0-1 value 3-12 doubled 6 next 13 of 15");
    EXPECT_EQ(scanned(" k=\t'a''b''c,' d "), "key 0-1 value 3-14 doubled 6 next 15 of 17");
}

// Deliberate behaviour: the search goes on three bytes behind the first of the two quotes.
TEST(ParameterScan, AQuoteRightBehindADoubledQuoteIsPassedOver) {
    EXPECT_EQ(scanned(" k=\t'a''',b' c "), "key 0-1 value 3-12 doubled 6 next 13 of 15");
}

TEST(ParameterScan, ADoubledQuoteNearTheEndEndsTheSearch) {
    EXPECT_EQ(scanned("\tk=\t'''\t"), "key 0-1 value 3-8 doubled 5 next 8 of 8");
}

TEST(ParameterScan, QuotesAndCommasAsTheLastBytesAreNotLookedAt) {
    EXPECT_EQ(scanned("\tk=\t'a'"), "key 0-1 value 3-4 doubled 4 next 4 of 4");
    EXPECT_EQ(scanned("\tk=\t''"), "key 0-1 value 3-4 doubled 4 next 4 of 4");
    EXPECT_EQ(scanned("\tk=\ta,"), "key 0-1 value 3-4 doubled 4 next 4 of 4");
}

// ---- Every short text against the rules written down plainly once more.

std::size_t plainFind(const std::string& text, const std::function<bool(char)>& wanted,
                      std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
        if (wanted(text[i])) {
            return i;
        }
    }
    return to;
}

std::size_t plainFind(const std::string& text, char wanted, std::size_t from, std::size_t to) {
    return plainFind(text, [wanted](char byte) { return byte == wanted; }, from, to);
}

std::size_t plainLastBlankEnd(const std::string& text, std::size_t from, std::size_t to) {
    std::size_t end = from;
    for (std::size_t i = from; i < to; ++i) {
        end = text[i] <= ' ' ? i + 1 : end;
    }
    return end;
}

std::string plainlyScanned(const std::string& text, std::size_t from) {
    const auto isPlainBlank = [](char byte) { return byte <= ' '; };
    std::size_t end = text.size();
    const std::size_t key = plainFind(text, isPlainBlank, from, end);
    if (key == end) {
        return shown(std::nullopt, end);
    }
    end = plainLastBlankEnd(text, key, end);
    const std::size_t equals = plainFind(text, '=', key, end);
    const std::size_t value = plainFind(text, isPlainBlank, equals + 1, end);
    if (equals == end || value == end || text[value] == ',') {
        return shown(std::nullopt, end);
    }
    const std::size_t open = plainFind(text, '\'', value, end);
    std::size_t close = end;
    std::size_t doubled = end;
    for (std::size_t i = open + 1; i < end; ++i) {
        if (text[i] == '\'' && (i + 1 == end || text[i + 1] != '\'')) {
            close = i;
            break;
        }
        if (text[i] == '\'') {
            doubled = std::min(doubled, i);
            i += 2;
        }
    }
    std::size_t valueEnd = end;
    for (const char separator : {',', ' '}) {
        std::size_t found = plainFind(text, separator, value, end);
        if (open < found && found < close) {
            found = plainFind(text, separator, close + 1, end);
        }
        valueEnd = std::min(valueEnd, found);
    }
    const std::size_t keyEnd = plainLastBlankEnd(text, key, equals);
    const std::size_t next = valueEnd == end ? end : valueEnd + 1;
    return shown(UrlParameter{key, keyEnd, value, valueEnd, doubled, next}, end);
}

// Calls use with every text of up to so many of these bytes.
void forEachText(const std::string& bytes, std::size_t longest,
                 const std::function<void(const std::string&)>& use) {
    std::vector<std::string> texts{""};
    for (std::size_t length = 0; length <= longest; ++length) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            use(text);
            for (const char byte : bytes) {
                longer.push_back(text + byte);
            }
        }
        texts = std::move(longer);
    }
}

TEST(ParameterScan, EveryShortTextIsScannedByTheRules) {
    forEachText(" \tk=,'", 5, [](const std::string& text) {
        for (std::size_t from = 0; from <= text.size(); ++from) {
            ASSERT_EQ(scanned(text, from), plainlyScanned(text, from)) << text;
        }
    });
}

TEST(ParameterScan, EveryShortValueIsScannedByTheRules) {
    forEachText(" \tv,'", 6, [](const std::string& value) {
        ASSERT_EQ(scanned(" =\t" + value), plainlyScanned(" =\t" + value, 0)) << value;
    });
}

// ---- All parameters.

TEST(ParameterScan, EveryTextLeavesTheInitialLogonMechanism) {
    const std::span<const std::uint8_t> initial = defaultLogonMechanism();
    forEachText(" H=,'", 6, [initial](const std::string& tail) {
        const std::string text = " LOGMEC" + tail;
        ExactBytes bytes(text);
        const std::span<const std::uint8_t> found = scanLogonMechanism(bytes.span(), initial);
        ASSERT_EQ(found.data(), initial.data()) << tail;
        ASSERT_EQ(found.size(), initial.size()) << tail;
        ASSERT_EQ(bytes.text(), text);
    });
}

TEST(ParameterScan, AnEmptyTextLeavesTheInitialLogonMechanism) {
    const std::span<const std::uint8_t> initial = defaultLogonMechanism();
    EXPECT_EQ(scanLogonMechanism({}, initial).data(), initial.data());
}

// ---- What a parameter that names the logon mechanism would do.

struct Applied {
    std::string logonMechanism;
    std::string text;
};

// key directly before "=" directly before value, with the first doubled quote where it is.
Applied applied(const std::string& key, const std::string& value) {
    const std::string text = key + "=" + value;
    ExactBytes bytes(text);
    const std::size_t begin = key.size() + 1;
    const std::size_t doubled = value.find("''");
    const UrlParameter parameter{
        .key = 0,
        .keyEnd = key.size(),
        .value = begin,
        .valueEnd = text.size(),
        .doubledQuote = doubled == std::string::npos ? text.size() : begin + doubled,
        .next = text.size()};
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
    applyParameter(bytes.span(), parameter, logonMechanism);
    return {textOf(logonMechanism), bytes.text()};
}

TEST(ParameterScan, AKeyThatBeginsWithLogmechInAnyCaseNamesIt) {
    EXPECT_EQ(applied("LOGMECH", "LDAP").logonMechanism, "LDAP");
    EXPECT_EQ(applied("logmech", "LDAP").logonMechanism, "LDAP");
    EXPECT_EQ(applied("LoGmEcHANISM", "LDAP").logonMechanism, "LDAP");
}

TEST(ParameterScan, AnyOtherKeyDoesNotNameIt) {
    EXPECT_EQ(applied("", "LDAP").logonMechanism, "OV2");
    EXPECT_EQ(applied("LOGMEC", "LDAP").logonMechanism, "OV2");
    EXPECT_EQ(applied(" LOGMECH", "LDAP").logonMechanism, "OV2");
    EXPECT_EQ(applied("LOGMEC(", "LDAP").logonMechanism, "OV2");
    EXPECT_EQ(applied("\x0c\x0f\x07\x0d\x05\x03\x08", "LDAP").logonMechanism, "OV2");
    EXPECT_EQ(applied("LOGMECX", "LDAP").logonMechanism, "OV2");
}

TEST(ParameterScan, OneQuoteIsDroppedAtEachEndOfTheValue) {
    EXPECT_EQ(applied("LOGMECH", "'LDAP'").logonMechanism, "LDAP");
    EXPECT_EQ(applied("LOGMECH", "'LDAP").logonMechanism, "LDAP");
    EXPECT_EQ(applied("LOGMECH", "LDAP'").logonMechanism, "LDAP");
    EXPECT_EQ(applied("LOGMECH", "'").logonMechanism, "");
    EXPECT_EQ(applied("LOGMECH", "").logonMechanism, "");
}

TEST(ParameterScan, DoubledQuotesBecomeSingleOnesInPlace) {
    const Applied result = applied("LOGMECH", "'a''b''''c'");
    EXPECT_EQ(result.logonMechanism, "a'b''c");
    EXPECT_EQ(result.text, "LOGMECH='a'b''c''c'");
}

TEST(ParameterScan, DoubledQuotesAreCollapsedBeforeTheEnclosingOnesAreDropped) {
    EXPECT_EQ(applied("LOGMECH", "''LDAP''").logonMechanism, "LDAP");
    EXPECT_EQ(applied("LOGMECH", "''").logonMechanism, "");
}

TEST(ParameterScan, ADoubledQuoteBehindTheValueLeavesItAsItIs) {
    ExactBytes bytes("LOGMECH='a''b'");
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
    applyParameter(bytes.span(), {0, 7, 8, 14, 14, 14}, logonMechanism);
    EXPECT_EQ(textOf(logonMechanism), "a''b");
    EXPECT_EQ(bytes.text(), "LOGMECH='a''b'");
}

TEST(ParameterScan, TheLastParameterThatNamesItCounts) {
    ExactBytes bytes("LOGMECH=KRB5LOGMECH=LDAP");
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
    applyParameter(bytes.span(), {0, 7, 8, 12, 24, 12}, logonMechanism);
    applyParameter(bytes.span(), {12, 19, 20, 24, 24, 24}, logonMechanism);
    EXPECT_EQ(textOf(logonMechanism), "LDAP");
}

}  // namespace
}  // namespace Orvanta_OvWallet
