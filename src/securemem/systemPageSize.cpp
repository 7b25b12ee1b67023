#include "securemem/systemPageSize.h"

#include <unistd.h>

#include <cerrno>
#include <string>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

std::int32_t pageSize = 0;
bool pageSizeKnown = false;

[[noreturn]] void throwUnknownPageSize(int errnumBefore, int errnum) {
    std::string message = "An attempt to determine the system page size failed";
    if (errnum != errnumBefore) {
        message += " (errno = " + errnoText(errnum) + ")";
    }
    throw OvWalletException(message + ".");
}

}  // namespace

std::int32_t systemPageSize() {
    if (!pageSizeKnown) {
        const int errnumBefore = errno;
        pageSize = static_cast<std::int32_t>(::sysconf(_SC_PAGESIZE));
        const int errnum = errno;
        if (pageSize == -1) {
            throwUnknownPageSize(errnumBefore, errnum);
        }
        pageSizeKnown = true;
    }
    return pageSize;
}

}  // namespace Orvanta_OvWallet
