# What users get: the shipped file with its pages, licence, version, checksums and bill of materials, as
# cmake --install lays it out. scripts/make-packages makes the archives of it. Two components are left
# out of a plain installation: `sandbox`, the stand-in wallet, has an archive of its own.

set(package_texts ${PROJECT_BINARY_DIR}/package-texts)
set(texts VERSION SOURCE_DATE_EPOCH walletcaller.spdx.json walletcaller.spec pom.xml)
list(TRANSFORM texts PREPEND ${package_texts}/)
file(GLOB templates CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/package/*.in)

# Versions of what is compiled in.
find_package(utf8cpp CONFIG QUIET)
find_package(CLI11 CONFIG QUIET)
find_package(nlohmann_json CONFIG QUIET)

# The time that everything in a package bears is that of the sources, whenever they are built.
set(source_time "$ENV{SOURCE_DATE_EPOCH}")
if(NOT source_time AND EXISTS ${PROJECT_SOURCE_DIR}/.git)
    execute_process(COMMAND git -c safe.directory=* log -1 --format=%ct
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE source_time OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
elseif(NOT source_time)
    file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CMakeLists.txt source_time "%s" UTC)
endif()

add_custom_command(OUTPUT ${texts}
    COMMAND ${CMAKE_COMMAND}
        -D LIBRARY=$<TARGET_FILE:WalletCaller>
        -D COMMAND=$<TARGET_FILE:walletcaller>
        -D TEMPLATES=${PROJECT_SOURCE_DIR}/cmake/package
        -D VERSION=${PROJECT_VERSION}
        -D SUMMARY=${PROJECT_DESCRIPTION}
        -D URL=${PROJECT_HOMEPAGE_URL}
        -D SOURCE_TIME=${source_time}
        -D GCC_VERSION=${CMAKE_CXX_COMPILER_VERSION}
        -D UTFCPP_VERSION=${utf8cpp_VERSION}
        -D CLI11_VERSION=${CLI11_VERSION}
        -D JSON_VERSION=${nlohmann_json_VERSION}
        -D READELF=${CMAKE_READELF}
        -D DIRECTORY=${package_texts}
        -P ${PROJECT_SOURCE_DIR}/cmake/writePackageTexts.cmake
    DEPENDS WalletCaller walletcaller ${templates} ${PROJECT_SOURCE_DIR}/cmake/writePackageTexts.cmake
    VERBATIM)
add_custom_command(OUTPUT ${package_texts}/walletcaller.1.gz
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/tool/walletcaller.1 > ${package_texts}/walletcaller.1.gz
    DEPENDS tool/walletcaller.1
    VERBATIM)
add_custom_target(package_texts ALL DEPENDS ${texts} ${package_texts}/walletcaller.1.gz)

set(documents share/doc/walletcaller)

# The file is loaded by its pathname, from a copy in a private directory: it lies where no linker looks.
install(PROGRAMS $<TARGET_FILE:WalletCaller> DESTINATION lib64/walletcaller)
install(PROGRAMS $<TARGET_FILE:walletcaller> DESTINATION bin)
install(FILES ${package_texts}/walletcaller.1.gz DESTINATION share/man/man1)
install(FILES tool/completion.bash DESTINATION share/bash-completion/completions RENAME walletcaller)
install(FILES LICENSE README.md ARCHITECTURE.md SECURITY.md CHANGELOG.md
    ${package_texts}/VERSION ${package_texts}/walletcaller.spdx.json DESTINATION ${documents})
# What the command is made with wants its licences to be told.
install(FILES /usr/share/doc/libcli11-dev/copyright DESTINATION ${documents} RENAME LICENSE.CLI11)
install(FILES /usr/share/doc/nlohmann-json3-dev/copyright DESTINATION ${documents} RENAME LICENSE.nlohmann-json)
foreach(page integration errors operations performance support)
    install(FILES docs/${page}.md DESTINATION ${documents}/docs)
endforeach()
# The checksums of all that was just installed, by pathnames from the directory that they lie in.
install(CODE "set(documents ${documents})" COMPONENT Unspecified)
install(SCRIPT cmake/package/writeChecksums.cmake COMPONENT Unspecified)

set(client orvanta/client/14.10/ovwallet/redhatlinux-x8664)
install(PROGRAMS
    ${OVWALLET_SANDBOX_PORTABLE}/${client}/libovwallet.so
    ${OVWALLET_SANDBOX_BASE}/${client}/ovwallet
    ${OVWALLET_SANDBOX_BASE}/${client}/ovwhelper.exe
    DESTINATION ${client} COMPONENT sandbox EXCLUDE_FROM_ALL)
install(DIRECTORY DESTINATION orvanta/client/ovwallet COMPONENT sandbox EXCLUDE_FROM_ALL)
install(FILES LICENSE sandbox/README.md sandbox/OvWalletSandbox.h DESTINATION . COMPONENT sandbox EXCLUDE_FROM_ALL)
# Its command is made with CLI11, whose licence wants to be told.
install(FILES /usr/share/doc/libcli11-dev/copyright
    DESTINATION . RENAME LICENSE.CLI11 COMPONENT sandbox EXCLUDE_FROM_ALL)
