// A client library inside the test program: a map from entry names to values, and what was fetched.
//
// The loader's calls of the dynamic loader are replaced (see SystemCalls.h), so the product's own
// wrappers run, with every entry point that they look up. One thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "wallet/WalletTypes.h"

class WalletDouble {
  public:
    // Once per process, before the first use of a wrapper.
    static void install();

    // What is alive: wallets, vectors and error objects.
    static int liveObjects();

    // The strings of the one wallet there is; a name that is missing gives the error "no NAME".
    static std::map<std::string, std::string>& strings();

    // Forgets what was asked for. From so many fetches on every name is missing.
    static void setMostFetches(std::size_t most);

    // The names that were asked for, in order.
    static const std::vector<std::string>& fetched();
};
