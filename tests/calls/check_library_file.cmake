# Checks what the library's file exports and, on Windows, what it needs and how it was linked.
cmake_minimum_required(VERSION 3.25)

set(nine DeleteDeviceCertificate DeletePassword GetBidiResponse GetDeviceCertificate GetPortStatus GetStatusData
  IsPasswordPresent SavePassword VerifyCertificateValidity)

function(run_tool result)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  set(${result} "${output}" PARENT_SCOPE)
endfunction()

function(expect_equal what found expected)
  if(NOT found STREQUAL expected)
    message(SEND_ERROR "${what}:\n  found    ${found}\n  expected ${expected}")
  endif()
endfunction()

if(NOT WINDOWS)
  run_tool(symbols ${NM} -D --defined-only ${LIBRARY})
  string(REGEX MATCHALL "[0-9a-f]+ [A-Za-z] [^\n]+" rows "${symbols}")
  list(TRANSFORM rows REPLACE "^[0-9a-f]+ [A-Za-z] " "")
  list(SORT rows)
  expect_equal("exports" "${rows}" "${nine}")
  return()
endif()

run_tool(headers ${OBJDUMP} -p ${LIBRARY})

# Two tables: addresses by ordinal ("[   0] +base[   1] 84d0 Export RVA") and then names, in their order, each with the
# place of its address ("[   0] DeleteDeviceCertificate", in newer tools with its ordinal as above).
string(REGEX MATCHALL "\\+base\\[ *[0-9]+\\] +[0-9a-f]+ Export RVA" rows "${headers}")
list(TRANSFORM rows REPLACE "^[^0-9]*([0-9]+)\\].*" "\\1")
expect_equal("ordinals" "${rows}" "1;2;3;4;5;6;7;8;9")
string(REGEX REPLACE ".*Name Pointer\\] Table *\n" "" names "${headers}")
string(REGEX REPLACE "\n[ \r\t]*\n.*" "" names "${names}")
string(REGEX MATCHALL "\\[ *[0-9]+\\][^\n\r]*[A-Za-z]+" rows "${names}")
list(TRANSFORM rows REPLACE "^[^0-9]*([0-9]+)\\].*[ \t]([A-Za-z]+)$" "\\1 \\2")
set(expected "")
foreach(name IN LISTS nine)
  list(LENGTH expected place)
  list(APPEND expected "${place} ${name}")
endforeach()
expect_equal("exports" "${rows}" "${expected}")

set(windows_own advapi32.dll crypt32.dll kernel32.dll msvcrt.dll ole32.dll oleaut32.dll winspool.drv)
string(TOLOWER "${headers}" lower)
string(REGEX MATCHALL "dll name: [^\n\r]+" rows "${lower}")
list(TRANSFORM rows REPLACE "dll name: " "")
list(REMOVE_ITEM rows ${windows_own})
expect_equal("needed besides Windows' own libraries" "${rows}" "")

foreach(flag IN ITEMS HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT)
  if(NOT headers MATCHES "${flag}")
    message(SEND_ERROR "linked without ${flag}")
  endif()
endforeach()
