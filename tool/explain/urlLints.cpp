#include "tool/explain/urlLints.h"

#include <algorithm>
#include <string_view>

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::string_view kPrefix = "jdbc:orvanta://";

char lowerCase(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

bool isUnusualInHost(char byte) {
    constexpr unsigned char kFirstPrintable = 0x21;
    constexpr unsigned char kLastPrintable = 0x7E;
    const auto value = static_cast<unsigned char>(byte);
    return value < kFirstPrintable || value > kLastPrintable ||
           std::string_view(":?[]").find(byte) != std::string_view::npos;
}

bool mentionsLogonMechanism(std::string_view parameters) {
    constexpr std::string_view kKey = "logmech";
    return std::search(parameters.begin(), parameters.end(), kKey.begin(), kKey.end(),
                       [](char left, char right) { return lowerCase(left) == right; }) !=
           parameters.end();
}

}  // namespace

void addUrlLints(std::span<const std::uint8_t> url, std::vector<Lint>& lints) {
    const std::string_view text(reinterpret_cast<const char*>(url.data()), url.size());
    if (text.empty()) {
        return;
    }
    if (!text.starts_with(kPrefix)) {
        lints.push_back({"U2", 0, 0,
                         "the URL does not begin with \"jdbc:orvanta://\" in lower case, so its "
                         "database id is empty."});
        return;
    }
    const std::string_view rest = text.substr(kPrefix.size());
    const std::size_t slash = rest.find('/');
    const std::string_view host = rest.substr(0, slash);
    if (slash == std::string_view::npos) {
        lints.push_back(
            {"U1", 0, 0, "there is no \"/\" after the host, so the database id is not the host."});
    }
    if (std::any_of(host.begin(), host.end(), isUnusualInHost)) {
        lints.push_back({"U3", 0, 0,
                         "the host has a port, \"?\", blank, bracket or non-ASCII byte, and all of "
                         "it belongs to the database id."});
    }
    if (mentionsLogonMechanism(rest.substr(host.size()))) {
        lints.push_back({"U4", 0, 0, "LOGMECH has no effect on the default entry."});
    }
}

}  // namespace Orvanta_OvWallet::Tool
