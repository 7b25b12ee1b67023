// What lets the command run where glibc is older than the one it was built with, beside
// oldGlibc.c: how a program is started.
//
// The system's start file asks for a function of glibc 2.34. Bound to the older version of that
// function it would run, and crash: before 2.34 it is the start file that runs constructors. So
// the command has a start of its own, which does.

int main(int argumentCount, char** arguments, char** environment);

typedef void (*Constructor)(int, char**, char**);
extern Constructor __init_array_start[] __attribute__((visibility("hidden")));
extern Constructor __init_array_end[] __attribute__((visibility("hidden")));

// Every glibc has it. Destructors are the dynamic loader's business.
int olderStart(int (*program)(int, char**, char**), int argumentCount, char** arguments,
               Constructor constructors, void (*destructors)(void), void (*loaderEnd)(void),
               void* stackEnd);
__asm__(".symver olderStart, __libc_start_main@GLIBC_2.2.5");

static void runConstructors(int argumentCount, char** arguments, char** environment) {
    for (Constructor* next = __init_array_start; next != __init_array_end; ++next) {
        (*next)(argumentCount, arguments, environment);
    }
}

// The stack begins with the number of arguments, and they follow.
void startProgram(long* stack, void (*loaderEnd)(void));
__attribute__((visibility("hidden"), noreturn)) void startProgram(long* stack,
                                                                  void (*loaderEnd)(void)) {
    olderStart(main, (int)stack[0], (char**)(stack + 1), runConstructors, 0, loaderEnd, stack);
    __builtin_trap();
}

__asm__(
    ".text\n"
    ".globl _start\n"
    ".type _start, @function\n"
    "_start:\n"
    "    endbr64\n"
    "    xorl %ebp, %ebp\n"
    "    movq %rsp, %rdi\n"
    "    movq %rdx, %rsi\n"
    "    andq $-16, %rsp\n"
    "    call startProgram\n"
    "    hlt\n"
    ".size _start, . - _start\n");

// libstdc++'s file streams; glibc 2.33 made a function of it.
struct stat64;
int olderFstat64(int version, int fileDescriptor, struct stat64* status);
__asm__(".symver olderFstat64, __fxstat64@GLIBC_2.2.5");

enum { kStatVersion = 1 };

int fstat64(int fileDescriptor, struct stat64* status);
__attribute__((visibility("hidden"))) int fstat64(int fileDescriptor, struct stat64* status) {
    return olderFstat64(kStatVersion, fileDescriptor, status);
}
