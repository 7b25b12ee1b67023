# Writes what the packages say about themselves: the shipped file's version, the bill of materials, the
# files that rpmbuild and Maven read, and the time that everything in a package bears.

# Sets PREFIX_SHA1, PREFIX_SHA256 and PREFIX_BUILD_ID.
function(describe prefix file)
    execute_process(COMMAND ${READELF} -nW ${file} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCH "Build ID: ([0-9a-f]+)" match "${notes}")
    if(NOT match)
        message(FATAL_ERROR "${file} has no build id")
    endif()
    set(${prefix}_BUILD_ID ${CMAKE_MATCH_1} PARENT_SCOPE)
    foreach(algorithm SHA1 SHA256)
        file(${algorithm} ${file} sum)
        set(${prefix}_${algorithm} ${sum} PARENT_SCOPE)
    endforeach()
endfunction()

describe(LIBRARY ${LIBRARY})
describe(COMMAND ${COMMAND})
cmake_path(GET LIBRARY FILENAME NAME)

# For the template, where an @ begins a variable.
set(AT "@")
# What string(TIMESTAMP) gives.
set(ENV{SOURCE_DATE_EPOCH} ${SOURCE_TIME})
string(TIMESTAMP CREATED "%Y-%m-%dT%H:%M:%SZ" UTC)
string(TIMESTAMP DATE "%a %b %d %Y" UTC)

file(WRITE ${DIRECTORY}/VERSION "walletcaller ${VERSION}\nbuild id ${LIBRARY_BUILD_ID}\n")
file(WRITE ${DIRECTORY}/SOURCE_DATE_EPOCH "${SOURCE_TIME}\n")
foreach(text walletcaller.spdx.json walletcaller.spec pom.xml)
    configure_file(${TEMPLATES}/${text}.in ${DIRECTORY}/${text} @ONLY)
endforeach()
