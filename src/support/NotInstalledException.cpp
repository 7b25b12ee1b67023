#include "support/NotInstalledException.h"

namespace Orvanta_OvWallet {

NotInstalledException::~NotInstalledException() = default;

}  // namespace Orvanta_OvWallet
