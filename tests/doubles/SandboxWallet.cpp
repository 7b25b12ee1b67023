#include "doubles/SandboxWallet.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <stdexcept>

#include "doubles/FailingHeap.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"

namespace {

constexpr const char* kDirectory = "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/";

template <typename Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(real::dlsym(library, name));
    if (function == nullptr) {
        throw std::runtime_error(std::string("the sandbox wallet lacks ") + name);
    }
}

// A byte other than those that stand for themselves is "%" and two upper-case digits.
std::string percentEncoded(const std::string& text) {
    constexpr const char* kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string code;
    for (const char byte : text) {
        if (byte != '\0' && std::strchr(kPlain, byte) != nullptr) {
            code += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            code += {'%', kDigits[value / 16], kDigits[value % 16]};
        }
    }
    return code;
}

ssize_t readSandboxLink(const char* pathname, char* buffer, std::size_t size) {
    const FailingHeap::Pause pause;
    if (std::strcmp(pathname, "/usr/bin/ovwallet") != 0) {
        return real::readlink(pathname, buffer, size);
    }
    const std::string target = sandboxBase() + kDirectory + "ovwallet";
    return static_cast<ssize_t>(target.copy(buffer, size));
}

}  // namespace

SandboxWallet::SandboxWallet()
    : library_(real::dlopen((sandboxBase() + kDirectory + "libovwallet.so").c_str(), RTLD_NOW)) {
    if (library_ == nullptr) {
        throw std::runtime_error(real::dlerror());
    }
    find(library_, "OvWalletSandbox_counter", counter_);
    decltype(&Orvanta_OvWallet::OvWalletSandbox_setHome) setHome = nullptr;
    find(library_, "OvWalletSandbox_setHome", setHome);
    setHome(directory_.pathname().c_str());
    writeFile(directory_ / "strings", "");
    writeFile(directory_ / "journal", "");
}

SandboxWallet::~SandboxWallet() {
    real::dlclose(library_);
}

void SandboxWallet::add(const std::string& name, const std::string& value) {
    std::ofstream file(directory_ / "strings", std::ios::app);
    file << percentEncoded(name) << '\t' << percentEncoded(value) << '\n';
}

std::vector<std::string> SandboxWallet::takeAsked() {
    std::vector<std::string> names;
    std::ifstream file(directory_ / "journal");
    for (std::string line; std::getline(file, line);) {
        names.push_back(line.substr(std::strlen("get ")));
    }
    writeFile(directory_ / "journal", "");
    return names;
}

void SandboxWallet::failCall(const std::string& entry, std::uint64_t k, const std::string& text) {
    decltype(&Orvanta_OvWallet::OvWalletSandbox_failCall) fail = nullptr;
    find(library_, "OvWalletSandbox_failCall", fail);
    if (fail(entry.c_str(), k, text.c_str()) != 0) {
        throw std::runtime_error("cannot fail " + entry);
    }
}

void SandboxWallet::throwFromCalls(const std::string& entry, std::uint32_t kind) {
    decltype(&Orvanta_OvWallet::OvWalletSandbox_throwFromCalls) throwFrom = nullptr;
    find(library_, "OvWalletSandbox_throwFromCalls", throwFrom);
    if (throwFrom(entry.c_str(), kind) != 0) {
        throw std::runtime_error("cannot throw from " + entry);
    }
}

void SandboxWallet::redirectInstallation() {
    systemCalls().readlink = readSandboxLink;
}
