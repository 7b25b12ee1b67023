# Writes what goes into the packages beside the shipped file: its version, the bill of materials, and the
# checksums of all, by pathnames that hold both in a directory and in an RPM.

execute_process(COMMAND ${READELF} -nW ${FILE} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "Build ID: ([0-9a-f]+)" match "${notes}")
set(BUILD_ID ${CMAKE_MATCH_1})
if(NOT BUILD_ID)
    message(FATAL_ERROR "${FILE} has no build id")
endif()
cmake_path(GET FILE FILENAME NAME)

file(WRITE ${DIRECTORY}/VERSION "walletcaller ${VERSION}\nbuild id ${BUILD_ID}\n")

file(SHA1 ${FILE} SHA1)
file(SHA256 ${FILE} SHA256)
# SOURCE_DATE_EPOCH, when set, is the time that this gives.
string(TIMESTAMP CREATED "%Y-%m-%dT%H:%M:%SZ" UTC)
configure_file(${TEMPLATE} ${DIRECTORY}/walletcaller.spdx.json @ONLY)

set(sums "${SHA256}  ../../../lib64/walletcaller/${NAME}\n")
foreach(text ${LICENSE} ${DIRECTORY}/VERSION ${DIRECTORY}/walletcaller.spdx.json)
    cmake_path(GET text FILENAME name)
    file(SHA256 ${text} sum)
    string(APPEND sums "${sum}  ${name}\n")
endforeach()
file(WRITE ${DIRECTORY}/SHA256SUMS ${sums})
