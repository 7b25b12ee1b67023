// What lets the shipped file load where glibc is older than the one it was built with: calls that
// the headers and libstdc++ bind to newer symbols, over the symbols that every glibc has. All
// hidden: the process's own symbols of these names stay what they are. Linked into the shipped file
// and what must load in the same places only.

// glibc 2.33 made functions of these three; before, the headers called the functions below.
struct stat;
int olderStat(int version, const char* path, struct stat* status);
int olderLstat(int version, const char* path, struct stat* status);
int olderFstat(int version, int fileDescriptor, struct stat* status);
__asm__(".symver olderStat, __xstat@GLIBC_2.2.5");
__asm__(".symver olderLstat, __lxstat@GLIBC_2.2.5");
__asm__(".symver olderFstat, __fxstat@GLIBC_2.2.5");

// The kernel's own layout of struct stat, the only one on 64-bit x86.
enum { kStatVersion = 1 };

__attribute__((visibility("hidden"))) int stat(const char* path, struct stat* status) {
    return olderStat(kStatVersion, path, status);
}

__attribute__((visibility("hidden"))) int lstat(const char* path, struct stat* status) {
    return olderLstat(kStatVersion, path, status);
}

__attribute__((visibility("hidden"))) int fstat(int fileDescriptor, struct stat* status) {
    return olderFstat(kStatVersion, fileDescriptor, status);
}

// glibc 2.32 tells libstdc++ here whether it may save atomic operations. In a JVM it never may.
__attribute__((visibility("hidden"))) char __libc_single_threaded = 0;

// The exceptions of each thread, as the C++ ABI lays them out. libstdc++'s own copy is reached
// through a function of the dynamic loader, which would make the loader one more file that ours
// asks for. This one is reached through a descriptor (-mtls-dialect=gnu2), which also keeps the
// file loadable any number of times: the room for the faster models runs out after a hundred
// copies.
struct ThreadExceptions {
    void* caught;
    unsigned int uncaught;
};
static _Thread_local struct ThreadExceptions threadExceptions;

void* __cxa_get_globals(void);
void* __cxa_get_globals_fast(void);

__attribute__((visibility("hidden"))) void* __cxa_get_globals(void) {
    return &threadExceptions;
}

__attribute__((visibility("hidden"))) void* __cxa_get_globals_fast(void) {
    return &threadExceptions;
}
