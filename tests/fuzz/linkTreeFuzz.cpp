// Link reading and the search for the installation over a small made-up tree.
//
// The tree lives in memory: readlink, realpath and the like are replaced. Whatever it looks like,
// the search ends in a client directory, a message or an exception.

#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include "doubles/SystemCalls.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "session/InstallationLocator.h"
#include "session/installationSearch.h"
#include "support/OvWalletException.h"

using namespace Orvanta_OvWallet;

namespace {

Reached located("a client directory");
Reached message("a message of the locator");
Reached thrown("an exception");
Reached base("a base directory through the command link");
Reached longLink("a link longer than the first buffer");
Reached followed("a link followed");

struct Tree {
    std::map<std::string, std::string> links;  // an errno as text of one byte below 0x20
    std::uint8_t resolveErrnum = 0;
    int readsLeft = 0;
};

Tree tree;

int failWith(int errnum) {
    errno = errnum;
    return -1;
}

// Cycles of links would keep the walk going for ever, as is meant; the tree ends them.
ssize_t readLink(const char* path, char* buffer, std::size_t size) {
    if (tree.readsLeft-- <= 0) {
        return failWith(ENOENT);
    }
    const auto link = tree.links.find(path);
    if (link == tree.links.end()) {
        return failWith(std::strlen(path) % 3 == 0 ? ENOENT : EINVAL);
    }
    const std::string& text = link->second;
    if (text.size() == 1 && text[0] != '\0' && text[0] < 0x20) {
        return failWith(text[0]);
    }
    if (text.size() >= size) {
        ++longLink;
    }
    ++followed;
    const std::size_t length = std::min(size, text.size());
    std::memcpy(buffer, text.data(), length);
    return static_cast<ssize_t>(length);
}

char* resolve(const char* path, char* buffer) {
    if (tree.resolveErrnum != 0 || std::strlen(path) > 4096) {
        errno = tree.resolveErrnum == 0 ? ENAMETOOLONG : tree.resolveErrnum;
        return nullptr;
    }
    return std::strcpy(buffer, path);
}

// The made-up tree takes the place of the real one while this lives; the fuzzer needs the real one.
struct TreeInPlace {
    TreeInPlace() {
        systemCalls().readlink = readLink;
        systemCalls().realpath = resolve;
        systemCalls().opendir = [](const char*) {
            errno = ENOENT;
            return static_cast<DIR*>(nullptr);
        };
        systemCalls().getenv = [](const char*) {
            static char path[] = "/a::/b";
            return path;
        };
    }
    ~TreeInPlace() {
        systemCalls().readlink = nullptr;
        systemCalls().realpath = nullptr;
        systemCalls().opendir = nullptr;
        systemCalls().getenv = nullptr;
    }
    TreeInPlace(const TreeInPlace&) = delete;
    TreeInPlace& operator=(const TreeInPlace&) = delete;
};

std::string pathnameFor(std::uint8_t choice) {
    constexpr const char* kPathnames[] = {"/m/lib.so",         "lib.so",    "/a/lib.so",
                                          "/lib.so",           "/b/lib.so", "/m/ovwalletdir",
                                          "/x/ovwalletdir",    "m/lib.so",  "ovwalletdir",
                                          "/usr/bin/ovwallet", "/x/y",      "m/ovwalletdir"};
    return kPathnames[choice % std::size(kPathnames)];
}

std::string textFor(FuzzInput& input) {
    const std::uint8_t kind = input.byte();
    if (kind < 0x60) {
        return pathnameFor(kind);
    }
    if (kind < 0x70) {
        return std::string(4090 + kind % 16, 'x');
    }
    return input.text(kind % 16);
}

void locate(const std::string& moduleName) {
    std::string clientDir;
    try {
        const std::string text = InstallationLocator(moduleName, clientDir);
        ++(text.empty() ? located : message);
        REQUIRE(!text.empty() || !clientDir.empty());
    } catch (const OvWalletException&) {
        ++thrown;
    }
}

void search() {
    try {
        REQUIRE(!findInstallation(kCommandLink, kPackageDatabase).empty());
        ++base;
    } catch (const std::exception&) {
        ++thrown;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    tree = {};
    tree.readsLeft = 64;
    const std::uint8_t kind = input.byte();
    tree.resolveErrnum = (kind & 1) != 0 ? ENOENT : 0;
    const std::string moduleName = pathnameFor(input.byte());
    while (!input.exhausted()) {
        const std::string from = pathnameFor(input.byte());
        tree.links[from] = textFor(input);
    }
    const TreeInPlace inPlace;
    if ((kind & 2) != 0) {
        search();
    } else {
        locate(moduleName);
    }
    return 0;
}
