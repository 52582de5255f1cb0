# Embeds the files of a resource list ("type number file" per line, # for comments) into a
# generated C++ source: each file is pulled in by the assembler's .incbin, so that even large
# bitmaps cost no build time, and a table gives type, number, size and bytes. A bitmap resource
# (type 2) holds a BMP without its 14-byte file header, as the Windows resource compiler stores
# it, so for those the file header is skipped.
function(tremolin_embed_resources target list_file)
  get_filename_component(folder ${list_file} DIRECTORY)
  file(STRINGS ${list_file} lines REGEX "^[0-9]")
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources.cpp)
  set(body "// Generated from ${list_file}; do not edit.\n#include \"plugbase/moduleresources.h\"\n\n")
  set(table "")
  set(depends ${list_file})
  set(index 0)
  foreach(line IN LISTS lines)
    string(REGEX MATCH "^([0-9]+)[ \t]+([0-9]+)[ \t]+(.+)$" _ "${line}")
    set(type ${CMAKE_MATCH_1})
    set(number ${CMAKE_MATCH_2})
    set(file ${folder}/${CMAKE_MATCH_3})
    list(APPEND depends ${file})
    set(skip "")
    if(type EQUAL 2)
      set(skip ", 14")
    endif()
    string(APPEND body
      "__asm__(\".section .rodata\\n.balign 16\\ntremolin_resource_${index}_begin:\\n"
      ".incbin \\\"${file}\\\"${skip}\\ntremolin_resource_${index}_end:\\n.byte 0\\n.previous\\n\");\n"
      "extern \"C\" const unsigned char tremolin_resource_${index}_begin[];\n"
      "extern \"C\" const unsigned char tremolin_resource_${index}_end[];\n")
    string(APPEND table
      "    {${type}, ${number}, tremolin_resource_${index}_begin, tremolin_resource_${index}_end},\n")
    math(EXPR index "${index} + 1")
  endforeach()
  string(APPEND body "\nconst PEmbeddedResource kEmbeddedResources[] = {\n${table}    {0, 0, nullptr, nullptr},\n};\n")
  file(CONFIGURE OUTPUT ${generated} CONTENT "${body}" @ONLY)
  set_source_files_properties(${generated} PROPERTIES OBJECT_DEPENDS "${depends}")
  target_sources(${target} PRIVATE ${generated})
endfunction()
