find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
pkg_get_variable(WAYLAND_PROTOCOLS_DIR wayland-protocols pkgdatadir)

# wayland_protocol(TARGET FILE [SERVER])
# Object library TARGET with the code of the protocol FILE (relative to the installed wayland-protocols), and its
# headers: STEM-client-protocol.h, and STEM-server-protocol.h with SERVER. The code is hidden from other libraries, since
# versions of a protocol share symbol names: link at most one of them into a library or program.
function(wayland_protocol target file)
  get_filename_component(stem ${file} NAME_WE)
  set(xml ${WAYLAND_PROTOCOLS_DIR}/${file})
  set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target}.dir)
  file(MAKE_DIRECTORY ${dir})
  set(outputs ${dir}/${stem}-protocol.c ${dir}/${stem}-client-protocol.h)
  set(commands COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${dir}/${stem}-protocol.c
               COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${dir}/${stem}-client-protocol.h)
  if("SERVER" IN_LIST ARGN)
    list(APPEND outputs ${dir}/${stem}-server-protocol.h)
    list(APPEND commands COMMAND ${WAYLAND_SCANNER} server-header ${xml} ${dir}/${stem}-server-protocol.h)
  endif()
  add_custom_command(OUTPUT ${outputs} ${commands} DEPENDS ${xml} VERBATIM)
  add_library(${target} OBJECT ${outputs})
  target_include_directories(${target} PUBLIC ${dir})
  target_link_libraries(${target} PUBLIC PkgConfig::WAYLAND_CLIENT)
endfunction()
