// One wallet: the strings as they were when it was made, and the user's password and saved key.
//
// The strings are read once, in the constructor, so that getting a value costs no file access. What
// a wallet adds or deletes goes to the file at once and is seen by itself and by wallets made
// later.
//
// The password and the saved key are kept, and asked about, so that every entry point has something
// to do; nothing is protected by them. They lie in the files "password" and "savedkey" of the
// directory, percent-encoded, one line each.
//
// Any thread may use a wallet; a mutex of its own guards it. Every function throws Failure, with a
// wallet that was shut down always.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "sandbox/store/StringFile.h"

namespace Orvanta_OvWallet::Sandbox {

class WalletObject {
  public:
    explicit WalletObject(const std::string& directory);

    const std::string& directory() const { return directory_; }

    std::string value(const std::string& name) const;
    std::vector<std::string> names() const;
    void add(const std::string& name, const std::string& value);
    void remove(const std::string& name);

    bool isPasswordEstablished() const;
    bool isPasswordSupplied() const;
    void supplyPassword(const std::string& password);
    // Needs the old one to have been supplied, when there is one.
    void changePassword(const std::string& password);
    void resetPassword(const std::string& password);
    void forgetPassword();

    bool isSavedKeyEstablished() const;
    void changeSavedKey(const std::string& key);

    // Forgets everything that the object holds; the files stay.
    void shutDown();
    // For calls that need the wallet to be usable and nothing of what it holds.
    void requireUsable() const;

  private:
    void requireNotShutDown() const;  // only while mutex_ is held

    mutable std::mutex mutex_;
    const std::string directory_;
    Strings strings_;
    bool passwordSupplied_ = false;
    bool shutDown_ = false;
};

}  // namespace Orvanta_OvWallet::Sandbox
