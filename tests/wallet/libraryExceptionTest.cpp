// Exceptions whose class is the client library's own: nobody can read one once the library is
// closed.

#include <string>

#include <gtest/gtest.h>

#include "doubles/thrown.h"
#include "substitution/referenceExpansion.h"
#include "wallet/LibraryReload.h"
#include "wallet/WalletOwner.h"

using namespace Orvanta_OvWallet;

namespace {

class LibraryException : public LibraryReload {
  protected:
    // Expands one reference with a wallet of its own; the message is read when the wallet, and the
    // library with it, is gone.
    static std::string messageOfExpansion() {
        return thrownBy([] {
            OwnedWallet wallet(openWallet());
            const std::string reference = "$ovwallet(name)";
            const auto* const first = reinterpret_cast<const std::uint8_t*>(reference.data());
            SecureByteVector text(0);
            text.insert(text.end(), first, first + reference.size());
            expandReferences(text, wallet.get(), {});
            wallet.free();
        });
    }

    void throwFrom(const std::string& entryPoint) { runCommand("throw " + entryPoint + " std"); }
};

TEST_F(LibraryException, OfOpeningIsReadWhenTheLibraryIsClosed) {
    throwFrom("OvWalletFactory_generateOvWalletV1");
    EXPECT_EQ(messageOfExpansion(),
              "Attempt to use Orvanta Wallet failed because: the client library threw");
    expectAllGivenBack();
}

TEST_F(LibraryException, OfFetchingIsReadWhenTheLibraryIsClosed) {
    throwFrom("OvWallet_getStringValue");
    EXPECT_EQ(messageOfExpansion(),
              "Attempt to get value from Orvanta Wallet failed because: the client library threw");
    expectAllGivenBack();
}

TEST_F(LibraryException, OfAValuesBytesIsReadWhenTheLibraryIsClosed) {
    throwFrom("OvWallet_getPtrLockedUTF8Vector");
    EXPECT_EQ(messageOfExpansion(), "the client library threw");
    expectAllGivenBack();
}

TEST_F(LibraryException, OfAValuesSizeIsReadWhenTheLibraryIsClosed) {
    throwFrom("OvWallet_getSizeLockedUTF8Vector");
    EXPECT_EQ(messageOfExpansion(), "the client library threw");
    expectAllGivenBack();
}

TEST_F(LibraryException, OfAnErrorsDescriptionIsReadWhenTheLibraryIsClosed) {
    runCommand("fail OvWallet_getStringValue 1 reason");
    throwFrom("OvWallet_getErrorDescription");
    EXPECT_EQ(messageOfExpansion(), "the client library threw");
    expectAllGivenBack();
}

// What a free function throws stays the client library's own, and what was not freed keeps the
// library open, so that it can be read all the same.
class ExceptionOfFreeing : public LibraryException {
  protected:
    void expectReadableFrom(const std::string& entryPoint) {
        throwFrom(entryPoint);
        EXPECT_EQ(messageOfExpansion(), "the client library threw");
        EXPECT_FALSE(PrivateStuff::walletFunctions().useCount().isZero());
    }
};

TEST_F(ExceptionOfFreeing, AValueIsReadWithTheLibraryStillOpen) {
    expectReadableFrom("OvWallet_freeLockedUTF8Vector");
}

TEST_F(ExceptionOfFreeing, AWalletIsReadWithTheLibraryStillOpen) {
    expectReadableFrom("OvWallet_freeV1");
}

}  // namespace
