#include "support/NotInstalledException.h"

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace Orvanta_OvWallet {
namespace {

static_assert(std::is_base_of_v<OvWalletException, NotInstalledException>);

TEST(NotInstalledException, SaysItsMessageUnchanged) {
    const NotInstalledException exception("nothing at \"/opt/100%\"");
    EXPECT_STREQ(exception.what(), "nothing at \"/opt/100%\"");
}

TEST(NotInstalledException, AnEmptyMessageIsAnEmptyText) {
    EXPECT_STREQ(NotInstalledException("").what(), "");
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
