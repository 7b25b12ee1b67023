// A pathname with every link, "." and ".." resolved, as the kernel sees it.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

struct CanonicalPath {
    int errnum;        // 0, or the errno of the failure
    std::string path;  // the resolved pathname; empty when errnum is not 0
};

// Never throws for a pathname that cannot be resolved: errnum says why.
CanonicalPath canonicalPath(const std::string& path);

}  // namespace Orvanta_OvWallet
