// The formatter against a model that works on bytes.

#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include <utf8.h>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "support/formatMessage.h"

using namespace Orvanta_OvWallet;

namespace {

Reached formatted("a message");
Reached texts("an inserted text");
Reached numbers("an inserted number");
Reached literal("a percent sign kept as it stands");
Reached malformed("malformed UTF-8 refused");

constexpr std::size_t kMostArguments = 6;

// Each argument in a slot of its own: a pointer, or a number of which a conversion takes its width.
struct Slots {
    std::vector<std::string> texts{kMostArguments};
    std::uint64_t slots[kMostArguments] = {};
};

struct Model {
    std::string message;
    bool valid = true;
};

bool isValidUtf8(const std::string& text) {
    return utf8::is_valid(text.begin(), text.end());
}

std::string number(const char* format, std::uint64_t slot) {
    char text[32];
    if (format[1] == 'l') {
        std::snprintf(text, sizeof text, "%" PRId64, static_cast<std::int64_t>(slot));
    } else if (format[1] == 'd') {
        std::snprintf(text, sizeof text, "%" PRId32, static_cast<std::int32_t>(slot));
    } else if (format[1] == 'u') {
        std::snprintf(text, sizeof text, "%" PRIu32, static_cast<std::uint32_t>(slot));
    } else {
        std::snprintf(text, sizeof text, "%" PRIX32, static_cast<std::uint32_t>(slot));
    }
    return text;
}

// Also gives each slot its value: only the template tells which of them are pointers.
Model runModel(const std::string& text, FuzzInput& input, Slots& arguments) {
    Model model{"", isValidUtf8(text)};
    std::size_t used = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string next = text.substr(i, 3);
        const bool conversion = next.starts_with("%s") || next.starts_with("%u") ||
                                next.starts_with("%d") || next.starts_with("%X") || next == "%ld";
        if (next.starts_with("%%")) {
            model.message += '%';
            ++i;
        } else if (!conversion) {
            if (next[0] == '%') {
                ++literal;
            }
            model.message += next[0];
        } else {
            std::uint64_t& slot = arguments.slots[used];
            std::string& argument = arguments.texts[used];
            ++used;
            if (next[1] == 's') {
                ++texts;
                argument = input.shortText().c_str();
                slot = reinterpret_cast<std::uint64_t>(argument.c_str());
                model.valid = model.valid && isValidUtf8(argument);
                model.message += argument;
            } else {
                ++numbers;
                for (int b = 0; b < 8; ++b) {
                    slot = slot << 8 | input.byte();
                }
                model.message += number(next.c_str(), slot);
            }
            i += next == "%ld" ? 2U : 1U;
        }
    }
    return model;
}

std::size_t countPercentSigns(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string text = input.shortText().c_str();
    if (countPercentSigns(text) > kMostArguments) {
        return 0;
    }
    Slots arguments;
    const Model model = runModel(text, input, arguments);
    // Called through a plain function pointer: the template is not known to the compiler.
    std::string (*const format)(const char*, ...) = formatMessage;
    const std::uint64_t* const slots = arguments.slots;
    try {
        const std::string message =
            format(text.c_str(), slots[0], slots[1], slots[2], slots[3], slots[4], slots[5]);
        ++formatted;
        REQUIRE(model.valid);
        REQUIRE(message == model.message);
    } catch (const utf8::exception&) {
        ++malformed;
        REQUIRE(!model.valid);
    }
    return 0;
}
