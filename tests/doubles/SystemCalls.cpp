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
ssize_t __real_getline(char** line, std::size_t* capacity, std::FILE* file);
ssize_t __wrap_getline(char** line, std::size_t* capacity, std::FILE* file);
ssize_t __wrap___getdelim(char** line, std::size_t* capacity, int delimiter, std::FILE* file);
ssize_t __real___getdelim(char** line, std::size_t* capacity, int delimiter, std::FILE* file);
void __wrap_syslog(int priority, const char* format, ...);
}

ssize_t real::getline(char** line, std::size_t* capacity, std::FILE* file) {
    return __real_getline(line, capacity, file);
}

ssize_t __wrap_getline(char** line, std::size_t* capacity, std::FILE* file) {
    return replacements != nullptr && replacements->getline
               ? replacements->getline(line, capacity, file)
               : __real_getline(line, capacity, file);
}

ssize_t __wrap___getdelim(char** line, std::size_t* capacity, int delimiter, std::FILE* file) {
    return replacements != nullptr && replacements->getline && delimiter == '\n'
               ? replacements->getline(line, capacity, file)
               : __real___getdelim(line, capacity, delimiter, file);
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
