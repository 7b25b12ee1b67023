/* A library to be preloaded into one process, so that a test or a demo can lay out an installation
 * of its own without privilege and without touching the machine.
 *
 *   SHIM_COMMAND  stands for the file /usr/bin/ovwallet
 *   SHIM_RPM      stands for the directory /var/lib/rpm and for everything below it
 *
 * Each variable gives the pathname that the process really reaches; a missing variable redirects
 * nothing. Every other pathname goes through unchanged, and what a call returns is never changed.
 * The functions are those that take a pathname and read; the names that fortified programs and
 * programs built for older C libraries use instead are among them.
 */
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif

/* The fortified headers would turn some of the definitions below into their own. */
#undef _FORTIFY_SOURCE

#include <dirent.h>
#include <dlfcn.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

static const char kCommand[] = "/usr/bin/ovwallet";
static const char kPackages[] = "/var/lib/rpm";

/* The pathname to use for path: path itself, or one composed in buffer. */
static const char* redirected(const char* path, char (*buffer)[PATH_MAX]) {
    if (path == NULL) {
        return path;
    }
    const char* command = getenv("SHIM_COMMAND");
    if (command != NULL && strcmp(path, kCommand) == 0) {
        return command;
    }
    const size_t length = sizeof kPackages - 1;
    const char* packages = getenv("SHIM_RPM");
    if (packages == NULL || strncmp(path, kPackages, length) != 0 ||
        (path[length] != '\0' && path[length] != '/')) {
        return path;
    }
    const int size = snprintf(*buffer, sizeof *buffer, "%s%s", packages, path + length);
    if (size < 0 || (size_t)size >= sizeof *buffer) {
        fputs("redirect: the pathname is too long\n", stderr);
        abort();
    }
    return *buffer;
}

static void* next(const char* name) {
    void* function = dlsym(RTLD_NEXT, name);
    if (function == NULL) {
        fprintf(stderr, "redirect: there is no further %s\n", name);
        abort();
    }
    return function;
}

/* Defines NAME, which passes everything on with the path redirected. */
#define REDIRECT(result, name, parameters, arguments) \
    EXPORTED result name parameters;                  \
    EXPORTED result name parameters {                 \
        char buffer[PATH_MAX];                        \
        result(*function) parameters = NULL;          \
        void* found = next(#name);                    \
        memcpy(&function, &found, sizeof function);   \
        path = redirected(path, &buffer);             \
        return function arguments;                    \
    }

REDIRECT(ssize_t, readlink, (const char* restrict path, char* restrict text, size_t size),
         (path, text, size))
REDIRECT(ssize_t, __readlink_chk,
         (const char* restrict path, char* restrict text, size_t size, size_t room),
         (path, text, size, room))
REDIRECT(char*, realpath, (const char* restrict path, char* restrict resolved), (path, resolved))
REDIRECT(char*, __realpath_chk, (const char* restrict path, char* restrict resolved, size_t room),
         (path, resolved, room))
REDIRECT(int, access, (const char* path, int mode), (path, mode))
REDIRECT(DIR*, opendir, (const char* path), (path))
REDIRECT(FILE*, fopen, (const char* restrict path, const char* restrict mode), (path, mode))
REDIRECT(FILE*, fopen64, (const char* restrict path, const char* restrict mode), (path, mode))
REDIRECT(int, stat, (const char* restrict path, struct stat* restrict status), (path, status))
REDIRECT(int, lstat, (const char* restrict path, struct stat* restrict status), (path, status))
REDIRECT(int, stat64, (const char* restrict path, struct stat64* restrict status), (path, status))
REDIRECT(int, lstat64, (const char* restrict path, struct stat64* restrict status), (path, status))

/* The names before glibc 2.33. It still has them, but only for programs that were linked before, so
 * they cannot be looked up; for the one version that x86-64 has they do what the new names do. */
EXPORTED int __xstat(int version, const char* path, struct stat* status);
EXPORTED int __xstat(int version, const char* path, struct stat* status) {
    (void)version;
    return stat(path, status);
}

EXPORTED int __lxstat(int version, const char* path, struct stat* status);
EXPORTED int __lxstat(int version, const char* path, struct stat* status) {
    (void)version;
    return lstat(path, status);
}
