# Compiles Java sources with javac alone.
#
#   walletcaller_java_classes(NAME SOURCES DIRECTORY [RELEASE N] [DEPENDS TARGET...] [JARS FILE...])
#       compiles every .java file below DIRECTORY into a class directory of its own, with the
#       classes of the targets and the jars on the class path. The default release is 8, the
#       oldest that the connector's users run. Defines a target NAME, part of "all".
#   walletcaller_java_class_path(VARIABLE TARGET...)
#       sets VARIABLE to the class directories of the targets, joined by ":".

set(WALLETCALLER_JAVA_CLASSES ${CMAKE_BINARY_DIR}/java)

find_package(Java 17 REQUIRED COMPONENTS Development)

function(walletcaller_java_class_path variable)
    set(directories)
    foreach(target IN LISTS ARGN)
        get_target_property(directory ${target} JAVA_CLASSES)
        list(APPEND directories ${directory})
    endforeach()
    list(JOIN directories ":" joined)
    set(${variable} ${joined} PARENT_SCOPE)
endfunction()

function(walletcaller_java_classes name)
    cmake_parse_arguments(PARSE_ARGV 1 java "" "SOURCES;RELEASE" "DEPENDS;JARS")
    if(NOT java_RELEASE)
        set(java_RELEASE 8)
    endif()
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${java_SOURCES}/*.java)
    if(NOT sources)
        message(FATAL_ERROR "There are no Java sources in ${java_SOURCES}")
    endif()
    set(directory ${WALLETCALLER_JAVA_CLASSES}/${name})
    set(stamp ${directory}.stamp)

    set(class_path)
    set(stamps)
    foreach(target IN LISTS java_DEPENDS)
        get_target_property(classes ${target} JAVA_CLASSES)
        list(APPEND class_path ${classes})
        list(APPEND stamps ${classes}.stamp)
    endforeach()
    list(APPEND class_path ${java_JARS})
    list(JOIN class_path ":" class_path)
    # javac takes an empty class path for the working directory, whatever that holds.
    if(NOT class_path)
        set(class_path ${directory})
    endif()

    add_custom_command(
        OUTPUT ${stamp}
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${directory}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${directory}
        COMMAND ${Java_JAVAC_EXECUTABLE} -encoding UTF-8 --release ${java_RELEASE}
                -Xlint:all,-options -Werror -cp ${class_path} -d ${directory} ${sources}
        COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${sources} ${stamps}
        COMMENT "Compiling the Java classes of ${name}"
        VERBATIM)
    add_custom_target(${name} ALL DEPENDS ${stamp})
    if(java_DEPENDS)
        add_dependencies(${name} ${java_DEPENDS})
    endif()
    set_target_properties(${name} PROPERTIES JAVA_CLASSES ${directory})
endfunction()
