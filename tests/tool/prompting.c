/* A client library that asks on the terminal as soon as it is loaded, and on standard input. Each
 * byte that it is given makes the file $PROMPTING_MARKER longer. */
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

static void ask(int descriptor) {
    char byte;
    const char* marker = getenv("PROMPTING_MARKER");
    while (marker != NULL && read(descriptor, &byte, 1) == 1) {
        const int file = open(marker, O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (write(file, &byte, 1) != 1 || close(file) != 0 || byte == '\n') {
            return;
        }
    }
}

__attribute__((constructor)) static void prompt(void) {
    const int terminal = open("/dev/tty", O_RDWR);
    if (terminal >= 0) {
        if (write(terminal, "Password: ", 10) == 10) {
            ask(terminal);
        }
        close(terminal);
    }
    ask(STDIN_FILENO);
}
