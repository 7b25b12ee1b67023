// Counts how often a fuzz target came to an interesting place, and prints the counts at exit.
//
//     static Reached nested("nested pass");
//     ++nested;
//
// A property that does not hold ends the program, so that the fuzzer keeps the input.
#pragma once

#include <cstdint>

class Reached {
  public:
    explicit Reached(const char* name);
    Reached(const Reached&) = delete;
    Reached& operator=(const Reached&) = delete;

    Reached& operator++() {
        ++count_;
        return *this;
    }

  private:
    friend void printReached();

    const char* name_;
    std::uint64_t count_ = 0;
    Reached* next_;
};

[[noreturn]] void failProperty(const char* file, int line, const char* property);

#define REQUIRE(property) \
    ((property) ? static_cast<void>(0) : failProperty(__FILE__, __LINE__, #property))
