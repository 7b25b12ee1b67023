#include "tool/explain/fetchEntries.h"

#include <exception>

#include "substitution/referenceExpansion.h"
#include "tool/doctor/Child.h"
#include "tool/doctor/clientLibrary.h"
#include "tool/doctor/foresee.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr int kTimeoutSeconds = 10;
constexpr const char* kThere = "there";
constexpr const char* kHoldsReferences = "holds references";

// Whether the value holds a reference. Throws what a job is told when there is none to be had.
bool fetch(Wallet* wallet, const std::string& entry) {
    LockedUTF8Vector* value = nullptr;
    WalletError* const error = OvWallet_getStringValue(wallet, entry.c_str(), &value);
    if (error != nullptr) {
        throwWalletError(kCannotGetValue, error);
    }
    const OwnedLockedUTF8Vector owner(value);
    const std::uint8_t* const bytes = OvWallet_getPtrLockedUTF8Vector(value);
    const std::size_t size = OvWallet_getSizeLockedUTF8Vector(value);
    return bytes != nullptr && findKeyword({bytes, size}, 0).has_value();
}

void fetchAll(const ChildReport& report, const std::string& clientDir,
              const std::vector<ExplainedReference>& references) {
    useClientDirectory(clientDir);
    OwnedWallet wallet(openWallet());
    for (std::size_t i = 0; i < references.size(); ++i) {
        const bool nested = fetch(wallet.get(), references[i].entry);
        report.put(std::to_string(i), nested ? kHoldsReferences : kThere);
    }
}

std::string failureOf(const ChildResult& child) {
    if (child.has("exception")) {
        return child.values.at("exception");
    }
    return child.end == ChildResult::End::kTimedOut ? "The wallet did not answer in time."
                                                    : "The wallet's code ended its process.";
}

}  // namespace

std::vector<FetchedEntry> fetchEntries(const std::vector<ExplainedReference>& references) {
    std::vector<FetchedEntry> fetched;
    if (references.empty()) {
        return fetched;
    }
    Report report;
    const auto clientDir =
        foreseeClientDirectory({std::nullopt, "/tmp", libraryBesideProgram()}, report);
    if (!clientDir) {
        return {{references.front().entry, false, false, report.verdict.message}};
    }
    const ChildResult child = runInChild(
        [&](const ChildReport& childReport) { fetchAll(childReport, *clientDir, references); },
        kTimeoutSeconds);
    for (std::size_t i = 0; i < references.size(); ++i) {
        const std::string& entry = references[i].entry;
        const auto answer = child.values.find(std::to_string(i));
        if (answer == child.values.end()) {
            fetched.push_back({entry, false, false, failureOf(child)});
            break;
        }
        fetched.push_back({entry, true, answer->second == kHoldsReferences, {}});
    }
    return fetched;
}

}  // namespace Orvanta_OvWallet::Tool
