# Writes what the packages say about themselves: the shipped file's version, the bill of materials, the
# files that rpmbuild and Maven read, and the time that everything in a package bears.

execute_process(COMMAND ${READELF} -nW ${FILE} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "Build ID: ([0-9a-f]+)" match "${notes}")
set(BUILD_ID ${CMAKE_MATCH_1})
if(NOT BUILD_ID)
    message(FATAL_ERROR "${FILE} has no build id")
endif()
cmake_path(GET FILE FILENAME NAME)
file(SHA1 ${FILE} SHA1)
file(SHA256 ${FILE} SHA256)

# For the template, where an @ begins a variable.
set(AT "@")
# What string(TIMESTAMP) gives.
set(ENV{SOURCE_DATE_EPOCH} ${SOURCE_TIME})
string(TIMESTAMP CREATED "%Y-%m-%dT%H:%M:%SZ" UTC)
string(TIMESTAMP DATE "%a %b %d %Y" UTC)

set(COMMAND_FILES "")
if(WITH_COMMAND)
    set(COMMAND_FILES "/usr/bin/walletcaller\n%doc /usr/share/man/man1/walletcaller.1\n")
endif()

file(WRITE ${DIRECTORY}/VERSION "walletcaller ${VERSION}\nbuild id ${BUILD_ID}\n")
file(WRITE ${DIRECTORY}/SOURCE_DATE_EPOCH "${SOURCE_TIME}\n")
foreach(text walletcaller.spdx.json walletcaller.spec pom.xml)
    configure_file(${TEMPLATES}/${text}.in ${DIRECTORY}/${text} @ONLY)
endforeach()
