// Reading what the user types.
//
// Both functions show the prompt unless it is null, read up to a newline, which they drop, and keep
// the text from being shown when it comes from a terminal. They throw Failure when nothing can be
// read. Nothing past the newline is taken, so that the next call gets the next line.
#pragma once

#include <string>

namespace Orvanta_OvWallet::Sandbox {

// Prompts on standard error and reads standard input.
std::string readStandardInput(const char* prompt);

// Prompts on the terminal and reads it; a null pathname means "/dev/tty".
std::string readTerminal(const char* prompt, const char* pathname);

// Throws Failure when the second text is not the same as the first.
void requireSameTwice(const std::string& first, const std::string& second);

}  // namespace Orvanta_OvWallet::Sandbox
