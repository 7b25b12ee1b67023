#include "wallet/inOwnWords.h"

#include <stdexcept>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

// What comes out of a call that throws this, whose memory fails from its end on.
template <typename Exception>
std::string thrownOn(const std::string& message, std::uint64_t failAt) {
    const std::runtime_error thrown(message);
    try {
        const FailingHeap heap(failAt);
        inOwnWords([&thrown]() -> int { throw thrown; });
        return "nothing";
    } catch (const Exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        return exception.what();
    }
}

TEST(InOwnWords, ReturnsWhatTheCallReturns) {
    EXPECT_EQ(inOwnWords([] { return 7; }), 7);
}

TEST(InOwnWords, ThrowsOurOwnExceptionWithTheSameMessage) {
    const std::string message(1000, 'm');
    EXPECT_EQ(thrownOn<OvWalletException>(message, 0), message);
    EXPECT_EQ(thrownOn<OvWalletException>("", 0), "");
}

TEST(InOwnWords, LetsAnythingElsePass) {
    EXPECT_THROW(inOwnWords([]() -> int { throw 1; }), int);
}

TEST(InOwnWords, KeepsAShortMessageWithoutMemory) {
    EXPECT_EQ(thrownOn<ShortException>("the client library threw", 1), "the client library threw");
    EXPECT_EQ(thrownOn<ShortException>(std::string(255, 'm'), 1), std::string(255, 'm'));
}

TEST(InOwnWords, CutsALongMessageWithoutMemoryBetweenCharacters) {
    const std::string euro = "\xE2\x82\xAC";
    EXPECT_EQ(thrownOn<ShortException>(std::string(256, 'm'), 1), std::string(255, 'm'));
    for (const std::size_t before : {252U, 253U, 254U, 255U}) {
        const std::string cut(before, 'm');
        EXPECT_EQ(thrownOn<ShortException>(cut + euro + "m", 1), before == 252 ? cut + euro : cut);
    }
}

TEST(InOwnWords, CutsWhatIsNoTextToNothing) {
    EXPECT_EQ(thrownOn<ShortException>(std::string(300, '\x80'), 1), "");
}

}  // namespace
}  // namespace Orvanta_OvWallet
