#!/usr/bin/env python3
"""Each property that scripts/check-release-file reads fails on a file built wrong on purpose."""

import os
import re
import subprocess
import tempfile
import unittest

TOP = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
GATE = os.path.join(TOP, "scripts", "check-release-file")
NAME = "libWalletCaller-redhatlinux-x8664.so"
ENTRY = "Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions"

# A library in which everything holds: it asks libc, libdl and libpthread, has a buffer to protect and a
# call to fortify.
SOURCE = f"""
#include <stdio.h>
#include <stdlib.h>
void* dlopen(const char*, int);
int pthread_once(int*, void (*)(void));
static int once;
__attribute__((visibility("default"))) void* {ENTRY}(const char* text, long number) {{
    char buffer[64];
    snprintf(buffer, number, "%s", text);
    pthread_once(&once, abort);
    return dlopen(buffer, 1);
}}
"""

COMPILE = ["-O2", "-g", "-fPIC", "-fvisibility=hidden", "-D_FORTIFY_SOURCE=2",
           "-fstack-protector-strong", "-fcf-protection=full"]
LINK = ["-Wl,-z,now", "-Wl,-z,relro", "-Wl,-z,noexecstack", "-Wl,--build-id=sha1",
        f"-Wl,-soname,{NAME}"]
NOTE = os.path.join(TOP, "cmake", "release", "versionNote.c")


def run(*command):
    subprocess.run(command, check=True)


class Builder:
    """Builds the library in a directory of its own, with what one test changes."""

    def __init__(self, directory):
        self.directory = directory
        self.file = os.path.join(directory, NAME)

    def path(self, name):
        return os.path.join(self.directory, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="ascii") as file:
            file.write(text)
        return self.path(name)

    def stub(self, soname, version, *symbols):
        source = self.write(soname + ".c", "".join(f"void {s}(void) {{}}\n" for s in symbols))
        version_map = self.write(soname + ".map",
                                 f"{version} {{ global: {' '.join(s + ';' for s in symbols)} }};")
        run("gcc", "-w", "-shared", "-fPIC", "-nostdlib", "-fno-builtin", f"-Wl,-soname,{soname}",
            f"-Wl,--version-script={version_map}", "-o", self.path(soname), source)
        return self.path(soname)

    def build(self, more="", compiling=(), linking=(), export=ENTRY + ";", stubs=None, note=True,
              strip=True):
        if stubs is None:
            stubs = [self.stub("libdl.so.2", "GLIBC_2.2.5", "dlopen"),
                     self.stub("libpthread.so.0", "GLIBC_2.2.5", "pthread_once")]
        source = self.write("library.c", SOURCE + more)
        version_map = self.write("exports.map", f"{{ global: {export} local: *; }};")
        run("gcc", "-w", "-shared", *COMPILE, *compiling, '-DWALLETCALLER_VERSION="1.2.3"', *LINK,
            f"-Wl,--version-script={version_map}", "-o", self.file, source, *([NOTE] if note else []),
            "-Wl,--no-as-needed", *stubs, "-Wl,--as-needed", *linking)
        run("objcopy", "--only-keep-debug", self.file, self.file + ".debug")
        if strip:
            run("objcopy", "--strip-unneeded", f"--add-gnu-debuglink={self.file}.debug", self.file)

    def check(self):
        """(names of the properties that fail, the whole output)"""
        result = subprocess.run([GATE, self.file], capture_output=True, text=True, check=False)
        failed = set(re.findall(r"^FAIL  (.*?)  ", result.stdout, re.M))
        if result.returncode != (1 if failed else 0):
            raise AssertionError(f"status {result.returncode}\n{result.stdout}{result.stderr}")
        return failed, result.stdout


# What fails, by the build that is wrong: build(Builder) -> properties that fail.
CASES = {}


def case(*properties):
    def keep(build):
        CASES[build.__name__] = (build, set(properties))
        return build
    return keep


@case()
def nothing_wrong(b):
    b.build()


@case("newest glibc symbol", "imports from glibc 2.17")
def stat_of_glibc_2_33(b):
    b.build("int stat(const char*, void*);"
            "__attribute__((used)) static int use(void) { return stat(0, 0); }")


@case("newest glibc symbol")
def packed_relocations_of_glibc_2_36(b):
    b.build("static int target; __attribute__((used)) static int* pointers[] = {&target, &target};",
            linking=["-Wl,-z,pack-relative-relocs"])


@case("newest libgcc symbol")
def symbol_of_gcc_4_3(b):
    stub = b.stub("libgcc_s.so.1", "GCC_4.3.0", "newer")
    b.build("void newer(void); __attribute__((used)) static void use(void) { newer(); }",
            linking=["-Wl,--no-as-needed", stub])


@case("libstdc++ symbols", "needed libraries")
def libstdcxx_not_linked_in(b):
    b.build("void _ZSt9terminatev(void);"
            "__attribute__((used)) static void use(void) { _ZSt9terminatev(); }",
            linking=["-lstdc++"])


@case("imports from glibc 2.17")
def dlopen_asked_of_libc_by_symver(b):
    # The version is old enough; it is the file that is wrong.
    b.build('__asm__(".symver dlopen, dlopen@GLIBC_2.2.5");',
            stubs=[b.stub("libpthread.so.0", "GLIBC_2.2.5", "pthread_once")])


