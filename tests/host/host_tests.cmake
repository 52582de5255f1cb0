# What the host's test suite needs beyond its sources: the platform's halves of its helpers, fake
# module files to load, the program to run, and the real module when this build has one.

# Process helpers and tests of one platform: *_posix.cpp or *_win32.cpp, and on Linux the
# refusals of the X11 window.
set(host_test_folder ${CMAKE_SOURCE_DIR}/tests/host)
set(host_test_process_sources ${host_test_folder}/process.cpp
                              ${host_test_folder}/platform/process_${TREMOLIN_PLATFORM}.cpp)
set(host_test_platform_globs ${host_test_folder}/platform/*_${TREMOLIN_PLATFORM}_test.cpp)
if(NOT WIN32)
  # And the live outputs through JACK and the ALSA sequencer, heard by clients of the tests' own.
  list(APPEND host_test_platform_globs ${host_test_folder}/platform/*_x11_test.cpp
       ${host_test_folder}/platform/*_jack_test.cpp ${host_test_folder}/platform/*_alsa_test.cpp)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HOST_TEST_SOUND REQUIRED IMPORTED_TARGET jack alsa)
  target_link_libraries(host_tests PRIVATE PkgConfig::HOST_TEST_SOUND)
  target_sources(host_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/platform/jackrecorder_jack.cpp)
endif()
file(GLOB host_test_platform_sources CONFIGURE_DEPENDS ${host_test_platform_globs})
target_sources(host_tests PRIVATE ${host_test_platform_sources}
               ${host_test_folder}/platform/process_${TREMOLIN_PLATFORM}.cpp)

# Under Wine the build's files are on drive Z:, the Unix root. The programs the tests start run in
# folders on drive C:, where a bare /tmp/... would name C:\tmp.
set(host_test_drive "")
if(WIN32 AND CMAKE_CROSSCOMPILING AND CMAKE_HOST_UNIX)
  set(host_test_drive "Z:")
endif()

set(fake_folder ${CMAKE_BINARY_DIR}/tests/host-fakes)
foreach(kind IN ITEMS 1 2 3 4)
  add_library(host_test_fake${kind} MODULE ${host_test_folder}/fakes/fake_module.cpp)
  target_link_libraries(host_test_fake${kind} PRIVATE tremolin_module_api)
  target_compile_definitions(host_test_fake${kind} PRIVATE FAKE_KIND=${kind})
  # fake1.so or fake1.dll, beside each other in one folder.
  set_target_properties(host_test_fake${kind} PROPERTIES PREFIX "" OUTPUT_NAME fake${kind}
                        LIBRARY_OUTPUT_DIRECTORY ${fake_folder})
  add_dependencies(host_tests host_test_fake${kind})
endforeach()

# A program that tells what it was given, for the tests of the process helpers.
add_executable(host_test_echo ${host_test_folder}/fakes/echo_program.cpp)
set_target_properties(host_test_echo PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${fake_folder})

add_dependencies(host_tests tremolin-host host_test_echo)
target_compile_definitions(host_tests PRIVATE
  TREMOLIN_ECHO_PROGRAM="${host_test_drive}$<TARGET_FILE:host_test_echo>"
  TREMOLIN_FAKE_MODULE_DIR="${host_test_drive}${fake_folder}"
  TREMOLIN_HOST_PROGRAM="${host_test_drive}$<TARGET_FILE:tremolin-host>"
  TREMOLIN_SOURCE_DIR="${host_test_drive}${CMAKE_SOURCE_DIR}")
if(TARGET tremolin_module)
  add_dependencies(host_tests tremolin_module)
  target_compile_definitions(host_tests PRIVATE
    TREMOLIN_MODULE_FILE="${host_test_drive}$<TARGET_FILE:tremolin_module>")
endif()

# On Linux midicsv reads the rendered files back, a reader that shares no code with the host's
# writer; the tests' own reader, used where there is no midicsv, is checked against it.
if(NOT WIN32)
  find_program(TREMOLIN_MIDICSV midicsv)
  if(NOT TREMOLIN_MIDICSV)
    message(FATAL_ERROR "midicsv is missing, the host's tests need it: run scripts/setup-deps.")
  endif()
  target_compile_definitions(host_tests PRIVATE TREMOLIN_TEST_MIDICSV="${TREMOLIN_MIDICSV}")
endif()

# The editor's window tests, with the program under a real window system.
include(${CMAKE_SOURCE_DIR}/tests/host/window/window_tests.cmake)
if(TARGET host_window_tests)
  target_sources(host_window_tests PRIVATE ${host_test_process_sources})
endif()
