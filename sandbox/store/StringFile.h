// The file "strings": one user's named strings, in plain words and not encrypted.
//
// One line per string, sorted by name: the name, a tab, the value, a newline; name and value in the
// code of PercentCode.h. A name is not empty and occurs once. The format is strict, so that a slip
// of the hand is reported with its line number and not taken for a value.
//
// A directory without the file is an empty wallet. Whoever changes the file holds the directory's
// lock from reading to renaming, so no change of another process or thread is lost; whoever only
// reads needs no lock, because the file is replaced whole.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Sandbox {

using Strings = std::map<std::string, std::string, std::less<>>;

std::string formatStrings(const Strings& strings);

// Throws Failure (malformedFile) naming the pathname and the number of the first bad line.
Strings parseStrings(std::string_view text, const std::string& pathname);

// Throws Failure when the file is malformed or cannot be read.
Strings readStrings(const std::string& directory);

// Reads, changes and writes, and returns what was written; makes the directory when it is missing.
// Whatever `change` throws passes through and leaves the file as it was.
Strings changeStrings(const std::string& directory, const std::function<void(Strings&)>& change);

// Puts the value under the name, over an older one if need be. Throws Failure on an empty name.
void putString(Strings& strings, const std::string& name, std::string_view value);

// Throws Failure (noSuchString) when there is none of that name.
const std::string& stringNamed(const Strings& strings, const std::string& name);
void deleteString(Strings& strings, const std::string& name);

}  // namespace Orvanta_OvWallet::Sandbox
