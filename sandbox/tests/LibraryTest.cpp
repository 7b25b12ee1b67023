// The client library's wallets, strings, vectors and error objects.
#include <cstdint>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/store/PercentCode.h"
#include "sandbox/tests/LibraryFixture.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

class LibraryTest : public LibraryFixture {
  protected:
    LibraryTest() { writeText(directory_ / "strings", "a\t1\nempty\t\n"); }

    const LoadedSandbox library_{pathname_};
};

TEST_F(LibraryTest, ValueIsHandedOutInAVector) {
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* vector = nullptr;
    EXPECT_EQ(library_.OvWallet_getStringValue(wallet, "a", &vector), nullptr);
    ASSERT_NE(vector, nullptr);
    EXPECT_EQ(library_.OvWallet_getSizeLockedUTF8Vector(vector), 1U);
    EXPECT_EQ(*library_.OvWallet_getPtrLockedUTF8Vector(vector), '1');
    library_.OvWallet_freeLockedUTF8Vector(vector);
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, EmptyValueIsANullPointerAndSizeZero) {
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* vector = nullptr;
    EXPECT_EQ(library_.OvWallet_getStringValue(wallet, "empty", &vector), nullptr);
    ASSERT_NE(vector, nullptr);
    EXPECT_EQ(library_.OvWallet_getSizeLockedUTF8Vector(vector), 0U);
    EXPECT_EQ(library_.OvWallet_getPtrLockedUTF8Vector(vector), nullptr);
    library_.OvWallet_freeLockedUTF8Vector(vector);
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, ValueHoldsEveryByte) {
    writeText(directory_ / "strings", "bytes\t" + percentEncode(everyByte()) + '\n');
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(library_.value(wallet, "bytes"), everyByte());
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, MissingStringIsAnErrorThatNamesIt) {
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* const untouched = library_.newVector("x");
    LockedUTF8Vector* vector = untouched;
    WalletError* const error = library_.OvWallet_getStringValue(wallet, "no such", &vector);
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(library_.OvWallet_getErrorDescription(error),
                 "There is no string named \"no such\" in the wallet.");
    EXPECT_EQ(library_.OvWallet_getErrorCode(error), 2);
    EXPECT_STREQ(library_.OvWallet_getStringName(error), "no such");
    EXPECT_EQ(vector, untouched);
    library_.OvWallet_freeError(error);
    library_.OvWallet_freeLockedUTF8Vector(untouched);
    EXPECT_EQ(library_.taken(library_.OvWallet_deleteString(wallet, "gone")),
              "There is no string named \"gone\" in the wallet.");
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, MissingFileIsAnEmptyWallet) {
    std::filesystem::remove(directory_ / "strings");
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* vector = nullptr;
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, "a", &vector)),
              "There is no string named \"a\" in the wallet.");
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, MalformedFileIsAnErrorOfTheFactories) {
    writeText(directory_ / "strings", "a\t1\nb\n");
    const std::string message =
        "The file \"" + (directory_ / "strings") + "\" is malformed: line 2 has no tab.";
    Wallet* wallet = nullptr;
    EXPECT_EQ(library_.taken(library_.OvWalletFactory_generateOvWalletV1(&wallet)), message);
    EXPECT_EQ(library_.taken(library_.OvWalletFactory_generateLocaleOvWalletV1(&wallet, nullptr)),
              message);
    EXPECT_EQ(wallet, nullptr);
}

TEST_F(LibraryTest, WalletKeepsTheStringsAsTheyWereWhenItWasMade) {
    Wallet* const early = library_.newWallet();
    writeText(directory_ / "strings", "a\t2\n");
    Wallet* const late = library_.newWallet();
    EXPECT_EQ(library_.value(early, "a"), "1");
    EXPECT_EQ(library_.value(late, "a"), "2");
    library_.OvWallet_freeV1(early);
    library_.OvWallet_freeV1(late);
}

TEST_F(LibraryTest, AddedAndDeletedStringsAreInTheWalletAndInTheFile) {
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* const vector = library_.newVector(everyByte());
    EXPECT_EQ(library_.OvWallet_addString(wallet, "n w", vector), nullptr);
    EXPECT_EQ(library_.OvWallet_addSavedKeyString(wallet, "saved", vector), nullptr);
    EXPECT_EQ(library_.OvWallet_deleteString(wallet, "a"), nullptr);
    EXPECT_EQ(library_.value(wallet, "n w"), everyByte());
    const std::string code = percentEncode(everyByte());
    EXPECT_EQ(readText(directory_ / "strings"),
              "empty\t\nn%20w\t" + code + "\nsaved\t" + code + '\n');
    LockedUTF8Vector* value = nullptr;
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, "a", &value)),
              "There is no string named \"a\" in the wallet.");
    EXPECT_EQ(library_.taken(library_.OvWallet_addString(wallet, "", vector)),
              "The name of a string must not be empty.");
    library_.OvWallet_freeLockedUTF8Vector(vector);
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, AddingKeepsWhatAnotherWalletAddedMeanwhile) {
    Wallet* const one = library_.newWallet();
    Wallet* const other = library_.newWallet();
    LockedUTF8Vector* const vector = library_.newVector("x");
    EXPECT_EQ(library_.OvWallet_addString(one, "one", vector), nullptr);
    EXPECT_EQ(library_.OvWallet_addString(other, "other", vector), nullptr);
    EXPECT_EQ(readText(directory_ / "strings"), "a\t1\nempty\t\none\tx\nother\tx\n");
    library_.OvWallet_freeLockedUTF8Vector(vector);
    library_.OvWallet_freeV1(one);
    library_.OvWallet_freeV1(other);
}

