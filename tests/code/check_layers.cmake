# Reads every source of the product and fails on an include that runs against the layers:
#   foundation <- module <- plugbase <- midiplugs/midiseq; toolkit <- foundation;
#   host/kit <- module + foundation; host <- host/kit (+ toolkit for its own windows, and the
#   chunk's layout header of the sequencer); lv2 <- host/kit + module + foundation (the LV2
#   adapter is a host of the module file, never a user of its code).
# The effect's half of plugbase and of the sequencer knows no toolkit, so that the engine, the
# chunk and their fuzzer build without a window or drawing library. Platform headers appear only
# under a platform/ folder. Run as: cmake -DSOURCE_DIR=... -P check_layers.cmake
cmake_minimum_required(VERSION 3.25)

set(ours foundation module plugbase toolkit midiplugs host tools lv2)
# folder (a regular expression on the file's path) -> the folders of ours it may include
set(rule_names foundation module plugbase_editor plugbase toolkit midiseq_editor midiseq hostkit host lv2 tools)
set(rule_foundation_path "^foundation/")
set(rule_foundation_allowed foundation)
set(rule_module_path "^module/")
set(rule_module_allowed foundation module)
set(rule_plugbase_editor_path "^plugbase/(pplugview|platform/editor)")
set(rule_plugbase_editor_allowed foundation module plugbase toolkit)
set(rule_plugbase_path "^plugbase/")
set(rule_plugbase_allowed foundation module plugbase)
set(rule_toolkit_path "^toolkit/")
set(rule_toolkit_allowed foundation toolkit)
set(rule_midiseq_editor_path "^midiplugs/midiseq/(psequencerview|paboutview|colorramp|midiseqentry)")
set(rule_midiseq_editor_allowed foundation module plugbase toolkit midiplugs)
set(rule_midiseq_path "^midiplugs/")
set(rule_midiseq_allowed foundation module plugbase midiplugs)
set(rule_hostkit_path "^host/kit/")
set(rule_hostkit_allowed foundation module host/kit)
set(rule_host_path "^host/")
set(rule_host_allowed foundation module host toolkit)
set(rule_lv2_path "^lv2/")
set(rule_lv2_allowed foundation module host/kit lv2)
set(rule_tools_path "^tools/")
set(rule_tools_allowed "")

file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR}
     ${SOURCE_DIR}/foundation/*.h ${SOURCE_DIR}/foundation/*.cpp ${SOURCE_DIR}/module/*.h
     ${SOURCE_DIR}/module/*.cpp ${SOURCE_DIR}/plugbase/*.h ${SOURCE_DIR}/plugbase/*.cpp
     ${SOURCE_DIR}/toolkit/*.h ${SOURCE_DIR}/toolkit/*.cpp ${SOURCE_DIR}/midiplugs/*.h
     ${SOURCE_DIR}/midiplugs/*.cpp ${SOURCE_DIR}/host/*.h ${SOURCE_DIR}/host/*.cpp
     ${SOURCE_DIR}/lv2/*.h ${SOURCE_DIR}/lv2/*.cpp ${SOURCE_DIR}/tools/*.h ${SOURCE_DIR}/tools/*.cpp)

set(platform_headers "<(windows\\.h|gdiplus|ole2\\.h|objidl\\.h|shlobj\\.h|X11/|cairo|pthread\\.h|dlfcn\\.h|unistd\\.h|mmsystem\\.h|fluidsynth|jack/|alsa/)")
set(faults 0)
foreach(source IN LISTS sources)
  set(allowed "")
  set(found OFF)
  foreach(rule IN LISTS rule_names)
    if(NOT found AND source MATCHES "${rule_${rule}_path}")
      set(allowed ${rule_${rule}_allowed})
      set(found ON)
    endif()
  endforeach()
  file(STRINGS ${SOURCE_DIR}/${source} includes REGEX "^[ \t]*#[ \t]*include")
  foreach(line IN LISTS includes)
    if(line MATCHES "#[ \t]*include[ \t]*\"([a-z0-9_]+)/([a-z0-9_]+/)?")
      set(top ${CMAKE_MATCH_1})
      set(second ${CMAKE_MATCH_2})
      if(top IN_LIST ours)
        set(target ${top})
        if(top STREQUAL "host" AND second STREQUAL "kit/")
          set(target host/kit)
        endif()
        set(ok OFF)
        # The one header of the chunk's layout is shared with the program that converts projects.
        if(source MATCHES "^host/[a-z_]+\\.(h|cpp)$" AND line MATCHES "\"midiplugs/midiseq/chunkformat\\.h\"")
          set(ok ON)
        endif()
        foreach(folder IN LISTS allowed)
          if(target STREQUAL folder OR (folder STREQUAL "host" AND target STREQUAL "host/kit"))
            set(ok ON)
          endif()
        endforeach()
        if(NOT ok)
          message(SEND_ERROR "${source}: includes ${target}/, which this layer may not use (${line})")
          math(EXPR faults "${faults} + 1")
        endif()
      endif()
    endif()
    if(line MATCHES "${platform_headers}" AND NOT source MATCHES "(^|/)platform/" AND NOT source MATCHES "^tools/")
      message(SEND_ERROR "${source}: a platform header outside a platform/ folder (${line})")
      math(EXPR faults "${faults} + 1")
    endif()
  endforeach()
endforeach()
if(faults GREATER 0)
  message(FATAL_ERROR "${faults} include(s) against the layers")
endif()
list(LENGTH sources count)
message(STATUS "${count} sources keep the layers")
