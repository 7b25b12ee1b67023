// What a command says to a person: lines of at most 80 columns, in colour where that is wanted.
//
// Words are never cut, so a long pathname may stand out.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Tool {

enum class Colour { kNone, kGood, kWarning, kBad };

class TextPage {
  public:
    explicit TextPage(bool coloured) : coloured_(coloured) {}

    // A paragraph: label, then the text from column indent on, which further lines keep, too. A
    // label that is longer than the indent pushes the first line's text to the right.
    void add(std::string_view label, std::size_t indent, std::string_view text,
             Colour labelColour = Colour::kNone);

    // A line as it stands, however long.
    void addLine(std::string_view line);

    const std::string& text() const { return text_; }

  private:
    std::string painted(std::string_view text, Colour colour) const;

    bool coloured_;
    std::string text_;
};

// Whether standard output is a terminal and the variable NO_COLOR is not set.
bool wantsColour();

// Writes everything to standard output, and ends the process with status 3 when that fails.
void writeOutput(std::string_view text);

}  // namespace Orvanta_OvWallet::Tool
