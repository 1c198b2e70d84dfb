# Debian packages: cpack -G DEB in the build folder, or scripts/package.
set(CPACK_PACKAGE_VENDOR "Playback")
set(CPACK_PACKAGE_CONTACT "The Playback developers <developers@playback.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL programs library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Our own library is not installed where dependencies are looked up, and has no driver linked to it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()

set(driver "libegl1, libgles2")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME playback)
set(CPACK_COMPONENT_PROGRAMS_DESCRIPTION
"playback-record runs a program and records its calls; playback replays them
on the driver of this machine, frame by frame, in a window or off screen, and
tells whether the pixels are the same and what it cost. playback-info tells
what is in a capture, playback-inspect shows in a browser what each draw did,
playback-trim cuts frames out of one, playback-bench tells which of two drivers
is slower, playback-compare which draw they do not agree on.")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_DEPENDS "libplayback0 (= ${PROJECT_VERSION}), ${driver}, libunwind8")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SUGGESTS butteraugli)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libplayback0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS "${driver}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
"The engine that replays captured calls on the driver of this machine, for
programs that want to replay captures themselves.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libplayback-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libplayback0 (= ${PROJECT_VERSION}), libegl-dev, libgles-dev, libwayland-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"Headers, CMake files and a pkg-config file for programs that replay captures
themselves.")

# Every Debian package says who wrote it and what changed.
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND ${GZIP} -9nc ${PROJECT_SOURCE_DIR}/packaging/changelog
                OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
set(package_programs playback)
set(package_library libplayback0)
set(package_development libplayback-dev)
foreach(component programs library development)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${PROJECT_BINARY_DIR}/changelog.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_${component}} COMPONENT ${component})
endforeach()

include(CPack)
