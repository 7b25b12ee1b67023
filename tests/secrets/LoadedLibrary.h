// The library as a JVM loads it, and the sandbox wallet's client library, each a module of its own.
//
// A copy of the library lies in this program's private directory: the one that was built with it,
// or the file that the environment variable WALLETCALLER_LIBRARY names. The exported function, as
// the doubles call it, leads there. From start() on the heap's recorder knows both modules.
#pragma once

#include <string>
#include <vector>

namespace LoadedLibrary {

void start();

// The strings of the wallet, and the names that were asked for, percent-encoded.
void addString(const std::string& name, const std::string& value);
std::vector<std::string> namesAskedFor();

// Makes the k-th call from now of that entry point of the client library fail.
void failCall(const std::string& entryPoint, unsigned long k, const std::string& text);

}  // namespace LoadedLibrary
