# Compiles the sources of a folder together, as one translation unit: most of the time of compiling
# goes into the headers that they share.
#
# Builds without LUMO_UNITY, and lint, show that each file also compiles alone. File-local names must
# differ within a folder.
option(LUMO_UNITY "Compile the sources of each folder together" OFF)

# lumo_batch_by_folder(<target>)
# To be called after the last source was added. A source with options of its own stays alone.
function(lumo_batch_by_folder target)
  if(NOT LUMO_UNITY)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "^[^$].*\\.cc$")
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    string(MAKE_C_IDENTIFIER "folder_${folder}" batch)
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${batch})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  # To the compiler, every type of the batch is one of a header.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()
