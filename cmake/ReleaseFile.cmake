# How the shipped file is made: one file that loads wherever glibc is 2.17 or newer, hardened, stripped,
# the same bytes whatever directory it is built in. For the release preset; scripts/check-release-file
# reads from the file whether all of this is so.

if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "The shipped file is built with GCC: its recipe is made for that libstdc++.")
endif()

# walletcaller_stub_library(NAME MAJOR VERSION SYMBOL...)
#
# Makes stub_NAME, a library that is only linked against: it has the soname libNAME.so.MAJOR and the
# symbols with that version. Since glibc 2.34 libc.so.6 has all of them, under a newer version that
# older systems refuse; asking libc.so.6 for the old version (.symver) is refused by systems older than
# 2.30, whose loader also looks whether that very file has the version.
function(walletcaller_stub_library name major version)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/linker-stubs/${name}.c)
    set(map ${CMAKE_CURRENT_BINARY_DIR}/linker-stubs/${name}.map)
    set(definitions "")
    foreach(symbol IN LISTS ARGN)
        string(APPEND definitions "void ${symbol}(void);\nvoid ${symbol}(void) {}\n")
    endforeach()
    list(JOIN ARGN "; " symbols)
    file(CONFIGURE OUTPUT ${source} CONTENT "@definitions@" @ONLY)
    file(CONFIGURE OUTPUT ${map} CONTENT "@version@ { global: @symbols@; local: *; };\n" @ONLY)
    add_library(stub_${name} SHARED ${source})
    target_compile_options(stub_${name} PRIVATE -fvisibility=default -fno-builtin)
    target_link_options(stub_${name} PRIVATE -nostdlib -Wl,--version-script=${map})
    set_target_properties(stub_${name} PROPERTIES
        OUTPUT_NAME ${name}
        SOVERSION ${major}
        LINK_DEPENDS ${map}
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/linker-stubs)
endfunction()

# Symbols of other files than libc.so.6 that the shipped file and the sandbox's libraries use, by the file
# that has had them since before 2.17. The check of the file names a missing one.
walletcaller_stub_library(dl 2 GLIBC_2.2.5 dlclose dlerror dlopen dlsym)
walletcaller_stub_library(pthread 0 GLIBC_2.2.5 __pthread_key_create pthread_once)

# Compiler options that harden, make unused parts removable, and keep directories out of the file.
add_library(walletcaller_release_options INTERFACE)
target_compile_options(walletcaller_release_options INTERFACE
    -O2 -g
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS
    -fstack-protector-strong -fstack-clash-protection -fcf-protection=full
    -ftrivial-auto-var-init=zero
    -fno-delete-null-pointer-checks -fno-strict-overflow -fno-strict-aliasing
    -ffunction-sections -fdata-sections
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=walletcaller
    -ffile-prefix-map=${PROJECT_BINARY_DIR}=walletcaller/build)

# walletcaller_load_on_older_glibc(TARGET): for a shared library.
function(walletcaller_load_on_older_glibc target)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/release/oldGlibc.c)
    target_link_libraries(${target} PRIVATE
        -Wl,--push-state,--no-as-needed stub_dl stub_pthread -Wl,--pop-state)
    # Not -static-libgcc: with a second unwinder an exception that a client library throws ends the JVM.
    target_link_options(${target} PRIVATE -static-libstdc++ -Wl,--gc-sections -Wl,-z,defs)
    # The stubs lie in the build tree; no trace of it may stay in the file.
    set_target_properties(${target} PROPERTIES SKIP_BUILD_RPATH ON)
endfunction()

# walletcaller_make_release_file(TARGET)
function(walletcaller_make_release_file target)
    walletcaller_load_on_older_glibc(${target})
    target_sources(${target} PRIVATE
        ${PROJECT_SOURCE_DIR}/cmake/release/terminate.cpp
        ${PROJECT_SOURCE_DIR}/cmake/release/versionNote.c)
    target_compile_definitions(${target} PRIVATE WALLETCALLER_VERSION="${PROJECT_VERSION}")
    target_link_libraries(${target} PRIVATE walletcaller_release_options)
    # Not -z nodlopen: the JVM loads the library by dlopen.
    target_link_options(${target} PRIVATE
        -Wl,-z,now -Wl,-z,relro -Wl,-z,noexecstack -Wl,--build-id=sha1)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
        COMMAND ${CMAKE_OBJCOPY} --strip-unneeded --remove-section=.comment
            --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
        VERBATIM)
endfunction()

# walletcaller_make_release_program(TARGET): an executable. Not -static: such a program cannot use dlopen.
function(walletcaller_make_release_program target)
    foreach(name IN ITEMS crti crtbeginS crtendS crtn)
        execute_process(COMMAND ${CMAKE_C_COMPILER} -print-file-name=${name}.o
            OUTPUT_VARIABLE ${name} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/release/programStart.c)
    # The start and end files stand around everything else, libstdc++ included: its exception tables have
    # to come before the mark at their end.
    target_link_options(${target} PRIVATE -pie -nostartfiles ${crti} ${crtbeginS})
    walletcaller_make_release_file(${target})
    target_link_libraries(${target} PRIVATE -Wl,-Bstatic -lstdc++ -Wl,-Bdynamic ${crtendS} ${crtn})
endfunction()
