#include "tool/why/runWhy.h"

#include <iostream>
#include <set>

#include "tool/output/TextPage.h"
#include "tool/output/printable.h"
#include "tool/why/Catalogue.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kIndent = 2;

void addExplanation(TextPage& page, const CatalogueEntry& entry) {
    std::string_view rest = entry.explanation;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        if (end > 0) {
            page.add("", kIndent, rest.substr(0, end));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

}  // namespace

int runWhy(const WhyOptions& options) {
    TextPage page(wantsColour());
    std::set<const CatalogueEntry*> explained;
    const auto explain = [&](std::size_t number, const std::string& line) {
        const std::optional<KnownMessage> known = findMessage(line);
        if (!known) {
            return;
        }
        const std::string place = number == 0 ? "" : "line " + std::to_string(number) + "  ";
        page.addLine(place + printable(known->text));
        if (explained.insert(known->entry).second) {
            addExplanation(page, *known->entry);
        }
    };
    if (options.text) {
        explain(0, *options.text);
    } else {
        std::size_t number = 0;
        for (std::string line; std::getline(std::cin, line);) {
            explain(++number, line);
        }
    }
    if (explained.empty()) {
        page.add("", 0, "There is no message of the library that is known here.");
    }
    writeOutput(page.text());
    return explained.empty() ? kCannotTell : kNoFailure;
}

}  // namespace Orvanta_OvWallet::Tool
