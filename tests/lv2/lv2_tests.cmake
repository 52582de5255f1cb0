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
