// The compiler's own unwinder finds the tables of a frame's file by this function of glibc 2.35. A
// library that brings an unwinder, and is to load where glibc is older, brings the function, too.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <link.h>
#include <stddef.h>

struct Search {
    ElfW(Addr) address;
    struct dl_find_object* found;
};

static int visit(struct dl_phdr_info* file, size_t size, void* argument) {
    (void)size;
    struct Search* search = argument;
    void* tables = NULL;
    int holdsAddress = 0;
    for (const ElfW(Phdr)* segment = file->dlpi_phdr; segment < file->dlpi_phdr + file->dlpi_phnum;
         ++segment) {
        const ElfW(Addr) start = file->dlpi_addr + segment->p_vaddr;
        if (segment->p_type == PT_GNU_EH_FRAME) {
            tables = (void*)start;
        } else if (segment->p_type == PT_LOAD) {
            holdsAddress |= search->address - start < segment->p_memsz;
        }
    }
    search->found->dlfo_eh_frame = tables;
    return holdsAddress && tables != NULL;
}

__attribute__((visibility("hidden"))) int _dl_find_object(void* address,
                                                          struct dl_find_object* found) {
    struct Search search = {(ElfW(Addr))address, found};
    return dl_iterate_phdr(visit, &search) != 0 ? 0 : -1;
}
