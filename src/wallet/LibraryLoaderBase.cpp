#include "wallet/LibraryLoaderBase.h"

#include <dlfcn.h>
#include <unistd.h>
#include <unwind.h>

#include "session/ModuleLocator.h"
#include "session/pathnames.h"
#include "session/walletFiles.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet::PrivateStuff {
namespace {

constexpr const char* kCannotLoad = "Cannot load the \"%s\" library%s";
constexpr const char* kCannotUnload = "Cannot unload the \"%s\" library%s";

[[noreturn]] void throwCannotLoad(const std::string& path) {
    // The loader's text is taken first: what follows may change it.
    const std::string message = loaderMessage(kCannotLoad, path);
    if (::access(path.c_str(), F_OK) != 0) {
        throwNotInstalled(path);
    }
    throw OvWalletException(message);
}

// A client library with an unwinder of its own walks our frames, too, and on our side that ends in
// libgcc_s. There the process is aborted unless libgcc_s has set its tables up, which it does when
// it is first asked to walk. So it is asked here, once; the walk takes no step.
void setUpUnwinder() {
    [[maybe_unused]] static const _Unwind_Reason_Code asked = ::_Unwind_Backtrace(
        [](_Unwind_Context* /*frame*/, void* /*unused*/) { return _URC_END_OF_STACK; }, nullptr);
}

}  // namespace

void openLibrary(std::string& path, void*& handle) {
    path = canonicalPath(clientFile(ModuleLocator(), kClientLibrary)).path;
    setUpUnwinder();
    handle = ::dlopen(path.c_str(), RTLD_LAZY);
    if (handle == nullptr) {
        throwCannotLoad(path);
    }
}

void closeLibrary(const std::string& path, void* handle) {
    if (::dlclose(handle) != 0) {
        throw OvWalletException(loaderMessage(kCannotUnload, path));
    }
}

void* findEntryPoint(const std::string& path, void* handle, const char* name) {
    void* const address = ::dlsym(handle, name);
    if (address == nullptr) {
        const std::string messageTemplate =
            std::string("Cannot find the \"") + name + "\" function in the \"%s\" library%s";
        throw OvWalletException(loaderMessage(messageTemplate.c_str(), path));
    }
    return address;
}

std::string loaderMessage(const char* messageTemplate, const std::string& path) {
    const char* const text = ::dlerror();
    const std::string suffix = text == nullptr ? "" : std::string(" because: ") + text;
    return formatMessage(messageTemplate, path.c_str(), suffix.c_str());
}

}  // namespace Orvanta_OvWallet::PrivateStuff
