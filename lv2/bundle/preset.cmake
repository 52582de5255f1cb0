# Writes the preset "Demo": the demo project converted to the module's chunk by tremolin-host,
# as LV2 state with the chunk in base64. Run as:
#   cmake -DHOST=tremolin-host -DPROJECT=demo.tremolin -DOUT=demo.ttl -DWORK=folder -P preset.cmake
cmake_minimum_required(VERSION 3.25)
set(chunk ${WORK}/demo.chunk)
file(REMOVE ${chunk})
execute_process(COMMAND ${HOST} project import ${PROJECT} ${chunk} RESULT_VARIABLE failed ERROR_VARIABLE message)
if(failed)
  message(FATAL_ERROR "tremolin-host could not convert ${PROJECT}: ${message}")
endif()
execute_process(COMMAND base64 -w 0 ${chunk} OUTPUT_VARIABLE encoded RESULT_VARIABLE failed)
if(failed OR encoded STREQUAL "")
  message(FATAL_ERROR "base64 could not encode ${chunk}")
endif()
file(WRITE ${OUT}.part "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
@prefix state: <http://lv2plug.in/ns/ext/state#> .
@prefix xsd: <http://www.w3.org/2001/XMLSchema#> .

<https://tremolin.invalid/lv2/tremolin#demo>
	a pset:Preset ;
	lv2:appliesTo <https://tremolin.invalid/lv2/tremolin> ;
	rdfs:label \"Demo\" ;
	state:state [
		<https://tremolin.invalid/lv2/tremolin#chunk> \"${encoded}\"^^xsd:base64Binary
	] .
")
file(RENAME ${OUT}.part ${OUT})
