#include "support/formatMessage.h"

#include <cstdint>
#include <cstring>
#include <iterator>
#include <list>
#include <optional>
#include <string>
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

std::string upperCaseHexadecimal(unsigned number) {
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789ABCDEF"[number % 16]);
        number /= 16;
    } while (number != 0);
    return digits;
}

// The arguments of one message, read in the order of the conversions.
class Arguments {
  public:
    explicit Arguments(std::va_list started) { va_copy(list_, started); }
    ~Arguments() { va_end(list_); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    // The text for the conversion whose letters begin here, and moves past them; nothing when they
    // are none. Precondition: there is a letter.
    std::optional<std::string> take(CodePoints::const_iterator& letter,
                                    CodePoints::const_iterator textEnd) {
        switch (*letter++) {
            case '%':
                return "%";
            case 's':
                return va_arg(list_, const char*);
            case 'u':
                return std::to_string(va_arg(list_, unsigned));
            case 'd':
                return std::to_string(va_arg(list_, int));
            case 'X':
                return upperCaseHexadecimal(va_arg(list_, unsigned));
            case 'l':
                if (letter == textEnd || *letter != 'd') {
                    return std::nullopt;
                }
                ++letter;
                return std::to_string(va_arg(list_, long));
            default:
                return std::nullopt;
        }
    }

  private:
    std::va_list list_;
};

std::string format(const char* messageTemplate, Arguments& arguments) {
    CodePoints text = decode(messageTemplate);
    for (auto position = text.cbegin(); position != text.cend();) {
        auto next = std::next(position);
        std::optional<std::string> replacement;
        if (*position == '%' && next != text.cend()) {
            replacement = arguments.take(next, text.cend());
        }
        if (!replacement) {
            ++position;
            continue;
        }
        // The walk goes on after what is inserted, so that no conversion is seen in it.
        CodePoints inserted = decode(*replacement);
        position = text.erase(position, next);
        text.splice(position, inserted);
    }
    return encode(text);
}

}  // namespace

std::string formatMessage(const char* messageTemplate, ...) {  // NOLINT(cert-dcl50-cpp)
    std::va_list started;
    va_start(started, messageTemplate);
    Arguments arguments(started);
    va_end(started);
    return format(messageTemplate, arguments);
}

std::string formatMessageV(const char* messageTemplate, std::va_list startedArguments) {
    Arguments arguments(startedArguments);
    return format(messageTemplate, arguments);
}

std::string errnoText(int errnum) {
    constexpr std::size_t kBufferStep = 1000;
    std::string buffer(kBufferStep, '\0');
    for (;;) {
        const char* text = ::strerror_r(errnum, buffer.data(), buffer.size());
        const std::size_t length = std::strlen(text);
        // A text that fills the buffer may have been cut; a static one never is.
        if (text != buffer.data() || length + 1 != buffer.size()) {
            return {text, length};
        }
        buffer.resize(length + 1 + kBufferStep);
    }
}

}  // namespace Orvanta_OvWallet
