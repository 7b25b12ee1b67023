# Warnings and sanitizers that every target of ours is compiled with: link walletcaller_options privately.
add_library(walletcaller_options INTERFACE)
target_compile_features(walletcaller_options INTERFACE cxx_std_20)
target_compile_options(walletcaller_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wcast-qual -Wundef -Wvla -Wformat=2
    -Wno-format-nonliteral -Wimplicit-fallthrough
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wextra-semi>
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast>)

# Until GCC 13 this one takes "a" + std::string() for memory that overlaps.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(walletcaller_options INTERFACE -Wno-restrict)
endif()

set(WALLETCALLER_SANITIZERS "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(WALLETCALLER_SANITIZERS)
    target_compile_options(walletcaller_options INTERFACE
        -fsanitize=${WALLETCALLER_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(walletcaller_options INTERFACE -fsanitize=${WALLETCALLER_SANITIZERS})
endif()

if(WALLETCALLER_FUZZ)
    target_compile_options(walletcaller_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
