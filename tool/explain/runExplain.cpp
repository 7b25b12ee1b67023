#include "tool/explain/runExplain.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <iostream>

#include "support/OvWalletException.h"
#include "tool/explain/explainJson.h"
#include "tool/explain/explainPage.h"
#include "tool/explain/fetchEntries.h"
#include "tool/explain/readText.h"

namespace Orvanta_OvWallet::Tool {
namespace {

std::unique_ptr<SecureByteVector> textOf(const ExplainOptions& options) {
    if (options.text) {
        return copyOf(*options.text);
    }
    if (options.file) {
        return readFile(*options.file);
    }
    if (options.input || ::isatty(STDIN_FILENO) != 1) {
        return readAll(STDIN_FILENO, "standard input");
    }
    return askOnTerminal();
}

int explainBatch() {
    for (std::string line; std::getline(std::cin, line);) {
        writeOutput(answerToBatchLine(line) + "\n");
    }
    return kNoFailure;
}

int statusOf(const Explanation& explanation, const std::vector<FetchedEntry>& fetched,
             bool strict) {
    if (explanation.failure || (strict && !explanation.lints.empty())) {
        return kFailure;
    }
    for (const FetchedEntry& entry : fetched) {
        if (!entry.there) {
            return kFailure;
        }
    }
    return kNoFailure;
}

}  // namespace

int runExplain(const ExplainOptions& options) {
    // No core dump, and no debugger of the same user, gets to see the text.
    ::prctl(PR_SET_DUMPABLE, 0);
    if (options.batch) {
        return explainBatch();
    }
    const std::unique_ptr<SecureByteVector> url = copyOf(options.url.value_or(""));
    const std::unique_ptr<SecureByteVector> text = textOf(options);
    const Explanation explanation = explainText(
        {text->begin(), text->size()},
        options.url ? std::optional(std::span(url->begin(), url->size())) : std::nullopt);
    const std::vector<FetchedEntry> fetched =
        options.fetch ? fetchEntries(explanation.references) : std::vector<FetchedEntry>{};
    if (options.json) {
        writeOutput(explanationJson(explanation, fetched) + "\n");
    } else {
        TextPage page(wantsColour());
        addExplanation(page, explanation, options.url.has_value(), fetched);
        writeOutput(page.text());
    }
    return statusOf(explanation, fetched, options.strict);
}

}  // namespace Orvanta_OvWallet::Tool
