#include "sandbox/ledger/LedgerFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

std::string ledgerPathname(const std::string& directory) {
    return directory + "/ledger";
}

[[noreturn]] void throwNotALedger(const std::string& pathname) {
    throw Failure(FailureCode::malformedFile,
                  "The file \"" + pathname +
                      "\" is not a ledger of this version: remove it and start a new one.");
}

}  // namespace

std::optional<MappedLedger> MappedLedger::open(const std::string& directory) {
    const std::string pathname = ledgerPathname(directory);
    const FileDescriptor file(::open(pathname.c_str(), O_RDWR | O_CLOEXEC));
    if (!file.isOpen()) {
        const int openError = errno;
        if (openError == ENOENT) {
            return std::nullopt;
        }
        throwFileTrouble("open", pathname, openError);
    }
    struct stat status{};
    if (::fstat(file.number(), &status) != 0) {
        throwFileTrouble("read", pathname, errno);
    }
    if (status.st_size != static_cast<off_t>(sizeof(Ledger))) {
        throwNotALedger(pathname);
    }
    void* const address =
        ::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED, file.number(), 0);
    if (address == MAP_FAILED) {
        throwFileTrouble("map", pathname, errno);
    }
    MappedLedger mapped(static_cast<Ledger*>(address), status.st_dev, status.st_ino);
    if (!hasMagic(mapped.ledger())) {
        throwNotALedger(pathname);
    }
    return mapped;
}

MappedLedger::MappedLedger(MappedLedger&& other) noexcept
    : ledger_(std::exchange(other.ledger_, nullptr)),
      device_(other.device_),
      inode_(other.inode_) {}

MappedLedger& MappedLedger::operator=(MappedLedger&& other) noexcept {
    std::swap(ledger_, other.ledger_);
    std::swap(device_, other.device_);
    std::swap(inode_, other.inode_);
    return *this;
}

MappedLedger::~MappedLedger() {
    if (ledger_ != nullptr) {
        ::munmap(ledger_, sizeof(Ledger));
    }
}

bool MappedLedger::isFileOf(const std::string& directory) const {
    struct stat status{};
    return ::stat(ledgerPathname(directory).c_str(), &status) == 0 && status.st_dev == device_ &&
           status.st_ino == inode_;
}

void startLedgerFile(const std::string& directory) {
    makePrivateDirectory(directory);
    const FileDescriptor lock = lockDirectory(directory);
    if (const std::optional<MappedLedger> present = MappedLedger::open(directory)) {
        resetLedger(present->ledger());
        return;
    }
    Ledger fresh{};
    resetLedger(fresh);
    replaceFile(ledgerPathname(directory),
                std::string_view(reinterpret_cast<const char*>(&fresh), sizeof(fresh)));
}

bool stopLedgerFile(const std::string& directory) {
    return removeFile(ledgerPathname(directory));
}

}  // namespace Orvanta_OvWallet::Sandbox