TEST_F(LibraryTest, VersionIsAPlaintextVectorThatCanBeAdded) {
    Wallet* const wallet = library_.newWallet();
    UTF8Vector* version = nullptr;
    EXPECT_EQ(library_.OvWallet_getVersion(wallet, &version), nullptr);
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(
        std::string(reinterpret_cast<const char*>(library_.OvWallet_getPtrUTF8Vector(version)),
                    library_.OvWallet_getSizeUTF8Vector(version)),
        "14.10");
    EXPECT_EQ(library_.OvWallet_addPlaintextString(wallet, "version", version), nullptr);
    EXPECT_EQ(library_.value(wallet, "version"), "14.10");
    library_.OvWallet_freeUTF8Vector(version);
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, NamesAreListedInOrder) {
    Wallet* const wallet = library_.newWallet();
    StringNames* names = nullptr;
    EXPECT_EQ(library_.OvWallet_getStringNames(wallet, &names), nullptr);
    EXPECT_EQ(library_.nameCount(names), 2U);
    EXPECT_STREQ(library_.nameAt(names, 0), "a");
    EXPECT_STREQ(library_.nameAt(names, 1), "empty");
    EXPECT_EQ(library_.nameAt(names, 2), nullptr);
    library_.OvWallet_freeStringNames(names);
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, StringsAreReadFromStandardInputLineByLine) {
    Wallet* const wallet = library_.newWallet();
    writeText(directory_ / "stdin", "first line\n\nthird");
    const Redirection input(STDIN_FILENO, directory_ / "stdin");
    const std::string prompts = complaintsOf([&] {
        EXPECT_EQ(library_.OvWallet_addStringFromTerminal(wallet, "x", opaqueText("Value of x: ")),
                  nullptr);
        EXPECT_EQ(library_.OvWallet_addSavedKeyStringFromTerminal(wallet, "y", nullptr), nullptr);
        EXPECT_EQ(library_.OvWallet_addPlaintextStringFromTerminal(wallet, "z", opaqueText("? ")),
                  nullptr);
        EXPECT_EQ(library_.taken(library_.OvWallet_addStringFromTerminal(wallet, "x", nullptr)),
                  "There is no line to read.");
    });
    EXPECT_EQ(prompts, "Value of x: ? ");
    EXPECT_EQ(library_.value(wallet, "x"), "first line");
    EXPECT_EQ(library_.value(wallet, "y"), "");
    EXPECT_EQ(library_.value(wallet, "z"), "third");
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryTest, OnlyEnglishLocalesAreKnown) {
    for (const char* locale : {"C", "POSIX", "en", "en_US.UTF-8"}) {
        Wallet* wallet = nullptr;
        EXPECT_EQ(library_.OvWalletFactory_generateLocaleOvWalletV1(&wallet, opaqueText(locale)),
                  nullptr);
        EXPECT_EQ(library_.value(wallet, "a"), "1");
        library_.OvWallet_freeV1(wallet);
    }
    Wallet* wallet = nullptr;
    EXPECT_EQ(library_.taken(library_.OvWalletFactory_generateLocaleOvWalletV1(
                  &wallet, opaqueText("english"))),
              "There are no texts for the locale \"english\".");
    EXPECT_EQ(wallet, nullptr);
}

TEST_F(LibraryTest, VectorsAreZeroedAndTooLargeOnesRefused) {
    LockedUTF8Vector* vector = nullptr;
    ASSERT_EQ(library_.OvWallet_allocLockedUTF8Vector(&vector, 3), nullptr);
    EXPECT_EQ(library_.OvWallet_getSizeLockedUTF8Vector(vector), 3U);
    const std::uint8_t* const bytes = library_.OvWallet_getPtrLockedUTF8Vector(vector);
    EXPECT_EQ(std::vector<std::uint8_t>(bytes, bytes + 3), std::vector<std::uint8_t>(3));
    library_.OvWallet_freeLockedUTF8Vector(vector);
    EXPECT_EQ(library_.taken(library_.OvWallet_allocLockedUTF8Vector(&vector, 67108865)),
              "A vector of 67108865 bytes is larger than 67108864 bytes.");
}

