#include "sandbox/library/Accounts.h"

#include <time.h>
#include <unistd.h>

#include <array>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/SandboxDirectory.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

struct LiveHandle {
    HandleKind kind;
    std::uint64_t generation;  // of the ledger that counted it
    std::shared_ptr<void> object;
};

// The clock never goes back while a process lives, and making a handle takes longer than the one
// nanosecond that it uses up.
constexpr std::uint64_t kHandleStep = 16;

std::uint64_t firstHandle() {
    timespec now{};
    static_cast<void>(::clock_gettime(CLOCK_MONOTONIC, &now));
    const auto nanoseconds = static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U +
                             static_cast<std::uint64_t>(now.tv_nsec);
    return nanoseconds * kHandleStep;
}

// One write, so that the lines of several threads do not mix.
void complain(const std::string& what) {
    writeAll(STDERR_FILENO, "ovwallet sandbox: " + what + '\n');
}

struct Books {
    Ledger ownLedger{};
    std::optional<MappedLedger> ledgerFile;
    std::optional<std::string> directory;
    std::uint64_t handlesFrom = firstHandle();
    std::uint64_t nextHandle = handlesFrom;
    std::unordered_map<std::uint64_t, LiveHandle> handles;

    Books() {
        resetLedger(ownLedger);
        chooseLedger();
    }

    Ledger& ledger() { return ledgerFile ? ledgerFile->ledger() : ownLedger; }

    std::string currentDirectory() const {
        return directory ? *directory : directoryFromEnvironment();
    }

    void chooseLedger() {
        try {
            const std::string place = currentDirectory();
            if (!ledgerFile || !ledgerFile->isFileOf(place)) {
                ledgerFile.reset();
                ledgerFile = MappedLedger::open(place);
            }
        } catch (const Failure& failure) {
            ledgerFile.reset();
            complain(std::string("no ledger file is used: ") + failure.what());
        }
    }

    std::atomic<std::int64_t>& liveCounter(HandleKind kind) {
        return ledger().counters[static_cast<std::size_t>(kind)];
    }
};

constexpr std::array<std::string_view, 5> kKindNames = {"wallet", "locked vector", "vector",
                                                        "name list", "error object"};

// No destructor of either runs at the end of the process, when other threads may still be in a
// call.
constinit std::mutex booksMutex;
constinit Books* openedBooks = nullptr;

// Only while booksMutex is held.
Books& books() {
    if (openedBooks == nullptr) {
        openedBooks = std::make_unique<Books>().release();
    }
    return *openedBooks;
}

std::string describeMisuse(const Books& books, HandleKind kind, std::uint64_t handle,
                           std::string_view user) {
    const bool handedOut = handle >= books.handlesFrom && handle < books.nextHandle &&
                           (handle - books.handlesFrom) % kHandleStep == 0;
    const auto live = books.handles.find(handle);
    std::string text(user);
    text += " got a handle that is no live " +
            std::string(kKindNames[static_cast<std::size_t>(kind)]) + ": ";
    if (live != books.handles.end()) {
        text +=
            "it is a live " + std::string(kKindNames[static_cast<std::size_t>(live->second.kind)]);
    } else if (handedOut) {
        text += "it was freed already";
    } else {
        text += "this library, as loaded now, never handed it out";
    }
    return text;
}

}  // namespace

CallPlan planCall(EntryPoint entryPoint) {
    const std::lock_guard lock(booksMutex);
    Ledger& ledger = books().ledger();
    ++ledger.calls[indexOf(entryPoint)];
    Fault& fault = ledger.fault(entryPoint);
    return {fault.delayMicroseconds, static_cast<ThrowKind>(fault.throwKind.load()),
            takeFailure(fault)};
}

std::uint64_t addHandle(HandleKind kind, std::shared_ptr<void> object) {
    const std::lock_guard lock(booksMutex);
    Books& current = books();
    const std::uint64_t handle = current.nextHandle;
    current.handles.emplace(
        handle, LiveHandle{kind, current.ledger().generation.load(), std::move(object)});
    current.nextHandle += kHandleStep;
    ++current.liveCounter(kind);
    return handle;
}

std::shared_ptr<void> findHandle(HandleKind kind, std::uint64_t handle, std::string_view user) {
    std::string misuse;
    {
        const std::lock_guard lock(booksMutex);
        Books& current = books();
        const auto found = current.handles.find(handle);
        if (found != current.handles.end() && found->second.kind == kind) {
            return found->second.object;
        }
        ++current.ledger().counter(Counter::badUses);
        misuse = describeMisuse(current, kind, handle, user);
    }
    complain(misuse);
    return nullptr;
}

void removeHandle(HandleKind kind, std::uint64_t handle, std::string_view user) {
    std::shared_ptr<void> object;
    std::string misuse;
    {
        const std::lock_guard lock(booksMutex);
        Books& current = books();
        const auto found = current.handles.find(handle);
        if (found == current.handles.end() || found->second.kind != kind) {
            ++current.ledger().counter(Counter::badFrees);
            misuse = describeMisuse(current, kind, handle, user);
        } else {
            if (found->second.generation == current.ledger().generation) {
                --current.liveCounter(kind);
            }
            object = std::move(found->second.object);
            current.handles.erase(found);
        }
    }
    if (!misuse.empty()) {
        complain(misuse);
    }
}

std::string currentDirectory() {
    const std::lock_guard lock(booksMutex);
    return books().currentDirectory();
}

void setDirectory(std::optional<std::string> directory) {
    const std::lock_guard lock(booksMutex);
    books().directory = std::move(directory);
    books().chooseLedger();
}

void chooseLedger() {
    const std::lock_guard lock(booksMutex);
    books().chooseLedger();
}

std::optional<std::int64_t> readCounter(std::string_view name) {
    const std::lock_guard lock(booksMutex);
    return counterValue(books().ledger(), name);
}

void resetCurrentLedger() {
    const std::lock_guard lock(booksMutex);
    resetLedger(books().ledger());
}

bool failCall(EntryPoint entryPoint, std::uint64_t k, std::string_view text) {
    const std::lock_guard lock(booksMutex);
    return requestFailure(books().ledger().fault(entryPoint), k, text);
}

void delayCalls(EntryPoint entryPoint, std::uint64_t microseconds) {
    const std::lock_guard lock(booksMutex);
    books().ledger().fault(entryPoint).delayMicroseconds = microseconds;
}

void throwFromCalls(EntryPoint entryPoint, ThrowKind kind) {
    const std::lock_guard lock(booksMutex);
    books().ledger().fault(entryPoint).throwKind = static_cast<std::uint64_t>(kind);
}

void openBooks() {
    const std::lock_guard lock(booksMutex);
    ++books().ledger().counter(Counter::loads);
}

void closeBooks() {
    const std::lock_guard lock(booksMutex);
    Books& current = books();
    ++current.ledger().counter(Counter::unloads);
    if (current.handles.empty()) {
        delete std::exchange(openedBooks, nullptr);
        return;
    }
    std::array<std::size_t, kKindNames.size()> leaked{};
    for (const auto& [handle, live] : current.handles) {
        ++leaked[static_cast<std::size_t>(live.kind)];
    }
    current.ledger().counter(Counter::leaks) += static_cast<std::int64_t>(current.handles.size());
    std::string text = "unloaded with handles that were never freed:";
    for (std::size_t kind = 0; kind < leaked.size(); ++kind) {
        if (leaked[kind] != 0) {
            text += ' ' + std::string(kKindNames[kind]) + ' ' + std::to_string(leaked[kind]);
        }
    }
    complain(text);
}

}  // namespace Orvanta_OvWallet::Sandbox
