#include "support/OvWalletException.h"

#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace Orvanta_OvWallet {
namespace {

static_assert(std::is_base_of_v<std::exception, OvWalletException>);
static_assert(std::is_base_of_v<OvWalletException, NotInstalledException>);
static_assert(std::has_virtual_destructor_v<OvWalletException>);

TEST(OvWalletException, SaysItsMessageUnchanged) {
    const OvWalletException exception("100% of \"\xC3\xA4\" failed: %s\n");
    EXPECT_STREQ(exception.what(), "100% of \"\xC3\xA4\" failed: %s\n");
}

TEST(OvWalletException, AnEmptyMessageIsAnEmptyText) {
    const OvWalletException exception("");
    EXPECT_STREQ(exception.what(), "");
}

TEST(OvWalletException, KeepsACopyOfTheMessage) {
    std::string message = "a message that is too long for the string's own buffer";
    const OvWalletException exception(message);
    message.assign(message.size(), 'x');
    EXPECT_STREQ(exception.what(), "a message that is too long for the string's own buffer");
}

TEST(OvWalletException, ACopyOutlivesTheOriginal) {
    auto original = std::make_unique<OvWalletException>("a message that two exceptions carry");
    const OvWalletException copy = *original;
    original.reset();
    EXPECT_STREQ(copy.what(), "a message that two exceptions carry");
}

TEST(OvWalletException, IsCaughtAsAStandardException) {
    try {
        throw OvWalletException("thrown");
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "thrown");
    }
}

TEST(NotInstalledException, IsCaughtByAHandlerForTheGeneralFailure) {
    try {
        throw NotInstalledException("missing");
    } catch (const OvWalletException& exception) {
        EXPECT_STREQ(exception.what(), "missing");
    }
}

TEST(NotInstalledException, IsToldApartByAHandlerBeforeTheGeneralOne) {
    const auto handlerOf = [](const auto& exception) -> std::string {
        try {
            throw exception;
        } catch (const NotInstalledException&) {
            return "not installed";
        } catch (const OvWalletException&) {
            return "failed";
        }
    };
    EXPECT_EQ(handlerOf(NotInstalledException("message")), "not installed");
    EXPECT_EQ(handlerOf(OvWalletException("message")), "failed");
}

}  // namespace
}  // namespace Orvanta_OvWallet
