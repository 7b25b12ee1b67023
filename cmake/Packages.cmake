# What users get: the shipped file with its licence, version, checksums and bill of materials, installed by
# cmake --install or as the archives that scripts/make-packages makes.

set(package_texts ${PROJECT_BINARY_DIR}/package-texts)
set(texts VERSION SHA256SUMS walletcaller.spdx.json)
list(TRANSFORM texts PREPEND ${package_texts}/)

# Version of utfcpp, whose headers are compiled in.
find_package(utf8cpp CONFIG QUIET)

add_custom_command(OUTPUT ${texts}
    COMMAND ${CMAKE_COMMAND}
        -D FILE=$<TARGET_FILE:WalletCaller>
        -D LICENSE=${PROJECT_SOURCE_DIR}/LICENSE
        -D TEMPLATE=${PROJECT_SOURCE_DIR}/cmake/sbom.spdx.json.in
        -D VERSION=${PROJECT_VERSION}
        -D GCC_VERSION=${CMAKE_CXX_COMPILER_VERSION}
        -D UTFCPP_VERSION=${utf8cpp_VERSION}
        -D READELF=${CMAKE_READELF}
        -D DIRECTORY=${package_texts}
        -P ${PROJECT_SOURCE_DIR}/cmake/writePackageTexts.cmake
    DEPENDS WalletCaller ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/cmake/sbom.spdx.json.in
        ${PROJECT_SOURCE_DIR}/cmake/writePackageTexts.cmake
    VERBATIM)
add_custom_target(package_texts ALL DEPENDS ${texts})

# The file is loaded by its pathname, from a copy in a private directory: it lies where no linker looks.
install(PROGRAMS $<TARGET_FILE:WalletCaller> DESTINATION lib64/walletcaller)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${texts} DESTINATION share/doc/walletcaller)

set(CPACK_GENERATOR TGZ RPM)
set(CPACK_PACKAGE_NAME walletcaller)
set(CPACK_PACKAGE_VENDOR "Orvanta")
set(CPACK_PACKAGE_CONTACT "Orvanta")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_FILE_NAME walletcaller-${PROJECT_VERSION}-redhatlinux-x8664)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES OFF)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_RPM_PACKAGE_LICENSE Apache-2.0)
set(CPACK_RPM_PACKAGE_ARCHITECTURE x86_64)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
# The oldest rpm that reads the package knows nothing newer.
set(CPACK_RPM_COMPRESSION_TYPE gzip)
# What the file needs is read from it; nobody links against it.
set(CPACK_RPM_PACKAGE_AUTOREQ ON)
set(CPACK_RPM_PACKAGE_AUTOPROV OFF)
# rpmbuild would strip the file once more.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define __os_install_post %{nil}\n%define _build_id_links none")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/packageConfig.cmake)
include(CPack)
