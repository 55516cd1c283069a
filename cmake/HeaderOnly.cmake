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

add_header_only(nlohmann_json nlohmann nlohmann-json3-dev)
add_header_only(cli11 CLI libcli11-dev)
