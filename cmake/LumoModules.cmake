# The two kinds of binaries that must look alike wherever they are built.

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
    # registPlugin may open another copy of the SDK for all to see. Bound at once, every call
    # stays with the copy that was linked.
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
    # Two copies may live in one process; each keeps to its own functions.
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions -Wl,-z,now)
  endif()
endfunction()
