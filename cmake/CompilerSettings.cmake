# What every target is compiled with, in both lanes.
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# What every target of ours includes from, and how strictly it is read. Third-party code does not link to it.
add_library(project_settings INTERFACE)
target_include_directories(project_settings INTERFACE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
target_compile_options(project_settings INTERFACE
  -Wall -Wextra -Wconversion -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wcast-function-type>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)

if(WIN32)
  # Nothing but Windows' own DLLs may be needed at run time.
  add_link_options(-static)
  add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0601)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A module with a unique symbol is never unloaded, and our modules must be.
  add_compile_options(-fno-gnu-unique)
endif()

if(CUSTOMBIDI_SANITIZE)
  add_compile_options(-fsanitize=${CUSTOMBIDI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CUSTOMBIDI_SANITIZE})
endif()
