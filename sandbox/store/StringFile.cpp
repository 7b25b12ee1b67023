#include "sandbox/store/StringFile.h"

#include <cstddef>
#include <optional>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/PercentCode.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

std::string stringsPathname(const std::string& directory) {
    return directory + "/strings";
}

[[noreturn]] void throwMalformed(const std::string& pathname, std::size_t lineNumber,
                                 const std::string& reason) {
    throw Failure(FailureCode::malformedFile, "The file \"" + pathname + "\" is malformed: line " +
                                                  std::to_string(lineNumber) + " " + reason + ".");
}

[[noreturn]] void throwNoSuchString(const std::string& name) {
    throw Failure(FailureCode::noSuchString,
                  "There is no string named \"" + name + "\" in the wallet.", name);
}

void parseLine(std::string_view line, std::size_t lineNumber, const std::string& pathname,
               Strings& strings) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos) {
        throwMalformed(pathname, lineNumber, "has no tab");
    }
    const std::optional<std::string> name = percentDecode(line.substr(0, tab));
    if (!name) {
        throwMalformed(pathname, lineNumber, "has a name that is not percent-encoded");
    }
    if (name->empty()) {
        throwMalformed(pathname, lineNumber, "has an empty name");
    }
    const std::optional<std::string> value = percentDecode(line.substr(tab + 1));
    if (!value) {
        throwMalformed(pathname, lineNumber, "has a value that is not percent-encoded");
    }
    if (!strings.emplace(*name, *value).second) {
        throwMalformed(pathname, lineNumber, "has a name that stands on an earlier line");
    }
}

}  // namespace

std::string formatStrings(const Strings& strings) {
    std::string text;
    for (const auto& [name, value] : strings) {
        text += percentEncode(name) + '\t' + percentEncode(value) + '\n';
    }
    return text;
}

Strings parseStrings(std::string_view text, const std::string& pathname) {
    Strings strings;
    for (std::size_t lineNumber = 1; !text.empty(); ++lineNumber) {
        const std::size_t newline = text.find('\n');
        if (newline == std::string_view::npos) {
            throwMalformed(pathname, lineNumber, "does not end in a newline");
        }
        parseLine(text.substr(0, newline), lineNumber, pathname, strings);
        text.remove_prefix(newline + 1);
    }
    return strings;
}

Strings readStrings(const std::string& directory) {
    const std::string pathname = stringsPathname(directory);
    const std::optional<std::string> text = readFile(pathname);
    return text ? parseStrings(*text, pathname) : Strings();
}

Strings changeStrings(const std::string& directory, const std::function<void(Strings&)>& change) {
    makePrivateDirectory(directory);
    const FileDescriptor lock = lockDirectory(directory);
    Strings strings = readStrings(directory);
    change(strings);
    replaceFile(stringsPathname(directory), formatStrings(strings));
    return strings;
}

void putString(Strings& strings, const std::string& name, std::string_view value) {
    if (name.empty()) {
        throw Failure(FailureCode::badArgument, "The name of a string must not be empty.");
    }
    strings[name] = value;
}

const std::string& stringNamed(const Strings& strings, const std::string& name) {
    const auto found = strings.find(name);
    if (found == strings.end()) {
        throwNoSuchString(name);
    }
    return found->second;
}

void deleteString(Strings& strings, const std::string& name) {
    if (strings.erase(name) == 0) {
        throwNoSuchString(name);
    }
}

}  // namespace Orvanta_OvWallet::Sandbox
