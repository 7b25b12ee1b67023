#include "fuzz/Reached.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

namespace {

Reached* first = nullptr;

}  // namespace

void printReached() {
    for (const Reached* place = first; place != nullptr; place = place->next_) {
        std::fprintf(stderr, "reached %12" PRIu64 " x %s\n", place->count_, place->name_);
    }
}

Reached::Reached(const char* name) : name_(name), next_(first) {
    if (first == nullptr) {
        std::atexit(printReached);
    }
    first = this;
}

void failProperty(const char* file, int line, const char* property) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, property);
    std::abort();
}
