# Finds the headers of the runtime that the add-on is built for and offers them as lumo_node.
#
# The rebuild command passes them in CMAKE_JS_INC, and the runtime's name in NODE_RUNTIME, as cmake-js
# does. A plain `cmake --preset` asks for those of the Node that runs.
if(NOT DEFINED CMAKE_JS_INC)
  execute_process(
    COMMAND node ${CMAKE_SOURCE_DIR}/lib/rebuild/print_headers.js
    OUTPUT_VARIABLE node_headers
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(CMAKE_JS_INC "${node_headers}" CACHE STRING "Folders of the runtime's headers")
endif()

# V8's headers lay out its types by switches, which must be those that the runtime was built with. The
# config.gypi beside the headers has them. cmake-js does not keep that file; Electron has set these four
# on 64-bit processors since version 21.
list(GET CMAKE_JS_INC 0 headers)
if(EXISTS ${headers}/config.gypi)
  file(READ ${headers}/config.gypi settings)
elseif(NODE_RUNTIME STREQUAL "electron")
  set(settings "v8_enable_pointer_compression: 1, v8_enable_pointer_compression_shared_cage: 1,
                v8_enable_sandbox: 1, v8_enable_external_code_space: 1")
endif()
set(v8_switches "")
foreach(switch
    pointer_compression:V8_COMPRESS_POINTERS
    pointer_compression:V8_31BIT_SMIS_ON_64BIT_ARCH
    pointer_compression_shared_cage:V8_COMPRESS_POINTERS_IN_SHARED_CAGE
    sandbox:V8_ENABLE_SANDBOX
    external_code_space:V8_EXTERNAL_CODE_SPACE)
  string(REPLACE ":" ";" switch ${switch})
  list(GET switch 0 setting)
  list(GET switch 1 definition)
  if(settings MATCHES "v8_enable_${setting}[\"']? *: *[\"']?(1|true)")
    list(APPEND v8_switches ${definition})
  endif()
endforeach()

# SYSTEM: the runtime's headers are exempt from this project's warnings.
add_library(lumo_node INTERFACE)
target_include_directories(lumo_node SYSTEM INTERFACE ${CMAKE_JS_INC})
target_compile_definitions(lumo_node INTERFACE ${v8_switches})
