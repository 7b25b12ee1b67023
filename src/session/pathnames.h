// Pathnames: following symbolic links by hand, the canonical form, the current directory.
//
// Links are followed one by one, not by the kernel, because the caller wants to know where each
// leads and what stopped the walk. Pathnames are composed by plain concatenation.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

struct SymbolicLink {
    int errnum;        // 0, or the errno of the failed read
    std::string text;  // what the link holds; empty as well when its first byte is NUL
};

// Reads the link whole, however long it is. One trailing NUL is not part of the text. EINVAL means
// that pathname exists and is no link.
SymbolicLink readSymbolicLink(const std::string& pathname);

// The pathname up to and including its last "/"; empty without one.
std::string directoryPart(const std::string& pathname);

// A walk along links, one hop at a time.
//
//     LinkWalk walk("/usr/bin/ovwallet");
//     while (walk.leadsOn()) {
//         walk.follow();
//     }
class LinkWalk {
  public:
    // Stands at pathname, which need not exist.
    explicit LinkWalk(std::string pathname);

    const std::string& pathname() const { return pathname_; }  // where the walk stands
    const SymbolicLink& link() const { return link_; }         // what was read there

    bool leadsOn() const { return link_.errnum == 0 && !link_.text.empty(); }
    bool isAtFile() const;  // an existing entry of any kind that is no link

    // Precondition: leadsOn(). Goes to where the link leads: its text, taken relative to the
    // directory of the link unless it begins with "/".
    void follow();

    // Deliberate: any number of links is followed, so links in a cycle keep the caller here for
    // ever.
    void followToEnd();

  private:
    std::string pathname_;
    SymbolicLink link_;
};

struct CanonicalPath {
    int errnum;        // 0, or the errno of the failed resolution
    std::string path;  // the resolved pathname; when it could not be resolved, as it was given
};

// The pathname with every link, "." and ".." resolved, as the kernel sees it.
CanonicalPath canonicalPath(const std::string& pathname);

// The absolute pathname of the current working directory, however long it is. Throws
// OvWalletException when there is none to tell, such as when it was removed.
std::string CurrentDirectory();

}  // namespace Orvanta_OvWallet
