// Replaces single system calls in the test program's own process.
//
// The linker routes each call below (--wrap) to a double that does the real thing unless a test put
// something else in its place:
//
//     systemCalls().closedir = [](DIR* stream) { real::closedir(stream); errno = EIO; return -1; };
//
// Every test runs in a process of its own, so nothing needs to be put back. Set a replacement while
// only one thread runs. A replacement may call the real thing through the namespace real.
#pragma once

#include <dirent.h>
#include <link.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdio>
#include <functional>

// X(result, name, parameters, arguments)
#define WALLETCALLER_SYSTEM_CALLS(X)                                                               \
    X(ssize_t, readlink, (const char* path, char* buffer, std::size_t size), (path, buffer, size)) \
    X(char*, realpath, (const char* path, char* buffer), (path, buffer))                           \
    X(int, symlink, (const char* target, const char* path), (target, path))                        \
    X(int, stat, (const char* path, struct stat* status), (path, status))                          \
    X(int, lstat, (const char* path, struct stat* status), (path, status))                         \
    X(int, access, (const char* path, int mode), (path, mode))                                     \
    X(DIR*, opendir, (const char* path), (path))                                                   \
    X(struct dirent*, readdir, (DIR * stream), (stream))                                           \
    X(int, closedir, (DIR * stream), (stream))                                                     \
    X(char*, getcwd, (char* buffer, std::size_t size), (buffer, size))                             \
    X(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))                  \
    X(ssize_t, read, (int descriptor, void* buffer, std::size_t size), (descriptor, buffer, size)) \
    X(std::FILE*, fopen, (const char* path, const char* mode), (path, mode))                       \
    X(void*, dlopen, (const char* path, int mode), (path, mode))                                   \
    X(void*, dlsym, (void* handle, const char* name), (handle, name))                              \
    X(int, dlclose, (void* handle), (handle))                                                      \
    X(char*, dlerror, (), ())                                                                      \
    X(int, dl_iterate_phdr, (int (*visit)(dl_phdr_info*, std::size_t, void*), void* data),         \
      (visit, data))                                                                               \
    X(int, mlock, (const void* begin, std::size_t size), (begin, size))                            \
    X(int, munlock, (const void* begin, std::size_t size), (begin, size))                          \
    X(int, getrlimit, (__rlimit_resource_t resource, struct rlimit * limits), (resource, limits))  \
    X(int, setrlimit, (__rlimit_resource_t resource, const struct rlimit* limits),                 \
      (resource, limits))                                                                          \
    X(long, sysconf, (int name), (name))                                                           \
    X(uid_t, getuid, (), ())                                                                       \
    X(uid_t, geteuid, (), ())                                                                      \
    X(int, setreuid, (uid_t realUser, uid_t effectiveUser), (realUser, effectiveUser))             \
    X(int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))                                 \
    X(int, pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))                               \
    X(char*, strerror_r, (int errnum, char* buffer, std::size_t size), (errnum, buffer, size))     \
    X(char*, getenv, (const char* name), (name))

struct SystemCalls {
#define WALLETCALLER_SLOT(result, name, parameters, arguments) \
    std::function<result parameters> name;
    WALLETCALLER_SYSTEM_CALLS(WALLETCALLER_SLOT)
#undef WALLETCALLER_SLOT

    // The system log, the text formatted. Nothing reaches the real log.
    std::function<void(int priority, const char* text)> syslog;
};

SystemCalls& systemCalls();

namespace real {
#define WALLETCALLER_REAL(result, name, parameters, arguments) result name parameters;
WALLETCALLER_SYSTEM_CALLS(WALLETCALLER_REAL)
#undef WALLETCALLER_REAL
}  // namespace real
