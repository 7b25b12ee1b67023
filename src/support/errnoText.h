// The system's text for an error number, for the "(errno = ...)" part of messages.
//
// Returned whole whatever its length. No state is kept; any thread may call. errno itself is not
// read: save it on the line after the failing call and pass it here.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

std::string errnoText(int errnum);

}  // namespace Orvanta_OvWallet
