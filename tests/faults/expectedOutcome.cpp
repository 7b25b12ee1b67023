#include "faults/expectedOutcome.h"

#include <cerrno>
#include <map>
#include <stdexcept>

#include "doubles/ConnectorCalls.h"
#include "doubles/PrivateModuleDir.h"
#include "faults/WholeCall.h"
#include "support/formatMessage.h"

namespace {

struct Failure {
    const Scenario& scenario;
    std::string function;
    std::string detail;
    int how;

    std::string errnum() const { return " (errno = " + Orvanta_OvWallet::errnoText(how) + ")"; }
};

std::string clientDir() {
    return sandboxBase() + "/orvanta/client";
}

std::string library(const std::string& what) {
    return what + " \"" + clientDir() + "/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\"" +
           " library because: " + kLoaderText;
}

const std::string kNotInstalled =
    "The Orvanta Wallet software is not installed; install version 14.10 of the Orvanta Wallet "
    "software (available from https://downloads.orvanta.example/ovwallet) in order to use Orvanta "
    "Wallet.";

std::string ofReadlink(const Failure& failure) {
    const std::string directory = privateModuleDir().substr(0, privateModuleDir().size() - 1);
    const bool missing = failure.how == ENOENT;
    if (failure.detail == directory + "/ovwalletdir") {
        return cannotUse(missing ? "The ovwalletdir symbolic link is not present in \"" +
                                       directory + "\"."
                                 : "Cannot read the contents of the ovwalletdir symbolic link "
                                   "(in \"" +
                                       directory + "\")" + failure.errnum() + ".");
    }
    if (failure.detail.starts_with(directory)) {
        return cannotUse(missing ? "\"" + failure.detail + "\" does not name an existing file."
                                 : "A failure accessing \"" + failure.detail + "\" occurred" +
                                       failure.errnum() + ".");
    }
    return "";  // no command link: the package database knows
}

// Only a process that acts for another user has to know where the directory really is.
std::string ofRealpath(const Failure& failure) {
    const bool checked =
        failure.detail == clientDir() + "/ovwallet/.." || failure.detail.ends_with("ovwhelper.exe");
    return failure.scenario.actsForAnother && checked
               ? cannotUse("Cannot resolve pathname \"" + failure.detail +
                           "\" (errno =" + Orvanta_OvWallet::errnoText(failure.how) + ")")
               : "";
}

std::string ofMap(const Failure&) {
    return cannotUse(
        "Attempt to locate the current module using dl_iterate_phdr() yielded an empty pathname.");
}

std::string ofFile(const Failure& failure) {
    return failure.detail.find("/ovwallet1410/") == std::string::npos
               ? ""
               : connectorFailure(kNotInstalled);
}

std::string nothing(const Failure&) {
    return "";
}

const std::map<std::string, std::string (*)(const Failure&)> kSystemCalls{
    {"closedir", nothing},
    {"mlock", nothing},
    {"munlock", nothing},
    {"getrlimit", nothing},
    {"setrlimit", nothing},
    {"setreuid", nothing},
    {"readlink", ofReadlink},
    {"realpath", ofRealpath},
    {"open", ofMap},
    {"read", ofMap},
    {"fopen", ofFile},
    {"symlink",
     [](const Failure& failure) {
         return connectorFailure("An attempt to create a symbolic link named " +
                                 privateModuleDir() + "ovwalletdir failed" + failure.errnum());
     }},
    {"stat",
     [](const Failure& failure) {
         return failure.detail == sandboxBase() ? connectorFailure(kNotInstalled) : "";
     }},
    {"lstat",
     [](const Failure& failure) {
         return cannotUse("Cannot get file status for \"" + failure.detail +
                          "\" (errno =" + Orvanta_OvWallet::errnoText(failure.how) + ")");
     }},
    {"access",
     [](const Failure& failure) {
         return cannotUse("Orvanta Wallet 14.10 is not installed (cannot access \"" +
                          failure.detail + "\")");
     }},
    {"opendir",
     [](const Failure& failure) {
         return connectorFailure("Cannot open directory \"" + failure.detail + "\"" +
                                 failure.errnum());
     }},
    {"readdir",
     [](const Failure& failure) {
         return connectorFailure("An attempt to read a directory failed" + failure.errnum());
     }},
    {"getcwd",
     [](const Failure& failure) {
         return cannotUse("Cannot determine the pathname of the current working directory" +
                          failure.errnum() + ".");
     }},
    {"dlopen", [](const Failure&) { return cannotUse(library("Cannot load the")); }},
    {"dlsym",
     [](const Failure& failure) {
         return cannotUse(library("Cannot find the \"" + failure.detail + "\" function in the"));
     }},
    {"dlclose", [](const Failure&) { return connectorFailure(library("Cannot unload the")); }},
    {"sysconf",
     [](const Failure& failure) {
         return connectorFailure("An attempt to determine the system page size failed" +
                                 (failure.how == 0 ? "" : failure.errnum()) + ".");
     }},
};

std::string ofJni(const Failure& failure) {
    if (failure.function == "GetStringUTFChars") {
        return connectorFailure("Cannot retrieve the pathname to the private temporary directory.");
    }
    if (failure.function == "NewByteArray") {
        return connectorFailure("Cannot allocate Java byte array.");
    }
    if (failure.function.starts_with("Call")) {
        return "java/lang/RuntimeException: the Java method failed";
    }
    if (failure.function.ends_with("ByteArrayRegion")) {
        return "java/lang/ArrayIndexOutOfBoundsException: the region failed";
    }
    if (failure.function == "FindClass") {
        return "java/lang/NoClassDefFoundError: " + failure.detail;
    }
    const std::size_t name = failure.detail.find(", ") + 2;
    const bool isField = failure.function.ends_with("FieldID");
    return (isField ? "java/lang/NoSuchFieldError: " : "java/lang/NoSuchMethodError: ") +
           failure.detail.substr(name, failure.detail.rfind(", ") - name);
}

// The calls that report errors turn what is thrown into one; what others throw stays as it is.
std::string ofWallet(const Failure& failure) {
    if (failure.how == kThrowsNumber) {
        return kNumberPassed;
    }
    const bool opens = failure.function == "OvWalletFactory_generateOvWalletV1";
    const bool fetches = failure.function == "OvWallet_getStringValue";
    if (failure.how == kGivesNothing) {
        return cannotGetValue(opens ? "The wallet is null." : "no value was returned");
    }
    return opens     ? cannotUse(kWalletText)
           : fetches ? cannotGetValue(kWalletText)
                     : connectorFailure(kWalletText);
}

std::string functionOf(const std::string& call) {
    return call.substr(0, call.find('('));
}

}  // namespace

