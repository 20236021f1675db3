# Build rules of the two kinds of binaries, which must be the same in every build.

# lumo_hide_build_paths(<target>)
# Log lines and GStreamer's messages carry a source file's path: as it stands in the project, not on
# the build machine. A compiler cache may have made it relative.
function(lumo_hide_build_paths target)
  file(RELATIVE_PATH up_to_project ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
  target_compile_options(${target} PRIVATE -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
                                           -fmacro-prefix-map=${up_to_project}=)
endfunction()

# lumo_add_node_module(<target> <folder> <source>...)
# A module that the runtime loads, put into <folder> of the build. It finds NimboSdk in the
# framework folder beside itself.
function(lumo_add_node_module target folder)
  add_library(${target} MODULE ${ARGN})
  target_link_libraries(${target} PRIVATE lumo_warnings lumo_node)
  set_target_properties(
    ${target}
    PROPERTIES PREFIX ""
               SUFFIX .node
               LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${folder}
               BUILD_WITH_INSTALL_RPATH ON
               INSTALL_RPATH $<IF:$<PLATFORM_ID:Darwin>,@loader_path,$ORIGIN>/NimboSdk.framework)
  if(APPLE)
    target_link_options(${target} PRIVATE -undefined dynamic_lookup)
  else()
    # registPlugin may open another copy of the SDK with global symbols. With immediate binding
    # every call stays with the linked copy.
    target_link_options(${target} PRIVATE -Wl,-z,now)
  endif()
endfunction()

# lumo_add_nimbo_sdk(<target> <folder> <source>...)
# A NimboSdk, put into NimboSdk.framework in <folder> of the build. File name and SONAME are bare.
function(lumo_add_nimbo_sdk target folder)
  add_library(${target} SHARED ${ARGN})
  target_link_libraries(${target} PUBLIC nimbo_sdk_interface PRIVATE lumo_warnings)
  set_target_properties(
    ${target}
    PROPERTIES LINKER_LANGUAGE CXX
               OUTPUT_NAME NimboSdk
               PREFIX ""
               SUFFIX ""
               LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${folder}/NimboSdk.framework)
  if(NOT APPLE)
    # Two copies may be loaded in one process; each calls its own functions.
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions -Wl,-z,now)
  endif()
endfunction()
