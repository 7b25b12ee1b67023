#include "session/CurrentDirectory.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

std::string failure() {
    try {
        return "no failure: " + CurrentDirectory();
    } catch (const OvWalletException& exception) {
        return exception.what();
    }
}

TEST(CurrentDirectory, IsTheAbsolutePathnameOfTheWorkingDirectory) {
    const TemporaryDirectory directory;
    std::filesystem::current_path(directory.pathname());
    EXPECT_EQ(CurrentDirectory(), directory.pathname());
    std::filesystem::current_path("/");
    EXPECT_EQ(CurrentDirectory(), "/");
}

TEST(CurrentDirectory, GrowsItsBufferBy4096UntilThePathnameFits) {
    const std::string pathname = "/" + std::string(3 * 4096 - 2, 'd');
    std::vector<std::size_t> sizes;
    systemCalls().getcwd = [&](char* buffer, std::size_t size) -> char* {
        sizes.push_back(size);
        for (std::size_t i = 0; i < size; ++i) {
            EXPECT_EQ(buffer[i], '\0') << "the buffer is filled with zeros";
        }
        if (size < pathname.size() + 1) {
            std::memset(buffer, 'x', size);
            errno = ERANGE;
            return nullptr;
        }
        return std::strcpy(buffer, pathname.c_str());
    };
    EXPECT_EQ(CurrentDirectory(), pathname);
    EXPECT_EQ(sizes, (std::vector<std::size_t>{4096, 8192, 12288}));
}

TEST(CurrentDirectory, IsReadWholeWhenItIsReallyLong) {
    const TemporaryDirectory directory;
    std::filesystem::current_path(directory.pathname());
    std::string expected = directory.pathname();
    const std::string component(250, 'd');
    for (int depth = 0; depth < 20; ++depth) {
        std::filesystem::create_directory(component);
        std::filesystem::current_path(component);
        expected += "/" + component;
    }
    EXPECT_EQ(CurrentDirectory(), expected);
    std::filesystem::current_path("/");
}

TEST(CurrentDirectory, ThrowsWhenThereIsNone) {
    {
        const TemporaryDirectory directory;
        std::filesystem::current_path(directory.pathname());
    }
    EXPECT_EQ(failure(),
              "Cannot determine the pathname of the current working directory (errno = No such "
              "file or directory).");
}

TEST(CurrentDirectory, NamesTheErrnoOfTheFailureNotOfWhatFollows) {
    systemCalls().getcwd = [](char*, std::size_t) -> char* {
        errno = EACCES;
        return nullptr;
    };
    systemCalls().strerror_r = [](int errnum, char* buffer, std::size_t size) {
        char* const text = real::strerror_r(errnum, buffer, size);
        errno = EIO;
        return text;
    };
    EXPECT_EQ(failure(),
              "Cannot determine the pathname of the current working directory (errno = Permission "
              "denied).");
}

}  // namespace
}  // namespace Orvanta_OvWallet