@case("newest glibc symbol", "imports from glibc 2.17")
def linked_without_the_stubs(b):
    b.build(stubs=[])


@case("imports from glibc 2.17")
def symbol_that_nobody_has(b):
    b.build("void nobody(void); __attribute__((used)) static void use(void) { nobody(); }")


@case("weak symbols")
def weak_symbol_of_another_library(b):
    b.build("void __attribute__((weak)) other(void);"
            "__attribute__((used)) static void use(void) { if (other) other(); }")


@case("needed libraries")
def one_more_library(b):
    b.build(linking=["-Wl,--no-as-needed", b.stub("libother.so.1", "OTHER_1", "other")])


@case("exported symbols")
def one_more_export(b):
    b.build('__attribute__((visibility("default"))) void another(void) {}',
            export=f"{ENTRY}; another;")


@case("exported symbols", "endbr64 at the entry")
def no_export(b):
    b.build(export="nothing;")


@case("exported symbols", "unique symbols")
def unique_symbol(b):
    b.build('__asm__(".globl one\\n.type one, @gnu_unique_object\\n.data\\none: .quad 1\\n.size one, 8\\n'
            '.text");', export=f"{ENTRY}; one;")


@case("soname")
def other_soname(b):
    b.build(linking=["-Wl,-soname,libWalletCaller.so"])


@case("position independent")
def fixed_addresses(b):
    b.build()
    with open(b.file, "r+b") as file:
        file.seek(16)
        file.write((2).to_bytes(2, "little"))


@case("text relocations")
def address_in_code(b):
    b.build(f'__asm__(".text\\n.quad {ENTRY}");', linking=["-Wl,-z,notext"])


@case("run path")
def run_path(b):
    b.build(linking=["-Wl,-rpath,/opt/lib"])


@case("stack")
def executable_stack(b):
    b.build(linking=["-Wl,-z,execstack"])


@case("writable and executable")
def writable_code(b):
    b.build('__asm__(".section .both,\\"awx\\"\\n.quad 1\\n.text");')


@case("RELRO")
def no_relro(b):
    b.build(linking=["-Wl,-z,norelro"])


@case("BIND_NOW")
def lazy_binding(b):
    b.build(linking=["-Wl,-z,lazy"])


@case("dlopen allowed")
def no_dlopen(b):
    b.build(linking=["-Wl,-z,nodlopen"])


@case("static thread storage")
def initial_exec_variable(b):
    b.build("static __thread int own; __attribute__((used)) static int* use(void) { return &own; }",
            compiling=["-ftls-model=initial-exec"])


@case("TLS descriptors")
def variable_with_a_descriptor(b):
    b.build("static __thread int own; __attribute__((used)) static int* use(void) { return &own; }",
            compiling=["-mtls-dialect=gnu2"])


@case("stack protector")
def no_stack_protector(b):
    b.build(compiling=["-fno-stack-protector"])


@case("fortified calls")
def not_fortified(b):
    b.build(compiling=["-U_FORTIFY_SOURCE"])


@case("endbr64 at the entry")
def no_branch_protection(b):
    b.build(compiling=["-fcf-protection=none"])


@case("size")
def too_large(b):
    b.build("__attribute__((used)) static const char large[600 * 1024] = {1};")


@case("symbol table, debug info", "debug symbols beside it")
def not_stripped(b):
    b.build(strip=False)


@case("build id", "debug symbols beside it")
def no_build_id(b):
    b.build(linking=["-Wl,--build-id=none"])


@case("debug symbols beside it")
def debug_symbols_lost(b):
    b.build()
    os.remove(b.file + ".debug")


@case("debug symbols beside it")
def debug_symbols_of_another_build(b):
    b.build("__attribute__((used)) static int another;")
    os.rename(b.file + ".debug", b.path("kept"))
    b.build()
    os.rename(b.path("kept"), b.file + ".debug")


@case("version note")
def no_version_note(b):
    b.build(note=False)


@case("machine", "endbr64 at the entry")
def other_machine(b):
    b.build()
    with open(b.file, "r+b") as file:
        file.seek(18)
        file.write((183).to_bytes(2, "little"))


class ReleaseGateTest(unittest.TestCase):
    def check(self, name):
        build, expected = CASES[name]
        with tempfile.TemporaryDirectory() as directory:
            builder = Builder(directory)
            build(builder)
            failed, output = builder.check()
            self.assertEqual(failed, expected, output)
            return output

    def test_every_property_has_a_wrong_build(self):
        rows = set(re.findall(r"^ok    (.*?)  ", self.check("nothing_wrong"), re.M))
        self.assertEqual(rows, set().union(*(expected for _, expected in CASES.values())))

    def test_too_new_a_symbol_is_named_with_what_to_do(self):
        output = self.check("stat_of_glibc_2_33")
        self.assertIn("\nnewest glibc symbol: stat@GLIBC_2.33: too new for the oldest systems that load "
                      "the file. Use an older call", output)

    def test_the_file_that_should_be_asked_is_named(self):
        output = self.check("dlopen_asked_of_libc_by_symver")
        self.assertIn("dlopen@GLIBC_2.2.5 of libc.so.6, in 2.17 the name is in libdl.so.2", output)


def add_test(name):
    def test(self):
        self.check(name)
    setattr(ReleaseGateTest, f"test_{name}", test)


for case_name in CASES:
    add_test(case_name)

if __name__ == "__main__":
    unittest.main()
