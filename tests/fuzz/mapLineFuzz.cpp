// Lines of the memory map: what is read is what a plain scan of the text finds.

#include <cstdlib>
#include <string>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "session/memoryMap.h"

using namespace Orvanta_OvWallet;

namespace {

Reached noPathname("no pathname");
Reached badAddress("no pair of addresses");
Reached mapped("a mapping with a pathname");
Reached blanks("a pathname with a blank");

constexpr const char* kDigits = "0123456789abcdefABCDEF";

// The number at the front of text, and how long it is; 0 digits when there is none or it is too
// large.
struct Number {
    std::uint64_t value;
    std::size_t length;
};

Number numberAt(const std::string& text, std::size_t from) {
    const std::size_t end = std::min(text.find_first_not_of(kDigits, from), text.size());
    const std::string digits = text.substr(from, end - from);
    const std::size_t significant = digits.find_first_not_of('0');
    const bool tooLarge = significant != std::string::npos && digits.size() - significant > 16;
    return {std::strtoull(digits.c_str(), nullptr, 16), tooLarge ? 0 : digits.size()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string line = input.remainder();
    const std::optional<Mapping> mapping = parseMapLine(line);
    const std::size_t slash = line.find('/');
    if (slash == std::string::npos) {
        ++noPathname;
        REQUIRE(!mapping);
        return 0;
    }
    const Number begin = numberAt(line, 0);
    const Number end = begin.length < line.size() ? numberAt(line, begin.length + 1) : Number{0, 0};
    if (begin.length == 0 || end.length == 0) {
        ++badAddress;
        REQUIRE(!mapping);
        return 0;
    }
    ++mapped;
    REQUIRE(mapping);
    REQUIRE(mapping->begin == begin.value && mapping->end == end.value);
    REQUIRE(mapping->pathname == line.substr(slash));
    if (mapping->pathname.find(' ') != std::string::npos) {
        ++blanks;
    }
    return 0;
}
