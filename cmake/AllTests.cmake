# What ./check runs: the tests of the presets' build trees, and the checks of the sources. Read by ctest.
get_filename_component(top "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)

subdirs("${top}/build/release" "${top}/build/coverage" "${top}/build/asan" "${top}/build/tsan" "${top}/build/fuzz")

add_test(coverage.lines "${top}/scripts/measure-coverage" --verdict "${top}/build/check/coverage.json")
add_test(static.format "${top}/scripts/check-format")
add_test(static.cppcheck "${top}/scripts/run-cppcheck" "${top}/build/check")
