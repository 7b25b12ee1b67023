// An object that lives until the process ends, whatever else is torn down before.
//
// The JVM may end the process while a daemon thread is still inside the library, so process-wide
// state must outlive every static destructor. The object is made in place.
// What it holds is given back only when the process ends: a library that is unloaded before leaves
// it behind.
//
//     static NeverDestroyed<Tables> tables;   // function-local: made once, by the first caller
//     use(*tables);
#pragma once

#include <new>
#include <utility>

namespace Orvanta_OvWallet {

template <typename T>
class NeverDestroyed {
  public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments) {
        ::new (static_cast<void*>(storage_)) T(std::forward<Arguments>(arguments)...);
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(storage_)); }

  private:
    alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace Orvanta_OvWallet
