// The file "ledger" in the wallet's directory: a Ledger that several processes share, and that
// outlives the unloading of the library.
//
// It is used only when it exists. Making it is the user's decision ("ovwallet ledger start").
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "sandbox/ledger/Ledger.h"

namespace Orvanta_OvWallet::Sandbox {

// Owner of one mapping of the file. The ledger stays valid as long as its owner, even when the file
// is removed meanwhile. Moving it keeps the address.
class MappedLedger {
  public:
    // Nothing when the directory has no such file. Throws Failure when there is one that cannot be
    // mapped or is something else.
    static std::optional<MappedLedger> open(const std::string& directory);

    MappedLedger(MappedLedger&& other) noexcept;
    MappedLedger& operator=(MappedLedger&& other) noexcept;
    MappedLedger(const MappedLedger&) = delete;
    MappedLedger& operator=(const MappedLedger&) = delete;
    ~MappedLedger();

    Ledger& ledger() const { return *ledger_; }

    // Whether the directory's file is still the one that is mapped here.
    bool isFileOf(const std::string& directory) const;

  private:
    MappedLedger(Ledger* ledger, dev_t device, ino_t inode)
        : ledger_(ledger), device_(device), inode_(inode) {}

    Ledger* ledger_;
    dev_t device_;
    ino_t inode_;
};

// Makes the file, and the directory when need be; resets the ledger when there is one already, so
// that the processes that have it mapped go on counting in it.
void startLedgerFile(const std::string& directory);

// Removes the file; false when there was none.
bool stopLedgerFile(const std::string& directory);

}  // namespace Orvanta_OvWallet::Sandbox
