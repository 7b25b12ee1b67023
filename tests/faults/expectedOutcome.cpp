#include "faults/expectedOutcome.h"

#include <cerrno>
#include <stdexcept>

#include "doubles/ConnectorCalls.h"
#include "doubles/PrivateModuleDir.h"
#include "support/formatMessage.h"

using Orvanta_OvWallet::errnoText;

namespace {

std::string errnoPart(int errnum) {
    return " (errno = " + errnoText(errnum) + ")";
}

std::string clientDir() {
    return sandboxBase() + "/orvanta/client";
}

std::string libraryPath() {
    return clientDir() + "/14.10/ovwallet/redhatlinux-x8664/libovwallet.so";
}

std::string moduleDir() {
    const std::string directory = privateModuleDir();
    return directory.substr(0, directory.size() - 1);
}

const std::string kNotInstalled = connectorFailure(
    "The Orvanta Wallet software is not installed; install version 14.10 of the Orvanta Wallet "
    "software (available from https://downloads.orvanta.example/ovwallet) in order to use Orvanta "
    "Wallet.");
const std::string kNoModule = cannotUse(
    "Attempt to locate the current module using dl_iterate_phdr() yielded an empty pathname.");
constexpr const char* kLoaderText = "\" library because: the loader said so";

std::string outcomeOfReadlink(const std::string& path, int errnum) {
    if (path == privateModuleDir() + "ovwalletdir") {
        return errnum == ENOENT
                   ? cannotUse("The ovwalletdir symbolic link is not present in \"" + moduleDir() +
                               "\".")
                   : cannotUse("Cannot read the contents of the ovwalletdir symbolic link (in \"" +
                               moduleDir() + "\")" + errnoPart(errnum) + ".");
    }
    if (path.starts_with(privateModuleDir())) {
        return errnum == ENOENT ? cannotUse("\"" + path + "\" does not name an existing file.")
                                : cannotUse("A failure accessing \"" + path + "\" occurred" +
                                            errnoPart(errnum) + ".");
    }
    return "";  // no command link: the package database knows
}

// Only a process that acts for another user has to know where the directory really is.
std::string outcomeOfRealpath(const Scenario& scenario, const std::string& path, int errnum) {
    const bool checked = path == clientDir() + "/ovwallet/.." || path.ends_with("ovwhelper.exe");
    return scenario.actsForAnother && checked ? cannotUse("Cannot resolve pathname \"" + path +
                                                          "\" (errno =" + errnoText(errnum) + ")")
                                              : "";
}

std::string outcomeOfFile(const std::string& path) {
    if (path == "/proc/self/maps") {
        return kNoModule;
    }
    return path.find("/ovwallet1410/") == std::string::npos ? "" : kNotInstalled;
}

std::string outcomeOfFileCall(const std::string& name, const std::string& path, int errnum) {
    if (name == "symlink") {
        return connectorFailure("An attempt to create a symbolic link named " + path + " failed" +
                                errnoPart(errnum));
    }
    if (name == "stat") {
        return path == sandboxBase() ? kNotInstalled : "";
    }
    if (name == "lstat") {
        return cannotUse("Cannot get file status for \"" + path +
                         "\" (errno =" + errnoText(errnum) + ")");
    }
    if (name == "access") {
        return cannotUse("Orvanta Wallet 14.10 is not installed (cannot access \"" + path + "\")");
    }
    if (name == "opendir") {
        return connectorFailure("Cannot open directory \"" + path + "\"" + errnoPart(errnum));
    }
    if (name == "readdir") {
        return connectorFailure("An attempt to read a directory failed" + errnoPart(errnum));
    }
    if (name == "getcwd") {
        return cannotUse("Cannot determine the pathname of the current working directory" +
                         errnoPart(errnum) + ".");
    }
    throw std::logic_error("no outcome is known for " + name);
}

}  // namespace

std::string connectorFailure(const std::string& message) {
    return connectorException(message);
}
std::string cannotUse(const std::string& message) {
    return connectorFailure("Attempt to use Orvanta Wallet failed because: " + message);
}
std::string cannotGetValue(const std::string& message) {
    return connectorFailure("Attempt to get value from Orvanta Wallet failed because: " + message);
}

std::set<std::string> outcomesAnywhere(const std::string& message) {
    return {connectorFailure(message), cannotUse(message), cannotGetValue(message), ""};
}

std::string outcomeOfSystemCall(const Scenario& scenario, const std::string& call, int errnum) {
    const std::size_t parenthesis = call.find('(');
    const std::string name = call.substr(0, parenthesis);
    const std::string detail = call.substr(parenthesis + 1, call.size() - parenthesis - 2);
    for (const char* const silent :
         {"closedir", "mlock", "munlock", "getrlimit", "setrlimit", "setreuid"}) {
        if (name == silent) {
            return "";
        }
    }
    if (name == "readlink") {
        return outcomeOfReadlink(detail, errnum);
    }
    if (name == "realpath") {
        return outcomeOfRealpath(scenario, detail, errnum);
    }
    if (name == "open" || name == "read" || name == "fopen") {
        return outcomeOfFile(detail);
    }
    if (name == "dlopen") {
        return cannotUse("Cannot load the \"" + libraryPath() + kLoaderText);
    }
    if (name == "dlsym") {
        return cannotUse("Cannot find the \"" + detail + "\" function in the \"" + libraryPath() +
                         kLoaderText);
    }
    if (name == "dlclose") {
        return connectorFailure("Cannot unload the \"" + libraryPath() + kLoaderText);
    }
    if (name == "sysconf") {
        return connectorFailure("An attempt to determine the system page size failed" +
                                (errnum == 0 ? "" : errnoPart(errnum)) + ".");
    }
    return outcomeOfFileCall(name, detail, errnum);
}

std::string outcomeOfJniCall(const std::string& call, bool withException) {
    if (call.starts_with("GetStringUTFChars")) {
        return connectorFailure("Cannot retrieve the pathname to the private temporary directory.");
    }
    if (call.starts_with("NewByteArray")) {
        return connectorFailure("Cannot allocate Java byte array.");
    }
    if (!withException) {
        throw std::logic_error("no outcome is known for a silent failure of " + call);
    }
    if (call.starts_with("Call")) {
        return "java/lang/RuntimeException: the Java method failed";
    }
    if (call.find("ByteArrayRegion") != std::string::npos) {
        return "java/lang/ArrayIndexOutOfBoundsException: the region failed";
    }
    if (call.starts_with("FindClass(")) {
        const std::size_t name = call.find('(') + 1;
        return "java/lang/NoClassDefFoundError: " + call.substr(name, call.size() - name - 1);
    }
    const std::size_t name = call.find(", ") + 2;
    const bool isField = call.find("FieldID") != std::string::npos;
    return (isField ? "java/lang/NoSuchFieldError: " : "java/lang/NoSuchMethodError: ") +
           call.substr(name, call.rfind(", ") - name);
}
