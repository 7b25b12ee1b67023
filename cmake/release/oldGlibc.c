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
