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

# Two builds of one commit are the same bytes, whatever the folders: no path of the machine, and no time, gets into a file.
# A debugger that is started in the folder of the sources finds them.
set(one_place "")
foreach(folder IN ITEMS ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR})
  list(APPEND one_place $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${folder}=.>)
endforeach()
add_compile_options(${one_place})
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Where a variable is found step by step depends, in files that use what was read beforehand (Precompiled.cmake), on
  # addresses within the compiler, and so on the folders' names.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-var-tracking-assignments>)
endif()

# What makes an overrun or an overwritten table end the process instead of taking it over. Sanitizers look for themselves,
# and what is not optimised cannot be fortified.
if(NOT CUSTOMBIDI_SANITIZE)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong>)
  add_link_options(-fstack-protector-strong)
  set(fortified $<AND:$<COMPILE_LANGUAGE:C,CXX>,$<NOT:$<CONFIG:Debug>>>)
  add_compile_options($<${fortified}:-U_FORTIFY_SOURCE> $<${fortified}:-D_FORTIFY_SOURCE=3>)
endif()

if(WIN32)
  # Nothing but Windows' own DLLs may be needed at run time.
  add_link_options(-static -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp)
  add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0601)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A module with a unique symbol is never unloaded, and our modules must be.
  add_compile_options(-fno-gnu-unique)
endif()

if(NOT WIN32)
  include(CheckPIESupported)
  check_pie_supported()
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
endif()

if(CUSTOMBIDI_SANITIZE)
  # A sanitizer's report names functions and lines, which is what -g1 keeps of -g.
  add_compile_options(-fsanitize=${CUSTOMBIDI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${CUSTOMBIDI_SANITIZE})
endif()
