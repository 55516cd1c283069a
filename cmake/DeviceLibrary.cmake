# The device libraries, of which there is more than one family behind the same entry points.

# The entry points of each.
set(DEVICE_DEFINITIONS ${CMAKE_SOURCE_DIR}/ixo/support)

# add_device_library(target objects definitions.def file folder)
# A library of the objects that exports what the definitions say, as `folder`/`file`.dll in both lanes.
function(add_device_library target objects def file folder)
  add_library(${target} MODULE)
  target_link_libraries(${target} PRIVATE ${objects})
  export_only(${target} ${def})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${file} SUFFIX .dll LIBRARY_OUTPUT_DIRECTORY ${folder})
  if(WIN32 AND def MATCHES "no_entry_points.def")
    # The linker takes an empty list for none at all, and would export everything.
    target_link_options(${target} PRIVATE -Wl,--exclude-all-symbols)
  endif()
endfunction()

# copy_device_family(family target directory)
# Before `target` is built, places the three libraries of a family under the nine names that callers ask for in
# `directory`. They are the targets `family`_io_library, `family`_data_map_library and `family`_certificate_library.
function(copy_device_family family target directory)
  string(MD5 copies ${directory})
  set(copies ${family}_family_${copies})
  if(NOT TARGET ${copies})
    set(files "")
    foreach(row IN ITEMS
        "${family}_io_library vexmoixo vexmobixo32 vexmobixo64"
        "${family}_data_map_library vexmoixodm vexmobixodm32 vexmobixodm64"
        "${family}_certificate_library vexmobixocert vexmobixocert32 vexmobixocert64")
      separate_arguments(names UNIX_COMMAND ${row})
      list(POP_FRONT names library)
      foreach(name IN LISTS names)
        add_custom_command(OUTPUT ${directory}/${name}.dll
          COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:${library}> ${directory}/${name}.dll
          DEPENDS ${library} VERBATIM)
        list(APPEND files ${directory}/${name}.dll)
      endforeach()
    endforeach()
    file(MAKE_DIRECTORY ${directory})
    add_custom_target(${copies} DEPENDS ${files})
  endif()
  add_dependencies(${target} ${copies})
endfunction()
