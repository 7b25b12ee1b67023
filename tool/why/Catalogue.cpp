#include "tool/why/Catalogue.h"

#include <algorithm>

#include "tool/why/errorPage.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::string_view kConnectorException =
    "com.orvanta.connector.common.exception.ConnectorException: ";
constexpr std::string_view kFailedBecause = " failed because: ";

bool isPlaceholderByte(char byte) {
    return byte >= 'A' && byte <= 'Z';
}

// What is fixed in a message, the pieces between its <NAMES>. An empty first or last piece stands
// for a name at that end.
std::vector<std::string_view> fixedPieces(std::string_view message) {
    std::vector<std::string_view> pieces;
    std::size_t begin = 0;
    for (std::size_t at = 0; at < message.size(); ++at) {
        std::size_t end = at + 1;
        while (message[at] == '<' && end < message.size() && isPlaceholderByte(message[end])) {
            ++end;
        }
        if (message[at] == '<' && end > at + 1 && end < message.size() && message[end] == '>') {
            pieces.push_back(message.substr(begin, at - begin));
            at = end;
            begin = end + 1;
        }
    }
    pieces.push_back(message.substr(begin));
    return pieces;
}

// Whether the text begins with the message.
bool beginsWith(std::string_view text, const std::vector<std::string_view>& pieces) {
    if (!text.starts_with(pieces.front())) {
        return false;
    }
    std::size_t at = pieces.front().size();
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        // At least one byte stands for the name.
        const std::size_t found = text.find(pieces[i], at + 1);
        if (found == std::string_view::npos) {
            return false;
        }
        at = found + pieces[i].size();
    }
    return true;
}

std::size_t fixedBytes(const std::vector<std::string_view>& pieces) {
    std::size_t bytes = 0;
    for (const std::string_view piece : pieces) {
        bytes += piece.size();
    }
    return bytes;
}

// Where a message can begin: with the line, after a class, after the sentence that has a reason.
std::vector<std::size_t> possibleBegins(std::string_view line) {
    std::vector<std::size_t> begins{line.find_first_not_of(" \t")};
    for (std::size_t at = line.find(": "); at != std::string_view::npos;
         at = line.find(": ", at + 1)) {
        begins.push_back(at + 2);
    }
    return begins;
}

// A message of a word or three may stand in anybody's line; it counts only where ours stand.
bool mayStandHere(std::string_view line, std::size_t begin, std::size_t fixed) {
    constexpr std::size_t kShort = 24;
    const std::string_view before = line.substr(0, begin);
    return fixed >= kShort || before.find_first_not_of(" \t") == std::string_view::npos ||
           before.ends_with(kConnectorException) || before.ends_with(kFailedBecause) ||
           before.ends_with("java.lang.NullPointerException: ");
}

std::string_view takeLine(std::string_view& page) {
    const std::size_t end = std::min(page.find('\n'), page.size());
    const std::string_view line = page.substr(0, end);
    page.remove_prefix(std::min(end + 1, page.size()));
    return line;
}

void addToExplanation(std::string& explanation, std::string_view line) {
    if (line.empty()) {
        if (!explanation.empty() && explanation.back() != '\n') {
            explanation += "\n\n";
        }
        return;
    }
    const bool item = line.starts_with("- ");
    if (!explanation.empty()) {
        explanation += item && explanation.back() != '\n' ? "\n"
                       : explanation.back() == '\n'       ? ""
                                                          : " ";
    }
    explanation += line.substr(std::min(line.find_first_not_of(' '), line.size()));
}

}  // namespace

std::vector<CatalogueEntry> readCatalogue(std::string_view page) {
    constexpr std::string_view kMessage = "### `";
    std::vector<CatalogueEntry> entries;
    bool inEntry = false;
    while (!page.empty()) {
        const std::string_view line = takeLine(page);
        if (line.starts_with(kMessage)) {
            if (!inEntry || !entries.back().explanation.empty()) {
                entries.emplace_back();
            }
            inEntry = true;
            entries.back().messages.emplace_back(
                line.substr(kMessage.size(), line.size() - kMessage.size() - 1));
        } else if (line.starts_with("#")) {
            inEntry = false;
        } else if (inEntry) {
            addToExplanation(entries.back().explanation, line);
        }
    }
    for (CatalogueEntry& entry : entries) {
        entry.explanation.erase(entry.explanation.find_last_not_of('\n') + 1);
    }
    return entries;
}

const std::vector<CatalogueEntry>& catalogue() {
    static const std::vector<CatalogueEntry> entries = readCatalogue(kErrorPage);
    return entries;
}

std::optional<KnownMessage> findMessage(std::string_view line) {
    std::optional<KnownMessage> best;
    std::size_t most = 0;
    std::size_t latest = 0;
    for (const std::size_t begin : possibleBegins(line)) {
        const std::string_view text = line.substr(std::min(begin, line.size()));
        for (const CatalogueEntry& entry : catalogue()) {
            for (std::size_t form = 0; form < entry.messages.size(); ++form) {
                const auto pieces = fixedPieces(entry.messages[form]);
                const std::size_t fixed = fixedBytes(pieces);
                const bool later = begin > latest;
                if (fixed == 0 || !beginsWith(text, pieces) || !mayStandHere(line, begin, fixed) ||
                    (best && !later && fixed <= most)) {
                    continue;
                }
                best = KnownMessage{&entry, form, std::string(text)};
                most = fixed;
                latest = begin;
            }
        }
    }
    return best;
}

}  // namespace Orvanta_OvWallet::Tool
