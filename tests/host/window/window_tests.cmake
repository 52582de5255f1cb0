# The editor's window tests: the program under the X server that the toolkit's window tests
# start, driven by a user: on Linux through the server's test extension, on Windows (under Wine,
# whose windows are on that server too) through the messages of the program's windows.
if(TARGET toolkit_tests AND TARGET tremolin_module)
  set(host_window_display ${toolkit_display})
  if(WIN32)
    file(GLOB host_window_test_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/host/window/*.cpp
         ${CMAKE_SOURCE_DIR}/tests/host/window/platform/*_win32.cpp)
    add_executable(host_window_tests ${host_window_test_sources})
    target_link_libraries(host_window_tests PRIVATE tremolin_hostedit GTest::gtest_main user32 gdiplus ole32)
    add_dependencies(host_window_tests tremolin_wine_prefix)
  else()
    file(GLOB host_window_test_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/host/window/*.cpp
         ${CMAKE_SOURCE_DIR}/tests/host/window/platform/*_x11.cpp
         ${CMAKE_SOURCE_DIR}/tests/host/window/platform/*_cairo.cpp)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(HOST_WINDOW_TEST_X REQUIRED IMPORTED_TARGET x11 xtst cairo)
    add_executable(host_window_tests ${host_window_test_sources})
    target_link_libraries(host_window_tests PRIVATE tremolin_hostedit GTest::gtest_main PkgConfig::HOST_WINDOW_TEST_X)
    # The panel tests draw in this process: the drawing libraries' caches are no leaks of ours.
    target_sources(host_window_tests PRIVATE $<TARGET_OBJECTS:tremolin_drawing_suppressions>)
  endif()
  # host_test_drive: the drive that the build's paths are on for the Windows programs, if any.
  target_compile_definitions(host_window_tests PRIVATE
    TREMOLIN_FAKE_MODULE_DIR="${host_test_drive}${fake_folder}"
    TREMOLIN_HOST_PROGRAM="${host_test_drive}$<TARGET_FILE:tremolin-host>"
    TREMOLIN_SOURCE_DIR="${host_test_drive}${CMAKE_SOURCE_DIR}")
  add_dependencies(host_window_tests tremolin-host tremolin_module host_test_fake1)
  gtest_discover_tests(host_window_tests DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT 300 FIXTURES_REQUIRED toolkit_xvfb RESOURCE_LOCK toolkit_pointer
                                  ENVIRONMENT DISPLAY=:${host_window_display})
endif()
