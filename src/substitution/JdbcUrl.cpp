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

ByteRange rangeOf(std::span<const std::uint8_t> bytes) {
    return {bytes.data(), bytes.data() + bytes.size()};
}

}  // namespace

ByteRange defaultLogonMechanism() {
    return rangeOf(kDefaultLogonMechanism);
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
        parts.databaseId = rangeOf(rest.subspan(blank, blankEnd - blank));
    } else {
        parts.databaseId = rangeOf(rest.first(slash));
        parts.logonMechanism = scanLogonMechanism(rest.subspan(slash + 1), parts.logonMechanism);
    }
    parts.databaseId = withBracketRule(parts.databaseId, url.data() + url.size());
    return parts;
}

ByteRange withBracketRule(ByteRange databaseId, const std::uint8_t* urlEnd) {
    const bool bracketed = !databaseId.empty() && *databaseId.begin == '[' &&
                           databaseId.end != urlEnd && *databaseId.end == ']';
    return bracketed ? ByteRange{databaseId.begin + 1, databaseId.end + 1} : databaseId;
}

}  // namespace Orvanta_OvWallet
