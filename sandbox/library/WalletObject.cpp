#include "sandbox/library/WalletObject.h"

#include <optional>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/PercentCode.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

constexpr const char* kPasswordFile = "/password";
constexpr const char* kSavedKeyFile = "/savedkey";

std::optional<std::string> readSecret(const std::string& pathname) {
    std::optional<std::string> code = readFile(pathname);
    if (!code) {
        return std::nullopt;
    }
    if (code->ends_with('\n')) {
        code->pop_back();
    }
    std::optional<std::string> secret = percentDecode(*code);
    if (!secret) {
        throw Failure(FailureCode::malformedFile,
                      "The file \"" + pathname + "\" is malformed: it is not percent-encoded.");
    }
    return secret;
}

void writeSecret(const std::string& directory, const char* file, const std::string& secret,
                 const char* emptyMessage) {
    if (secret.empty()) {
        throw Failure(FailureCode::badArgument, emptyMessage);
    }
    makePrivateDirectory(directory);
    replaceFile(directory + file, percentEncode(secret) + '\n');
}

void writePassword(const std::string& directory, const std::string& password) {
    writeSecret(directory, kPasswordFile, password, "A password must not be empty.");
}

}  // namespace

WalletObject::WalletObject(const std::string& directory)
    : directory_(directory), strings_(readStrings(directory)) {}

std::string WalletObject::value(const std::string& name) const {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    return stringNamed(strings_, name);
}

std::vector<std::string> WalletObject::names() const {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    std::vector<std::string> names;
    names.reserve(strings_.size());
    for (const auto& [name, value] : strings_) {
        names.push_back(name);
    }
    return names;
}

void WalletObject::add(const std::string& name, const std::string& value) {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    changeStrings(directory_, [&](Strings& strings) { putString(strings, name, value); });
    putString(strings_, name, value);
}

void WalletObject::remove(const std::string& name) {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    changeStrings(directory_, [&](Strings& strings) { deleteString(strings, name); });
    strings_.erase(name);
}

bool WalletObject::isPasswordEstablished() const {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    return readSecret(directory_ + kPasswordFile).has_value();
}

bool WalletObject::isPasswordSupplied() const {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    return passwordSupplied_;
}

void WalletObject::supplyPassword(const std::string& password) {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    const std::optional<std::string> established = readSecret(directory_ + kPasswordFile);
    if (!established) {
        throw Failure(FailureCode::password, "No password has been established.");
    }
    if (password != *established) {
        throw Failure(FailureCode::password, "The password is not the right one.");
    }
    passwordSupplied_ = true;
}

void WalletObject::changePassword(const std::string& password) {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    if (!passwordSupplied_ && readSecret(directory_ + kPasswordFile)) {
        throw Failure(FailureCode::password, "The present password has not been supplied.");
    }
    writePassword(directory_, password);
    passwordSupplied_ = true;
}

void WalletObject::resetPassword(const std::string& password) {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    writePassword(directory_, password);
    passwordSupplied_ = true;
}

void WalletObject::forgetPassword() {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    passwordSupplied_ = false;
}

bool WalletObject::isSavedKeyEstablished() const {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    return readSecret(directory_ + kSavedKeyFile).has_value();
}

void WalletObject::changeSavedKey(const std::string& key) {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    writeSecret(directory_, kSavedKeyFile, key, "A saved key must not be empty.");
}

void WalletObject::shutDown() {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
    strings_.clear();
    passwordSupplied_ = false;
    shutDown_ = true;
}

void WalletObject::requireUsable() const {
    const std::lock_guard lock(mutex_);
    requireNotShutDown();
}

void WalletObject::requireNotShutDown() const {
    if (shutDown_) {
        throw Failure(FailureCode::badArgument, "The wallet has been shut down.");
    }
}

}  // namespace Orvanta_OvWallet::Sandbox
