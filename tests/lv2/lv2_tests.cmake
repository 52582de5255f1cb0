# The LV2 bundle's suites: in-process through lilv (the bundle as the build tree has it), and the
# descriptions against the LV2 schemas.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LV2_TEST_LILV REQUIRED IMPORTED_TARGET lilv-0)
get_filename_component(lv2_bundle_parent ${TREMOLIN_LV2_BUNDLE} DIRECTORY)

tremolin_test_program(lv2_tests
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/lv2/lv2host.cpp ${CMAKE_CURRENT_SOURCE_DIR}/lv2/plugin_test.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/lv2/input_test.cpp ${CMAKE_CURRENT_SOURCE_DIR}/realtime/alloccounter.cpp
  LIBRARIES tremolin_hostapp PkgConfig::LV2_TEST_LILV PkgConfig::LV2)
add_dependencies(lv2_tests tremolin_lv2_bundle)
target_compile_definitions(lv2_tests PRIVATE
  TREMOLIN_LV2_BUNDLE_PARENT="${lv2_bundle_parent}"
  TREMOLIN_MODULE_FILE="$<TARGET_FILE:tremolin_module>"
  TREMOLIN_SOURCE_DIR="${CMAKE_SOURCE_DIR}")

# sord_validate over the bundle's descriptions and the schemas the system's LV2 ships.
add_test(NAME Lv2BundleValidates
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/lv2/validate.sh ${TREMOLIN_LV2_BUNDLE})
set_tests_properties(Lv2BundleValidates PROPERTIES SKIP_RETURN_CODE 77)

# In real host processes: jalv on JACK's dummy backend, and jalv.gtk3 with the editor on the
# build's Xvfb. The sanitizer builds' bundle needs the sanitizer runtime preloaded into them.
pkg_check_modules(LV2_TEST_JACK REQUIRED IMPORTED_TARGET jack)
pkg_check_modules(LV2_TEST_X REQUIRED IMPORTED_TARGET x11 cairo)
set(lv2_preload "")
if(TREMOLIN_SANITIZE MATCHES "address")
  foreach(runtime libasan.so libubsan.so)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime} OUTPUT_VARIABLE found
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
    string(APPEND lv2_preload " ${found}")
  endforeach()
  string(STRIP "${lv2_preload}" lv2_preload)
elseif(TREMOLIN_SANITIZE MATCHES "thread")
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libtsan.so OUTPUT_VARIABLE lv2_preload
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
tremolin_test_program(lv2_host_tests
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/lv2/jalv_test.cpp ${CMAKE_CURRENT_SOURCE_DIR}/lv2/lv2host.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/lv2/platform/program_posix.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/lv2/platform/windowpicture_x11.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/support/platform/jackrecorder_jack.cpp
          ${CMAKE_CURRENT_SOURCE_DIR}/host/window/platform/picture_cairo.cpp
  LIBRARIES tremolin_hostapp PkgConfig::LV2_TEST_LILV PkgConfig::LV2 PkgConfig::LV2_TEST_JACK PkgConfig::LV2_TEST_X
  PROPERTIES FIXTURES_REQUIRED toolkit_xvfb RESOURCE_LOCK toolkit_pointer ENVIRONMENT DISPLAY=:${toolkit_display})
add_dependencies(lv2_host_tests tremolin_lv2_bundle tremolin-host)
target_compile_definitions(lv2_host_tests PRIVATE
  TREMOLIN_LV2_BUNDLE_PARENT="${lv2_bundle_parent}"
  TREMOLIN_MODULE_FILE="$<TARGET_FILE:tremolin_module>"
  TREMOLIN_HOST_PROGRAM="$<TARGET_FILE:tremolin-host>"
  TREMOLIN_SANITIZER_PRELOAD="${lv2_preload}"
  TREMOLIN_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
