# The test suites of the Windows build: GoogleTest compiled from Debian's source copy with the cross
# compiler, and every test program run under Wine. CTest and GoogleTest's test discovery both go
# through cmake/wine-run, set as the emulator of the targets made after this file.

set(TREMOLIN_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources, built for Windows")
if(NOT EXISTS ${TREMOLIN_GTEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest's sources are not in ${TREMOLIN_GTEST_SOURCE}: run scripts/setup-deps, "
                      "or configure with -DTREMOLIN_BUILD_TESTS=OFF to build the module alone.")
endif()
find_program(TREMOLIN_WINE NAMES wine64 wine HINTS /usr/lib/wine DOC "Wine, to run the Windows tests")
if(NOT TREMOLIN_WINE)
  message(FATAL_ERROR "Wine is missing, the Windows tests can't run: run scripts/setup-deps, "
                      "or configure with -DTREMOLIN_BUILD_TESTS=OFF to build the module alone.")
endif()

set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${TREMOLIN_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
if(NOT TARGET GTest::gtest_main)
  add_library(GTest::gtest ALIAS gtest)
  add_library(GTest::gtest_main ALIAS gtest_main)
endif()

set(TREMOLIN_WINE_PREFIX ${CMAKE_BINARY_DIR}/wine)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_SOURCE_DIR}/cmake/wine-run ${TREMOLIN_WINE} ${TREMOLIN_WINE_PREFIX})

# The prefix is made once, while building, before the first test program is asked for its tests.
add_custom_command(OUTPUT ${TREMOLIN_WINE_PREFIX}/.tremolin-ready
                   COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR}
                   COMMENT "Making the Wine prefix of the tests"
                   VERBATIM)
add_custom_target(tremolin_wine_prefix DEPENDS ${TREMOLIN_WINE_PREFIX}/.tremolin-ready)
