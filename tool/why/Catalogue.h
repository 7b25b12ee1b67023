// What docs/errors.md says, at hand when the program runs: each message of the library with its
// explanation. The page is built in as it stands and read on first use.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Orvanta_OvWallet::Tool {

struct CatalogueEntry {
    std::vector<std::string> messages;  // with <NAMES> for what is filled in
    std::string explanation;            // paragraphs, an empty line between two
};

const std::vector<CatalogueEntry>& catalogue();

struct KnownMessage {
    const CatalogueEntry* entry;
    std::size_t form;  // which of the entry's messages it is
    std::string text;  // from where the message begins to the end of the line
};

// The message that stands in a line of a log, after whatever comes before it: the most particular
// one, so a reason wins over the sentence that it stands in. Nothing for a line without one.
std::optional<KnownMessage> findMessage(std::string_view line);

// The entries of a page of that form.
std::vector<CatalogueEntry> readCatalogue(std::string_view page);

}  // namespace Orvanta_OvWallet::Tool
