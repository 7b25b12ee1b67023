// Counts the failures that tests injected, by kind, and prints them when the program ends.
#pragma once

#include <cstdint>
#include <string>

// Also fails the test when there were none: what was to be made to fail was never called.
void countInjected(const std::string& kind, std::uint64_t count);

// For what may have nothing that can fail.
void countInjectedIfAny(const std::string& kind, std::uint64_t count);
