/* A library to be preloaded: it makes the process's end take a while after all that was set up
 * later has been torn down. Threads that are still inside a library then go on, as they could
 * anyway with bad luck, and meet whatever that library's static destructors left.
 */
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif

#include <stdlib.h>
#include <time.h>

static void linger(void) {
    const struct timespec time = {.tv_sec = 0, .tv_nsec = 250 * 1000 * 1000};
    nanosleep(&time, NULL);
}

/* What is registered first runs last. */
__attribute__((constructor)) static void registerLinger(void) {
    if (atexit(linger) != 0) {
        abort();
    }
}
