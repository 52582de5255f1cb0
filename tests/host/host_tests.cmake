# What the host's test suite needs beyond its sources: fake module files to load, the program to
# run, and the real module when this build has one. Read at the end of the top directory, once
# tests/ has made the suite.
if(NOT TARGET host_tests)
  return()
endif()

set(fake_folder ${CMAKE_BINARY_DIR}/tests/host-fakes)
foreach(kind IN ITEMS 1 2 3 4)
  add_library(host_test_fake${kind} MODULE ${CMAKE_SOURCE_DIR}/tests/host/fakes/fake_module.cpp)
  target_link_libraries(host_test_fake${kind} PRIVATE tremolin_module_api)
  target_compile_definitions(host_test_fake${kind} PRIVATE FAKE_KIND=${kind})
  set_target_properties(host_test_fake${kind} PROPERTIES PREFIX "" OUTPUT_NAME fake${kind}
                        LIBRARY_OUTPUT_DIRECTORY ${fake_folder})
  add_dependencies(host_tests host_test_fake${kind})
endforeach()

add_dependencies(host_tests tremolin-host)
target_compile_definitions(host_tests PRIVATE
  TREMOLIN_FAKE_MODULE_DIR="${fake_folder}"
  TREMOLIN_HOST_PROGRAM="$<TARGET_FILE:tremolin-host>"
  TREMOLIN_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
if(TARGET tremolin_module)
  add_dependencies(host_tests tremolin_module)
  target_compile_definitions(host_tests PRIVATE TREMOLIN_MODULE_FILE="$<TARGET_FILE:tremolin_module>")
endif()

# The editor's window tests, with the program under a real window system.
include(${CMAKE_SOURCE_DIR}/tests/host/window/window_tests.cmake)
