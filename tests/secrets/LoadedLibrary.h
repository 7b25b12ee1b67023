// The library as a JVM loads it, beside the sandbox wallet's client library, each a module of its
// own.
//
// A copy of the library lies in this program's private directory: the one that was built with it,
// or the file that the environment variable WALLETCALLER_LIBRARY names. The exported function, as
// the doubles call it, leads there.
#pragma once

namespace LoadedLibrary {

// From now on the heap's recorder knows both modules.
void start();

}  // namespace LoadedLibrary
