// The client library's password, saved key and terminal.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "sandbox/tests/LibraryFixture.h"
#include "sandbox/tests/TerminalUser.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

using FlagQuestion = WalletError* (*)(Wallet*, OpaqueArgument*);

class PasswordTest : public LibraryFixture {
  protected:
    ~PasswordTest() override { library_.OvWallet_freeV1(wallet_); }

    std::int32_t answerOf(FlagQuestion question) const {
        std::int32_t flag = -1;
        EXPECT_EQ(question(wallet_, opaque(&flag)), nullptr);
        return flag;
    }

    template <class Change>
    std::string with(const std::string& text, Change change) const {
        LockedUTF8Vector* const vector = library_.newVector(text);
        std::string result = library_.taken(change(vector));
        library_.OvWallet_freeLockedUTF8Vector(vector);
        return result;
    }
    std::string change(const std::string& password) const {
        return with(password, [&](LockedUTF8Vector* vector) {
            return library_.OvWallet_changePassword(wallet_, vector);
        });
    }
    std::string supply(const std::string& password) const {
        return with(password, [&](LockedUTF8Vector* vector) {
            return library_.OvWallet_supplyPassword(wallet_, vector);
        });
    }
    std::string reset(const std::string& password) const {
        return with(password, [&](LockedUTF8Vector* vector) {
            return library_.OvWallet_resetPassword(wallet_, vector);
        });
    }

    const LoadedSandbox library_{pathname_};
    Wallet* const wallet_ = library_.newWallet();
};

TEST_F(PasswordTest, FirstPasswordEstablishesAndSupplies) {
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordEstablished), 0);
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordSupplied), 0);
    EXPECT_EQ(supply("x"), "No password has been established.");
    EXPECT_EQ(change(""), "A password must not be empty.");
    EXPECT_EQ(change("p w"), "no error");
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordEstablished), 1);
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordSupplied), 1);
    EXPECT_EQ(readText(directory_ / "password"), "p%20w\n");
    EXPECT_EQ(modeOf(directory_ / "password"), 0600U);
}

TEST_F(PasswordTest, ChangingNeedsThePresentPassword) {
    EXPECT_EQ(change("old"), "no error");
    EXPECT_EQ(library_.OvWallet_forgetPassword(wallet_), nullptr);
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordSupplied), 0);
    EXPECT_EQ(change("new"), "The present password has not been supplied.");
    EXPECT_EQ(supply("new"), "The password is not the right one.");
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordSupplied), 0);
    EXPECT_EQ(supply("old"), "no error");
    EXPECT_EQ(change("new"), "no error");
    EXPECT_EQ(readText(directory_ / "password"), "new\n");
}

TEST_F(PasswordTest, ResettingNeedsNoPassword) {
    EXPECT_EQ(change("old"), "no error");
    EXPECT_EQ(library_.OvWallet_forgetPassword(wallet_), nullptr);
    EXPECT_EQ(reset("new"), "no error");
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordSupplied), 1);
    EXPECT_EQ(readText(directory_ / "password"), "new\n");
}

TEST_F(PasswordTest, SavedKeyIsEstablishedByChangingIt) {
    EXPECT_EQ(answerOf(library_.OvWallet_checkSavedKeyEstablished), 0);
    EXPECT_EQ(with("k",
                   [&](LockedUTF8Vector* vector) {
                       return library_.OvWallet_changeSavedKey(wallet_, opaque(vector));
                   }),
              "no error");
    EXPECT_EQ(answerOf(library_.OvWallet_checkSavedKeyEstablished), 1);
    EXPECT_EQ(readText(directory_ / "savedkey"), "k\n");
}

TEST_F(PasswordTest, MalformedPasswordFileIsReported) {
    writeText(directory_ / "password", "a b\n");
    EXPECT_EQ(supply("a b"), "The file \"" + (directory_ / "password") +
                                 "\" is malformed: it is not percent-encoded.");
}

TEST_F(PasswordTest, StandardInputGivesPasswordsAndKeys) {
    writeText(directory_ / "stdin", "one\none\ntwo\nTwo\none\nthree\nthree\nkey\n");
    const Redirection input(STDIN_FILENO, directory_ / "stdin");
    const std::string prompts = complaintsOf([&] {
        EXPECT_EQ(library_.OvWallet_changePasswordFromTerminal(wallet_, opaqueText("new: "),
                                                               opaqueText("again: ")),
                  nullptr);
        EXPECT_EQ(readText(directory_ / "password"), "one\n");
        EXPECT_EQ(
            library_.taken(library_.OvWallet_changePasswordFromTerminal(wallet_, nullptr, nullptr)),
            "The two lines are not the same.");
        EXPECT_EQ(library_.OvWallet_forgetPassword(wallet_), nullptr);
        EXPECT_EQ(library_.OvWallet_supplyPasswordFromTerminal(wallet_, opaqueText("present: ")),
                  nullptr);
        EXPECT_EQ(library_.OvWallet_resetPasswordFromTerminal(wallet_, opaqueText("r1 "),
                                                              opaqueText("r2 ")),
                  nullptr);
        EXPECT_EQ(library_.OvWallet_changeSavedKeyFromTerminal(wallet_, opaqueText("key: ")),
                  nullptr);
    });
    EXPECT_EQ(prompts, "new: again: present: r1 r2 key: ");
    EXPECT_EQ(readText(directory_ / "password"), "three\n");
    EXPECT_EQ(readText(directory_ / "savedkey"), "key\n");
}

TEST_F(PasswordTest, PromptingIsPossibleOnlyWhenStandardInputIsATerminal) {
    {
        const Redirection input(STDIN_FILENO, directory_ / "stdin");
        EXPECT_EQ(answerOf(library_.OvWallet_checkSystemPrompting), 0);
    }
    const FileDescriptor main(::posix_openpt(O_RDWR | O_NOCTTY));
    ASSERT_EQ(::grantpt(main.number()), 0);
    ASSERT_EQ(::unlockpt(main.number()), 0);
    const Redirection input(STDIN_FILENO, ::ptsname(main.number()));
    EXPECT_EQ(answerOf(library_.OvWallet_checkSystemPrompting), 1);
}

TEST_F(PasswordTest, TerminalGivesPasswordsThatItDoesNotShow) {
    TerminalUser user;
    std::thread typing([&] {
        user.answer("new: ", "tty");
        user.answer("again: ", "tty");
        user.answer("present: ", "tty");
    });
    EXPECT_EQ(library_.OvWallet_changePasswordTty(
                  wallet_, opaqueText("new: "), opaqueText("again: "), opaqueText(user.pathname())),
              nullptr);
    EXPECT_EQ(library_.OvWallet_forgetPassword(wallet_), nullptr);
    EXPECT_EQ(library_.OvWallet_supplyPasswordTty(wallet_, opaqueText("present: "),
                                                  opaqueText(user.pathname())),
              nullptr);
    typing.join();
    user.show("end");
    EXPECT_EQ(user.shownUpTo("end"), "new: \r\nagain: \r\npresent: \r\nend");
    EXPECT_EQ(answerOf(library_.OvWallet_checkPasswordSupplied), 1);
    EXPECT_EQ(readText(directory_ / "password"), "tty\n");
}

TEST_F(PasswordTest, MissingTerminalIsAnError) {
    const std::string missing = directory_ / "no-terminal";
    EXPECT_EQ(library_.taken(library_.OvWallet_supplyPasswordTty(wallet_, nullptr,
                                                                 opaqueText(missing.c_str()))),
              "Cannot open \"" + missing + "\": No such file or directory.");
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