TEST_F(LibraryTest, WalletThatWasShutDownCanOnlyBeFreed) {
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(library_.OvWallet_shutdown(wallet), nullptr);
    const std::string message = "The wallet has been shut down.";
    LockedUTF8Vector* value = nullptr;
    StringNames* names = nullptr;
    UTF8Vector* version = nullptr;
    std::int32_t flag = 0;
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, "a", &value)), message);
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringNames(wallet, &names)), message);
    EXPECT_EQ(library_.taken(library_.OvWallet_deleteString(wallet, "a")), message);
    EXPECT_EQ(library_.taken(library_.OvWallet_getVersion(wallet, &version)), message);
    EXPECT_EQ(library_.taken(library_.OvWallet_forgetPassword(wallet)), message);
    EXPECT_EQ(library_.taken(library_.OvWallet_checkSystemPrompting(wallet, opaque(&flag))),
              message);
    EXPECT_EQ(library_.taken(library_.OvWallet_shutdown(wallet)), message);
    EXPECT_EQ(readText(directory_ / "strings"), "a\t1\nempty\t\n");
    library_.OvWallet_freeV1(wallet);
}

// What an entry point answers to nothing but nulls.
template <class Result, class... Arguments>
std::string answerToNulls(const LoadedSandbox& library, Result (*entryPoint)(Arguments...)) {
    if constexpr (std::is_void_v<Result>) {
        entryPoint(Arguments{}...);
        return "";
    } else if constexpr (std::is_same_v<Result, WalletError*>) {
        return library.taken(entryPoint(Arguments{}...));
    } else {
        return entryPoint(Arguments{}...) == Result{} ? "null" : "something";
    }
}

TEST_F(LibraryTest, NoEntryPointStumblesOverNulls) {
    const auto expected = [](const std::string& name) -> std::string {
        if (name.starts_with("OvWallet_free")) {
            return "";
        }
        if (name.starts_with("OvWallet_getPtr") || name.starts_with("OvWallet_getSize") ||
            name.starts_with("OvWallet_getError") || name == "OvWallet_getStringName") {
            return "null";
        }
        if (name.starts_with("OvWalletFactory_") || name == "OvWallet_allocLockedUTF8Vector") {
            return "There is no place for the result: it is null.";
        }
        return "The wallet is null.";
    };
    const std::string complaints = complaintsOf([&] {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    EXPECT_EQ(answerToNulls(library_, library_.name), expected(#name)) << #name;
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    EXPECT_EQ(answerToNulls(library_, library_.name), expected(#name)) << #name;
#include "wallet/EntryPoints.def"
    });
    EXPECT_EQ(complaints, "");
}

TEST_F(LibraryTest, NullNamesVectorsAndOutputsAreErrors) {
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* value = nullptr;
    const std::string noName = "The name of the string is null.";
    const std::string noOutput = "There is no place for the result: it is null.";
    const std::string noVector = "The locked vector is null.";
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, nullptr, &value)), noName);
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, "a", nullptr)), noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_addString(wallet, nullptr, nullptr)), noName);
    EXPECT_EQ(library_.taken(library_.OvWallet_addString(wallet, "a", nullptr)), noVector);
    EXPECT_EQ(library_.taken(library_.OvWallet_addSavedKeyString(wallet, "a", nullptr)), noVector);
    EXPECT_EQ(library_.taken(library_.OvWallet_addPlaintextString(wallet, "a", nullptr)),
              "The vector is null.");
    EXPECT_EQ(library_.taken(library_.OvWallet_addStringFromTerminal(wallet, nullptr, nullptr)),
              noName);
    EXPECT_EQ(library_.taken(library_.OvWallet_deleteString(wallet, nullptr)), noName);
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringNames(wallet, nullptr)), noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_getVersion(wallet, nullptr)), noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_checkPasswordEstablished(wallet, nullptr)),
              noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_checkPasswordSupplied(wallet, nullptr)), noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_checkSavedKeyEstablished(wallet, nullptr)),
              noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_checkSystemPrompting(wallet, nullptr)), noOutput);
    EXPECT_EQ(library_.taken(library_.OvWallet_changePassword(wallet, nullptr)), noVector);
    EXPECT_EQ(library_.taken(library_.OvWallet_supplyPassword(wallet, nullptr)), noVector);
    EXPECT_EQ(library_.taken(library_.OvWallet_resetPassword(wallet, nullptr)), noVector);
    EXPECT_EQ(library_.taken(library_.OvWallet_changeSavedKey(wallet, nullptr)), noVector);
    library_.OvWallet_freeV1(wallet);
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
