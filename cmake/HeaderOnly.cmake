# Header-only packages lie in /usr/include, which the cross compiler must never see as a whole: each is reached
# through a folder of the build tree that holds nothing else.
function(add_header_only target folder package)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: install ${package}, or run scripts/setup.sh")
  endif()
  set(room ${CMAKE_BINARY_DIR}/headers/${folder})
  file(MAKE_DIRECTORY ${room})
  file(CREATE_LINK /usr/include/${folder} ${room}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${room})
endfunction()

# compile_lightly(file...): the files of the directory that read such a package. To optimise and describe all that its
# templates make costs more than half of their compilation, and they do little: a command line, one small document.
function(compile_lightly)
  if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-O1;-g1")
  endif()
endfunction()

add_header_only(nlohmann_json nlohmann nlohmann-json3-dev)
add_header_only(cli11 CLI libcli11-dev)