std::vector<int> waysToFail(const std::string& call) {
    const std::string function = functionOf(call);
    if (function == "OvWallet_getStringValue" || function == "OvWalletFactory_generateOvWalletV1") {
        return {kReturnsError, kThrowsException, kThrowsNumber, kGivesNothing};
    }
    if (function.starts_with("OvWallet")) {
        return {kThrowsException, kThrowsNumber};
    }
    if (!kSystemCalls.contains(function)) {
        const bool isSilentToo = function == "GetStringUTFChars" || function == "NewByteArray";
        const int silent = static_cast<int>(StrictJni::Failure::silent);
        return isSilentToo ? std::vector{0, silent} : std::vector{0};
    }
    if (function == "readlink") {
        // EINVAL says that there is no link, which is a failure only of the one that must be there.
        return call.ends_with("/ovwalletdir)") ? std::vector{EIO, ENOENT, EINVAL}
                                               : std::vector{EIO, ENOENT};
    }
    return function == "sysconf" ? std::vector{0, EINVAL} : std::vector{EACCES};
}

std::string outcomeOf(const Scenario& scenario, const std::string& call, int how) {
    const std::string function = functionOf(call);
    const std::size_t begin = function.size() + 1;
    const Failure failure{scenario, function, call.substr(begin, call.size() - begin - 1), how};
    if (function.starts_with("OvWallet")) {
        return ofWallet(failure);
    }
    const auto found = kSystemCalls.find(function);
    return found == kSystemCalls.end() ? ofJni(failure) : found->second(failure);
}

std::set<std::string> outcomesAnywhere(const std::string& message) {
    // It stands for an error that cannot be kept.
    constexpr const char* kNoMemoryForAnError = "An out of memory condition exists.";
    return {connectorFailure(message), cannotUse(message), cannotGetValue(message),
            cannotUse(kNoMemoryForAnError), cannotGetValue(kNoMemoryForAnError)};
}

std::string connectorFailure(const std::string& message) {
    return connectorException(message);
}
std::string cannotUse(const std::string& message) {
    return connectorFailure("Attempt to use Orvanta Wallet failed because: " + message);
}
std::string cannotGetValue(const std::string& message) {
    return connectorFailure("Attempt to get value from Orvanta Wallet failed because: " + message);
}
