#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <typeinfo>

// What the process says before it ends because an exception has nowhere to go. libstdc++'s own
// handler writes the exception's type in plain words, for which it brings a demangler of 48 KB;
// this one leaves that to c++filt.
void __gnu_cxx::__verbose_terminate_handler() {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    std::fputs("libWalletCaller: terminate called", stderr);
    if (type != nullptr) {
        std::fputs(" after throwing an instance of ", stderr);
        std::fputs(type->name(), stderr);
    }
    std::fputs("\n", stderr);
    std::abort();
}
