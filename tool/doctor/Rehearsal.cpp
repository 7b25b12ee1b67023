#include "tool/doctor/Rehearsal.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <set>
#include <vector>

#include "session/DirectoryScanner.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"
#include "tool/doctor/Child.h"
#include "tool/doctor/JobTable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr const char* kEntryPoint =
    "Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions";

class File {
  public:
    File(const std::string& pathname, int flags)
        : descriptor_(::open(pathname.c_str(), flags | O_CLOEXEC, S_IRWXU)) {
        if (descriptor_ < 0) {
            throw OvWalletException("Cannot open " + pathname + ": " + errnoText(errno) + ".");
        }
    }
    ~File() { ::close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int get() const { return descriptor_; }

  private:
    int descriptor_;
};

void copy(const std::string& from, const std::string& to) {
    constexpr std::size_t kStep = 65536;
    const File source(from, O_RDONLY);
    const File target(to, O_WRONLY | O_CREAT | O_EXCL);
    std::vector<char> buffer(kStep);
    for (;;) {
        const ssize_t length = ::read(source.get(), buffer.data(), buffer.size());
        if (length == 0) {
            return;
        }
        if (length < 0 ||
            ::write(target.get(), buffer.data(), static_cast<std::size_t>(length)) != length) {
            throw OvWalletException("Cannot copy " + from + ": " + errnoText(errno) + ".");
        }
    }
}

void callEntryPoint(const ChildReport& report, const PrivateDirectory& directory) {
    void* const handle = ::dlopen(directory.library().c_str(), RTLD_LAZY);
    if (handle == nullptr) {
        report.put("link error", ::dlerror());
        return;
    }
    void* const address = ::dlsym(handle, kEntryPoint);
    if (address == nullptr) {
        report.put("link error", ::dlerror());
        return;
    }
    const Thrown thrown =
        callWithEmptyJob(reinterpret_cast<PerformSubstitutions>(address), directory.name());
    report.put("class", thrown.className);
    report.put("message", thrown.message);
}

}  // namespace

PrivateDirectory::PrivateDirectory(const std::string& temporaryDirectory,
                                   const std::string& library)
    : name_(temporaryDirectory + "/walletcaller-XXXXXX") {
    if (::mkdtemp(name_.data()) == nullptr) {
        throw OvWalletException("Cannot make a directory in " + temporaryDirectory + ": " +
                                errnoText(errno) + ".");
    }
    name_ += '/';
    try {
        copy(library, this->library());
    } catch (...) {
        remove();
        throw;
    }
}

PrivateDirectory::~PrivateDirectory() {
    remove();
}

// Only files and links are ever made in it.
void PrivateDirectory::remove() const {
    try {
        std::set<std::string> names;
        DirectoryScanner(names, name_);
        for (const std::string& name : names) {
            ::unlink((name_ + name).c_str());
        }
    } catch (const std::exception&) {
        return;
    }
    ::rmdir(name_.c_str());
}

Verdict rehearse(const PrivateDirectory& directory, int timeoutSeconds) {
    const ChildResult child =
        runInChild([&directory](const ChildReport& report) { callEntryPoint(report, directory); },
                   timeoutSeconds);
    if (child.has("link error")) {
        return {Outcome::kException,
                "java.lang.UnsatisfiedLinkError",
                directory.library() + ": " + child.values.at("link error"),
                true,
                {},
                {}};
    }
    if (child.end == ChildResult::End::kTimedOut) {
        return {Outcome::kUnknown,        {}, {}, false, "The call did not come to an end in time.",
                "Try a longer --timeout."};
    }
    if (!child.has("message")) {
        return {Outcome::kEnds,
                {},
                {},
                false,
                "The call ended the whole process.",
                "Ask the makers of the OvWallet software."};
    }
    const std::string& thrown = child.values.at("class");
    return {thrown.empty() ? Outcome::kReturns : Outcome::kException,
            thrown,
            child.values.at("message"),
            true,
            {},
            {}};
}

}  // namespace Orvanta_OvWallet::Tool
