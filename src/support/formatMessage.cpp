#include "support/formatMessage.h"

#include <cstdint>
#include <iterator>
#include <list>
#include <sstream>
#include <string_view>

#include <utf8.h>

namespace Orvanta_OvWallet {
namespace {

using CodePoints = std::list<std::uint32_t>;

CodePoints decode(std::string_view text) {
    CodePoints codePoints;
    utf8::utf8to32(text.begin(), text.end(), std::back_inserter(codePoints));
    return codePoints;
}

std::string encode(const CodePoints& codePoints) {
    std::string text;
    utf8::utf32to8(codePoints.begin(), codePoints.end(), std::back_inserter(text));
    return text;
}

template <typename Number>
std::string decimal(Number number) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

std::string upperCaseHexadecimal(unsigned number) {
    std::ostringstream stream;
    stream << std::hex << std::uppercase << number;
    return stream.str();
}

// The arguments of one message, read in the order of the conversions.
class Arguments {
  public:
    explicit Arguments(std::va_list started) { va_copy(list_, started); }
    ~Arguments() { va_end(list_); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    // The text for a conversion, named by the letter behind its "%".
    std::string take(std::uint32_t letter) {
        switch (letter) {
            case 's':
                return va_arg(list_, const char*);
            case 'u':
                return decimal(va_arg(list_, unsigned));
            case 'd':
                return decimal(va_arg(list_, int));
            case 'l':
                return decimal(va_arg(list_, long));
            case 'X':
                return upperCaseHexadecimal(va_arg(list_, unsigned));
            default:
                return "%";
        }
    }

  private:
    std::va_list list_;
};

// How many code points from the letter on make the conversion: 0 when they are none.
std::ptrdiff_t conversionLength(CodePoints::const_iterator letter,
                                CodePoints::const_iterator textEnd) {
    switch (*letter) {
        case '%':
        case 's':
        case 'u':
        case 'd':
        case 'X':
            return 1;
        case 'l':
            return std::next(letter) != textEnd && *std::next(letter) == 'd' ? 2 : 0;
        default:
            return 0;
    }
}

}  // namespace

std::string formatMessage(const char* messageTemplate, ...) {  // NOLINT(cert-dcl50-cpp)
    std::va_list arguments;
    va_start(arguments, messageTemplate);
    try {
        std::string message = formatMessageV(messageTemplate, arguments);
        va_end(arguments);
        return message;
    } catch (...) {
        va_end(arguments);
        throw;
    }
}

std::string formatMessageV(const char* messageTemplate, std::va_list startedArguments) {
    Arguments arguments(startedArguments);
    CodePoints text = decode(messageTemplate);
    for (auto position = text.begin(); position != text.end();) {
        const auto letter = std::next(position);
        const bool percent = *position == '%' && letter != text.end();
        const std::ptrdiff_t length = percent ? conversionLength(letter, text.end()) : 0;
        if (length == 0) {
            ++position;
            continue;
        }
        CodePoints replacement = decode(arguments.take(*letter));
        position = text.erase(position, std::next(letter, length));
        text.splice(position, replacement);
    }
    return encode(text);
}

}  // namespace Orvanta_OvWallet
