# What nearly every file includes is read once for all libraries: g++ spends a third of a build on the standard library's
# headers. Where each file is looked at for itself, by clang, it is read as it stands and has to name what it needs.

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(source ${CMAKE_BINARY_DIR}/precompiled.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "// One reading of headers, for many files.\n")
  add_library(precompiled OBJECT EXCLUDE_FROM_ALL ${source})
  target_link_libraries(precompiled PRIVATE project_settings)
  target_precompile_headers(precompiled PRIVATE
    <algorithm> <array> <functional> <map> <memory> <optional> <span> <string> <string_view> <utility> <vector>)
endif()

# precompile(library...): these use it. (Programs are compiled in another way, so none can.)
function(precompile)
  if(TARGET precompiled)
    foreach(library IN LISTS ARGN)
      target_precompile_headers(${library} REUSE_FROM precompiled)
    endforeach()
  endif()
endfunction()
