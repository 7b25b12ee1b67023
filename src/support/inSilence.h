// Runs something whose failure is not reported, because another one is.
#pragma once

namespace Orvanta_OvWallet {

// Whatever call throws ends here.
template <typename Call>
void inSilence(const Call& call) noexcept {
    try {
        call();
    } catch (...) {
        return;
    }
}

}  // namespace Orvanta_OvWallet
