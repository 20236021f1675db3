# Finds the headers of the runtime that the add-on is built for and offers them as lumo_node.
#
# cmake-js passes them in CMAKE_JS_INC. A plain `cmake --preset` queries cmake-js for the same path,
# so there is one rule: npm's `nodedir` setting, else the headers installed beside the running Node,
# else cmake-js's own download.
if(NOT DEFINED CMAKE_JS_INC)
  if(NOT DEFINED ENV{npm_config_nodedir})
    execute_process(
      COMMAND node -p "require('path').resolve(process.execPath, '../..')"
      OUTPUT_VARIABLE node_prefix
      OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${node_prefix}/include/node/node_version.h)
      set(ENV{npm_config_nodedir} ${node_prefix})
    endif()
  endif()
  execute_process(
    COMMAND ${CMAKE_SOURCE_DIR}/node_modules/.bin/cmake-js print-cmakejs-include --log-level error
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    OUTPUT_VARIABLE node_headers
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(CMAKE_JS_INC "${node_headers}" CACHE STRING "Folders of the runtime's headers")
endif()

# SYSTEM: the runtime's headers are exempt from this project's warnings.
add_library(lumo_node INTERFACE)
target_include_directories(lumo_node SYSTEM INTERFACE ${CMAKE_JS_INC})
