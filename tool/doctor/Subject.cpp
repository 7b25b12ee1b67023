#include "tool/doctor/Subject.h"

#include <unistd.h>

#include "session/pathnames.h"

namespace Orvanta_OvWallet::Tool {

std::string libraryBesideProgram() {
    const std::string directory = directoryPart(readSymbolicLink("/proc/self/exe").text);
    const std::string installed = directory + "../lib64/walletcaller/" + kLibraryName;
    const CanonicalPath canonical = canonicalPath(installed);
    return canonical.errnum == 0 ? canonical.path : directory + kLibraryName;
}

}  // namespace Orvanta_OvWallet::Tool
