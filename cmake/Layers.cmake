# A layer is one folder below src/ and one library. Its headers are reached through a folder of
# links of its own, so that a file can include only what its library depends on: an include that
# goes against the order of the layers does not compile.
#
#   tapeloop_add_layer(capture
#     FOLDER capture
#     HEADERS recording.h ...
#     SOURCES recording.cpp ...
#     DEPENDS tapeloop::platform         # passed on to whoever uses the layer
#     USES RapidJSON)                    # needed by the sources alone
function(tapeloop_add_layer name)
  cmake_parse_arguments(layer "" "FOLDER" "HEADERS;SOURCES;DEPENDS;USES" ${ARGN})
  set(root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${root}/${layer_FOLDER})
  foreach(header IN LISTS layer_HEADERS)
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${layer_FOLDER}/${header}
         ${root}/${layer_FOLDER}/${header} SYMBOLIC)
  endforeach()
  if(layer_SOURCES)
    add_library(tapeloop_${name} STATIC ${layer_SOURCES})
    target_include_directories(tapeloop_${name} PUBLIC ${root})
    target_link_libraries(tapeloop_${name} PUBLIC ${layer_DEPENDS} PRIVATE ${layer_USES})
    tapeloop_set_warnings(tapeloop_${name})
  else()
    add_library(tapeloop_${name} INTERFACE)
    target_include_directories(tapeloop_${name} INTERFACE ${root})
    target_link_libraries(tapeloop_${name} INTERFACE ${layer_DEPENDS})
  endif()
  add_library(tapeloop::${name} ALIAS tapeloop_${name})
endfunction()
