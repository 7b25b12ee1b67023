#include "support/formatMessage.h"

#include <climits>
#include <cstdarg>
#include <locale>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <utf8.h>

#include "doubles/FailingHeap.h"
#include "doubles/thrown.h"

namespace Orvanta_OvWallet {
namespace {

// Without the compiler's check of the arguments, which knows more conversions than we do.
std::string format(const char* messageTemplate, ...) {
    std::va_list arguments;
    va_start(arguments, messageTemplate);
    try {
        std::string message = formatMessageV(messageTemplate, arguments);
        va_end(arguments);
        return message;
    } catch (...) {
        va_end(arguments);
        throw;
    }
}

std::string failureOf(const char* messageTemplate, const char* argument) {
    return thrownBy([=] { format(messageTemplate, argument); });
}

constexpr const char* kInvalid = "Invalid UTF-8";
constexpr const char* kCutShort = "Not enough space";
constexpr const char* kNoCodePoint = "Invalid code point";

TEST(FormatMessage, CopiesTextWithoutConversions) {
    EXPECT_EQ(format(""), "");
    EXPECT_EQ(format("plain text\n"), "plain text\n");
}

TEST(FormatMessage, TwoPercentSignsAreOneAndTakeNoArgument) {
    EXPECT_EQ(format("100%% done"), "100% done");
    EXPECT_EQ(format("%%%s", "argument"), "%argument");
    EXPECT_EQ(format("%%"), "%");
}

TEST(FormatMessage, ThePercentSignOfAPairStartsNothing) {
    EXPECT_EQ(format("%%s %%%%d"), "%s %%d");
}

TEST(FormatMessage, InsertsTexts) {
    EXPECT_EQ(format("%s", "alone"), "alone");
    EXPECT_EQ(format("<%s%s|%s>", "first", "", "third"), "<first|third>");
}

TEST(FormatMessage, InsertsUnsignedNumbers) {
    EXPECT_EQ(format("%u %u", 0U, 4294967295U), "0 4294967295");
}

TEST(FormatMessage, InsertsSignedNumbers) {
    EXPECT_EQ(format("%d", -1), "-1");
    EXPECT_EQ(format("%d %d %d", 0, INT_MAX, INT_MIN), "0 2147483647 -2147483648");
}

TEST(FormatMessage, InsertsLongNumbers) {
    EXPECT_EQ(format("%ld", -5000000000L), "-5000000000");
    EXPECT_EQ(format("%ld %ld", LONG_MAX, LONG_MIN), "9223372036854775807 -9223372036854775808");
}

TEST(FormatMessage, InsertsHexadecimalNumbersInUpperCase) {
    EXPECT_EQ(format("%X", 255U), "FF");
    EXPECT_EQ(format("%X %X %X", 0U, 0x1234ABCDU, 4294967295U), "0 1234ABCD FFFFFFFF");
}

TEST(FormatMessage, GivesPlainDigitsWhateverTheGlobalLocaleIs) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    EXPECT_EQ(format("%d %u %ld %X", -1234567, 1234567U, 1234567L, 0x1234567U),
              "-1234567 1234567 1234567 1234567");
    std::locale::global(before);
}

TEST(FormatMessage, ANumberAfterAHexadecimalOneIsDecimal) {
    EXPECT_EQ(format("%X %u %d %ld", 16U, 16U, 16, 16L), "10 16 16 16");
}

TEST(FormatMessage, TakesArgumentsInTheOrderOfTheConversions) {
    EXPECT_EQ(format("%s %d %u %ld %X %% %s", "a", -2, 3U, -4L, 0xBU, "z"), "a -2 3 -4 B % z");
}

TEST(FormatMessage, KeepsWhatIsNoConversion) {
    EXPECT_EQ(format("%q"), "%q");
    EXPECT_EQ(format("%i %x %c %5d %-s %.2s %S %U"), "%i %x %c %5d %-s %.2s %S %U");
}

TEST(FormatMessage, FindsTheConversionAfterWhatIsNone) {
    EXPECT_EQ(format("%q%s", "text"), "%qtext");
    EXPECT_EQ(format("% %s", "text"), "% text");
}

TEST(FormatMessage, ALengthModifierBeforeAnyOtherLetterTakesNoArgument) {
    EXPECT_EQ(format("%lu %s", "next"), "%lu next");
    EXPECT_EQ(format("%lX %ls %lld %l %s", "next"), "%lX %ls %lld %l next");
    EXPECT_EQ(format("%l%s", "next"), "%lnext");
}

TEST(FormatMessage, KeepsAPercentSignAtTheEnd) {
    EXPECT_EQ(format("abc%"), "abc%");
    EXPECT_EQ(format("%"), "%");
    EXPECT_EQ(format("%%%"), "%%");
    EXPECT_EQ(format("%s%", "abc"), "abc%");
}

TEST(FormatMessage, KeepsAPercentSignAtTheEndOfATextOfAnyLength) {
    for (std::size_t length = 0; length < 130; ++length) {
        const std::string text = std::string(length, 'x') + "%";
        ASSERT_EQ(format(text.c_str(), "argument"), text);
    }
}

TEST(FormatMessage, KeepsALengthModifierAtTheEnd) {
    EXPECT_EQ(format("abc%l"), "abc%l");
}

TEST(FormatMessage, DoesNotScanInsertedTexts) {
    EXPECT_EQ(format("<%s>", "50%s"), "<50%s>");
    EXPECT_EQ(format("%s%s", "%d%", "s%%"), "%d%s%%");
}

TEST(FormatMessage, AnInsertedTextDoesNotCompleteAConversion) {
    EXPECT_EQ(format("%s%d", "%", 7), "%7");
    EXPECT_EQ(format("%s%sd", "%", "l"), "%ld");
    EXPECT_EQ(format("%%%s", "s"), "%s");
}

TEST(FormatMessage, KeepsCodePointsOfEveryLength) {
    const char* const text =
        "A\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
        "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(format(text), text);
    EXPECT_EQ(format("\xE2\x82\xAC%s\xE2\x82\xAC", text),
              std::string("\xE2\x82\xAC") + text + "\xE2\x82\xAC");
    EXPECT_EQ(format("%\xC3\xA4%s", "x"), "%\xC3\xA4x");
}

TEST(FormatMessage, AByteThatStartsNoSequenceIsInvalid) {
    EXPECT_EQ(failureOf("%s", "\xFF"), kInvalid);
    EXPECT_EQ(failureOf("%s", "valid \x80"), kInvalid);
    EXPECT_EQ(failureOf("\xFF%s", "valid"), kInvalid);
}

TEST(FormatMessage, AMissingContinuationByteIsInvalid) {
    EXPECT_EQ(failureOf("%s", "\xC3("), kInvalid);
    EXPECT_EQ(failureOf("\xE2\x82%s", "valid"), kInvalid);
}

TEST(FormatMessage, AnOverlongFormIsInvalid) {
    EXPECT_EQ(failureOf("%s", "\xC0\xAF"), kInvalid);
    EXPECT_EQ(failureOf("%s", "\xE0\x80\xAF"), kInvalid);
    EXPECT_EQ(failureOf("%s", "\xF0\x80\x80\xAF"), kInvalid);
}

TEST(FormatMessage, ASequenceCutShortByTheEndOfTheTextHasNotEnoughSpace) {
    EXPECT_EQ(failureOf("%s", "\xC3"), kCutShort);
    EXPECT_EQ(failureOf("%s", "valid \xF0\x90\x80"), kCutShort);
    EXPECT_EQ(failureOf("%s \xE2\x82", "valid"), kCutShort);
}

TEST(FormatMessage, ATextThatEndsInsideASequenceIsNotCompletedByTheTemplate) {
    EXPECT_EQ(failureOf("%s\xA4", "\xC3"), kInvalid);
}

TEST(FormatMessage, ASurrogateIsNoCodePoint) {
    EXPECT_EQ(failureOf("%s", "\xED\xA0\x80"), kNoCodePoint);
    EXPECT_EQ(failureOf("%s", "\xED\xBF\xBF"), kNoCodePoint);
    EXPECT_EQ(failureOf("\xED\xA0\x80%s", "valid"), kNoCodePoint);
}

TEST(FormatMessage, AValueBeyondTheLastCodePointIsNone) {
    EXPECT_EQ(failureOf("%s", "\xF4\x90\x80\x80"), kNoCodePoint);
}

TEST(FormatMessage, DecodesTheTemplateBeforeAnyArgumentIsTaken) {
    EXPECT_EQ(failureOf("%s \xFF", "\xC3"), kInvalid);
}

TEST(FormatMessage, FormatsVariableArguments) {
    EXPECT_EQ(formatMessage("An attempt to read a directory failed (errno = %s)", "Bad"),
              "An attempt to read a directory failed (errno = Bad)");
    EXPECT_EQ(formatMessage("%s %d %u %ld %X %%", "a", -2, 3U, -4L, 0xBU), "a -2 3 -4 B %");
    EXPECT_EQ(formatMessage("nothing to insert"), "nothing to insert");
}

TEST(FormatMessage, FailsWithVariableArgumentsToo) {
    EXPECT_THROW(formatMessage("%s", "\xFF"), utf8::invalid_utf8);
}

TEST(FormatMessage, LeaksNothingWhenATextIsMalformed) {
    const std::int64_t before = FailingHeap::liveAllocations();
    try {
        formatMessage("a longer template, which is decoded before %s and %s are", "this", "\xFF");
        ADD_FAILURE() << "a malformed text was accepted";
    } catch (const utf8::invalid_utf8&) {
    }
    EXPECT_EQ(FailingHeap::liveAllocations(), before);
}

TEST(FormatMessage, WithoutMemoryFailsAndLeaksNothing) {
    for (std::uint64_t failAt = 1;; ++failAt) {
        const std::int64_t before = FailingHeap::liveAllocations();
        bool failed = false;
        {
            const FailingHeap heap(failAt);
            try {
                formatMessage("%s: %ld is %X, too long for a small string", "number", 255L, 255U);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            ASSERT_EQ(failed, heap.failed());
        }
        ASSERT_EQ(FailingHeap::liveAllocations(), before) << "allocation " << failAt;
        if (!failed) {
            ASSERT_GT(failAt, 40U);
            break;
        }
    }
}

TEST(FormatMessage, MayBeCalledByManyThreads) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            const std::string expected = "thread " + std::to_string(number) + " is thread";
            for (int repeat = 0; repeat < 200; ++repeat) {
                EXPECT_EQ(formatMessage("%s %d is %s", "thread", number, "thread"), expected);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
