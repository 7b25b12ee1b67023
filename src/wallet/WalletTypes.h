// The opaque objects of the OvWallet client library.
//
// The library hands out pointers to these and takes them back; nothing here can look inside. Each
// kind of object is a type of its own, so that a swapped argument does not compile.
//
// Ownership: whoever receives an object gives it back through the free function of its kind
// (OvWallet_freeV1, OvWallet_freeLockedUTF8Vector, OvWallet_freeUTF8Vector,
// OvWallet_freeStringNames, OvWallet_freeError), exactly once.
#pragma once

namespace Orvanta_OvWallet {

struct Wallet;            // one user's store of named strings
struct WalletError;       // why a call failed; null means that it did not
struct LockedUTF8Vector;  // bytes in locked memory: the value of a string
struct UTF8Vector;        // bytes in ordinary memory
struct StringNames;       // list of entry names
struct OpaqueArgument;    // an argument of which only the width is known

}  // namespace Orvanta_OvWallet
