#include "support/canonicalPath.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"

namespace Orvanta_OvWallet {
namespace {

namespace fs = std::filesystem;

// The private directory, as the kernel sees it.
std::string directory() {
    return fs::canonical(privateModuleDir()).string();
}

void expectFailure(const CanonicalPath& result, int errnum) {
    EXPECT_EQ(result.errnum, errnum);
    EXPECT_EQ(result.path, "");
}

TEST(CanonicalPath, OfAPathnameWithoutLinksIsThatPathname) {
    const CanonicalPath result = canonicalPath(directory());
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, directory());
}

TEST(CanonicalPath, ResolvesLinksDotsAndDoubledSlashes) {
    fs::create_directory(directory() + "/real");
    fs::create_directory_symlink("real", directory() + "/first");
    fs::create_directory_symlink("first", directory() + "/second");
    const CanonicalPath result = canonicalPath(directory() + "//real/../second/./");
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, directory() + "/real");
}

TEST(CanonicalPath, OfTheRootIsTheRoot) {
    const CanonicalPath result = canonicalPath("/..");
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, "/");
}

TEST(CanonicalPath, OfARelativePathnameStartsAtTheCurrentDirectory) {
    fs::create_directory(directory() + "/here");
    fs::current_path(directory());
    const CanonicalPath result = canonicalPath("here");
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, directory() + "/here");
}

TEST(CanonicalPath, OfWhatIsMissingSaysWhy) {
    expectFailure(canonicalPath(directory() + "/missing"), ENOENT);
}

TEST(CanonicalPath, OfNothingSaysWhy) {
    expectFailure(canonicalPath(""), ENOENT);
}

TEST(CanonicalPath, BelowAFileSaysWhy) {
    std::ofstream(directory() + "/file") << "text";
    expectFailure(canonicalPath(directory() + "/file/below"), ENOTDIR);
}

TEST(CanonicalPath, OfALinkToItselfSaysWhy) {
    fs::create_symlink("loop", directory() + "/loop");
    expectFailure(canonicalPath(directory() + "/loop"), ELOOP);
}

TEST(CanonicalPath, HasRoomForTheLongestPathname) {
    const std::string longest = "/" + std::string(4095, 'x');
    systemCalls().realpath = [&](const char*, char* buffer) {
        return std::strcpy(buffer, longest.c_str());
    };
    const CanonicalPath result = canonicalPath("any");
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, longest);
}

TEST(CanonicalPath, IsNotMistakenForAFailureWhenErrnoIsLeftSet) {
    systemCalls().realpath = [](const char* path, char* buffer) {
        char* const resolved = real::realpath(path, buffer);
        errno = EINTR;
        return resolved;
    };
    const CanonicalPath result = canonicalPath("/");
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, "/");
}

TEST(CanonicalPath, HidesWhatAFailedResolutionLeftInTheBuffer) {
    systemCalls().realpath = [](const char*, char* buffer) -> char* {
        std::strcpy(buffer, "/half/resolved");
        errno = EACCES;
        return nullptr;
    };
    expectFailure(canonicalPath("/half/resolved/name"), EACCES);
}

}  // namespace
}  // namespace Orvanta_OvWallet
