// Reading symbolic links, and the pathname arithmetic of following them by hand.
//
// The links are followed one by one, not by the kernel, because the caller wants to know where each
// leads and what stopped the walk. Pathnames are composed by plain concatenation.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

struct SymbolicLink {
    int errnum;        // 0, or the errno of the failed read
    std::string text;  // what the link holds; empty as well when its first byte is NUL
};

// Reads the link whole, however long it is: the buffer starts with 4096 bytes and grows by as many
// while a read fills it. One trailing NUL is not part of the text. EINVAL means that pathname
// exists and is no link.
SymbolicLink readSymbolicLink(const std::string& pathname);

// The pathname up to and including its last "/"; empty without one.
std::string directoryPart(const std::string& pathname);

// Where a link at pathname leads that holds text: text itself when it begins with "/", otherwise
// text taken relative to the directory of the link.
std::string linkTarget(const std::string& pathname, const std::string& text);

}  // namespace Orvanta_OvWallet
