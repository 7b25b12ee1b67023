// Reads a credential text into locked memory. No byte of it comes near an ordinary string.
#pragma once

#include <memory>
#include <string>

#include "securemem/SecureByteVector.h"

namespace Orvanta_OvWallet::Tool {

// Everything up to the end of what the descriptor reads. Throws OvWalletException with a sentence.
std::unique_ptr<SecureByteVector> readAll(int descriptor, const std::string& name);

std::unique_ptr<SecureByteVector> readFile(const std::string& pathname);

// Asks on the terminal, without echo, for one line; the line end is not part of it.
std::unique_ptr<SecureByteVector> askOnTerminal();

std::unique_ptr<SecureByteVector> copyOf(const std::string& text);

}  // namespace Orvanta_OvWallet::Tool
