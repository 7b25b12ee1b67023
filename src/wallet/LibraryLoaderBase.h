// Opens the OvWallet client library at run time and keeps it open exactly as long as it is needed.
//
// Theory of operation. The library is opened when the use count rises from zero to one and
// closed when it falls back to zero. The count is the number of live objects that the library
// handed out (wallets, vectors, name lists, error objects) plus calls in flight, so a function
// pointer may be used without the lock by whoever holds such an object. Every opening finds the
// pathname afresh and resolves every entry point afresh; after a closing the table keeps its old,
// useless pointers.
//
// T is the table of entry points, derived from LibraryLoaderBase_t<T>. It supplies
//     void resolveEntryPoints();
// which calls resolve() for each entry point in its order.
//
// Callers hold ProcessLock, which guards everything here. The object itself closes nothing when it
// is destroyed.
#pragma once

#include <string>

#include "support/UnboundedCounter.h"

namespace Orvanta_OvWallet::PrivateStuff {

// The three steps of the loader. Their OvWalletException says what failed, with the pathname and
// the dynamic loader's own text; where one of these is not UTF-8, the formatter's exception leaves.

// Finds and opens the library. Sets path to its pathname and handle to the dynamic loader's handle.
// Throws what ModuleLocator throws, NotInstalledException when there is no such file, and
// OvWalletException when the file cannot be loaded.
void openLibrary(std::string& path, void*& handle);

// Throws OvWalletException when closing fails.
void closeLibrary(const std::string& path, void* handle);

// The address of an entry point. Throws OvWalletException when the library has none of that name.
void* findEntryPoint(const std::string& path, void* handle, const char* name);

// The text for a loader failure: messageTemplate takes the pathname and then " because: " with the
// dynamic loader's own text, or nothing when it has none to tell. Takes that text from the loader.
// Throws what formatMessage throws.
std::string loaderMessage(const char* messageTemplate, const std::string& path);

template <typename T>
class LibraryLoaderBase_t {
  public:
    LibraryLoaderBase_t() = default;
    virtual ~LibraryLoaderBase_t() = default;
    LibraryLoaderBase_t(const LibraryLoaderBase_t&) = delete;
    LibraryLoaderBase_t& operator=(const LibraryLoaderBase_t&) = delete;

    // Adds one use; the first opens the library and resolves the table. Throws what openLibrary and
    // findEntryPoint throw, or closeLibrary when that fails after findEntryPoint did; the use count
    // is then as before, and the library closed unless closing failed.
    void load() {
        useCount_.increment();
        if (!useCount_.isOne()) {
            return;
        }
        try {
            openAndResolve();
        } catch (...) {
            useCount_.decrement();
            throw;
        }
    }

    // Drops one use; the last closes the library. Throws what closeLibrary throws; the use is
    // dropped all the same. Precondition: there is a use.
    void release() {
        useCount_.decrement();
        if (useCount_.isZero()) {
            closeLibrary(path_, handle_);
        }
    }

    const std::string& path() const { return path_; }
    const UnboundedCounter& useCount() const { return useCount_; }

  protected:
    // Looks one entry point up in the open library and stores its address in slot. The ordinal
    // names the row in the table of entry points.
    template <typename Function>
    void resolve(const char* name, [[maybe_unused]] int ordinal, Function*& slot) {
        slot = reinterpret_cast<Function*>(findEntryPoint(path_, handle_, name));
    }

  private:
    void openAndResolve() {
        openLibrary(path_, handle_);
        try {
            static_cast<T*>(this)->resolveEntryPoints();
        } catch (...) {
            // A close that fails is the worse news and takes the place of what resolving said.
            closeLibrary(path_, handle_);
            throw;
        }
    }

    std::string path_;
    void* handle_ = nullptr;
    UnboundedCounter useCount_;
};

}  // namespace Orvanta_OvWallet::PrivateStuff
