#include "tool/output/TextPage.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kColumns = 80;

// Characters, as far as each takes one column.
std::size_t widthOf(std::string_view text) {
    constexpr unsigned kMask = 0xC0;
    constexpr unsigned kContinuation = 0x80;
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & kMask) != kContinuation;
    }));
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (end > 0) {
            words.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

}  // namespace

std::string TextPage::painted(std::string_view text, Colour colour) const {
    if (!coloured_ || colour == Colour::kNone) {
        return std::string(text);
    }
    const char* const code = colour == Colour::kGood ? "32" : colour == Colour::kBad ? "31" : "33";
    return "\033[" + std::string(code) + "m" + std::string(text) + "\033[0m";
}

void TextPage::add(std::string_view label, std::size_t indent, std::string_view text,
                   Colour labelColour) {
    text_ += painted(label, labelColour);
    std::size_t column = widthOf(label);
    if (column >= indent && column > 0) {
        text_ += ' ';
        ++column;
    }
    bool beginsLine = true;
    for (const std::string_view word : wordsOf(text)) {
        const std::size_t width = widthOf(word);
        // A word that fits on no line stays where it is.
        if (!beginsLine && column + 1 + width > kColumns && indent + width <= kColumns) {
            text_ += '\n';
            column = 0;
            beginsLine = true;
        }
        if (beginsLine) {
            text_.append(indent > column ? indent - column : 0, ' ');
            column = std::max(column, indent);
            beginsLine = false;
        } else {
            text_ += ' ';
            ++column;
        }
        text_ += word;
        column += width;
    }
    text_ += '\n';
}

void TextPage::addLine(std::string_view line) {
    text_ += line;
    text_ += '\n';
}

bool wantsColour() {
    return ::isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr;
}

void writeOutput(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written <= 0) {
            ::_exit(kCannotTell);
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace Orvanta_OvWallet::Tool
