#include "doubles/SystemCalls.h"

#include <cstdarg>

#include "support/NeverDestroyed.h"

namespace {

// Null until a test asks for the replacements: the runtime of a sanitizer makes its first calls
// before anything is constructed, and its last ones after everything is destroyed.
SystemCalls* replacements = nullptr;

SystemCalls& makeReplacements() {
    static Orvanta_OvWallet::NeverDestroyed<SystemCalls> calls;
    replacements = &*calls;
    return *calls;
}

}  // namespace

SystemCalls& systemCalls() {
    static SystemCalls& calls = makeReplacements();
    return calls;
}

#define WALLETCALLER_WRAP(result, name, parameters, arguments)                              \
    extern "C" result __real_##name parameters;                                             \
    extern "C" result __wrap_##name parameters;                                             \
    result real::name parameters {                                                          \
        return __real_##name arguments;                                                     \
    }                                                                                       \
    result __wrap_##name parameters {                                                       \
        return replacements != nullptr && replacements->name ? replacements->name arguments \
                                                             : __real_##name arguments;     \
    }
WALLETCALLER_SYSTEM_CALLS(WALLETCALLER_WRAP)

extern "C" {
void __wrap_syslog(int priority, const char* format, ...);
}

void __wrap_syslog(int priority, const char* format, ...) {
    if (replacements == nullptr || !replacements->syslog) {
        return;
    }
    char text[4096];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    replacements->syslog(priority, text);
}
