#include "substitution/JdbcUrl.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "substitution/parameterScan.h"

namespace Orvanta_OvWallet {
namespace {

constexpr std::string_view kPrefix = "jdbc:orvanta://";
constexpr std::array<std::uint8_t, 3> kDefaultLogonMechanism{'O', 'V', '2'};

bool hasPrefix(std::span<const std::uint8_t> url) {
    return url.size() > kPrefix.size() && std::equal(kPrefix.begin(), kPrefix.end(), url.begin());
}

}  // namespace

std::span<const std::uint8_t> defaultLogonMechanism() {
    return kDefaultLogonMechanism;
}

JdbcUrlParts parseJdbcUrl(std::span<std::uint8_t> url) {
    JdbcUrlParts parts;
    if (!hasPrefix(url)) {
        return parts;
    }
    const std::span<std::uint8_t> rest = url.subspan(kPrefix.size());
    const auto slash =
        static_cast<std::size_t>(std::find(rest.begin(), rest.end(), '/') - rest.begin());
    if (slash == rest.size()) {
        const std::size_t blank = findBlank(rest, 0, rest.size());
        const std::size_t blankEnd = findBlankEnd(rest, blank, rest.size());
        parts.databaseId = rest.subspan(blank, blankEnd - blank);
    } else {
        parts.databaseId = rest.first(slash);
        parts.logonMechanism = scanLogonMechanism(rest.subspan(slash + 1), parts.logonMechanism);
    }
    parts.databaseId = withBracketRule(parts.databaseId, url.data() + url.size());
    return parts;
}

std::span<const std::uint8_t> withBracketRule(std::span<const std::uint8_t> databaseId,
                                              const std::uint8_t* urlEnd) {
    const std::uint8_t* const end = databaseId.data() + databaseId.size();
    const bool bracketed =
        !databaseId.empty() && databaseId.front() == '[' && end != urlEnd && *end == ']';
    return bracketed ? std::span(databaseId.data() + 1, databaseId.size()) : databaseId;
}

}  // namespace Orvanta_OvWallet
