# What an installation consists of, in three components that become three packages: programs, library, development files.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(PLAYBACK_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/playback)
set(PLAYBACK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Playback)
set(PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(PROGRAMS playback playback-record playback-info playback-trim)

install(TARGETS ${PROGRAMS} RUNTIME COMPONENT programs)
install(TARGETS PlaybackRecorder LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/playback COMPONENT programs)
install(TARGETS Playback EXPORT PlaybackTargets
        LIBRARY COMPONENT library NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${PLAYBACK_HEADER_DIR})

# A host includes the headers as the engine does: "Playback/Controller.h".
install(TARGETS playback_interfaces EXPORT PlaybackTargets)
foreach(folder Interfaces Data Playback)
  foreach(root ${PROJECT_SOURCE_DIR}/src ${PLAYBACK_GENERATED_DIR})
    install(DIRECTORY ${root}/${folder} DESTINATION ${PLAYBACK_HEADER_DIR} COMPONENT development
            FILES_MATCHING PATTERN "*.h" PATTERN "*Declarations.inc" PATTERN "*EnumNames.inc" EXCLUDE)
  endforeach()
endforeach()
install(EXPORT PlaybackTargets NAMESPACE Playback:: DESTINATION ${PLAYBACK_CMAKE_DIR} COMPONENT development)
configure_package_config_file(${PACKAGING}/PlaybackConfig.cmake.in PlaybackConfig.cmake
                              INSTALL_DESTINATION ${PLAYBACK_CMAKE_DIR})
write_basic_package_version_file(PlaybackConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(${PACKAGING}/playback.pc.in playback.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/PlaybackConfig.cmake ${PROJECT_BINARY_DIR}/PlaybackConfigVersion.cmake
        DESTINATION ${PLAYBACK_CMAKE_DIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/playback.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Manual pages are made of what the programs say of themselves.
find_program(HELP2MAN help2man REQUIRED)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
foreach(program ${PROGRAMS})
  set(page ${PROJECT_BINARY_DIR}/man/${program}.1.gz)
  add_custom_command(OUTPUT ${page}
    COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${HELP2MAN} --no-info --no-discard-stderr --include=${PACKAGING}/${program}.h2m --output=${program}.1
            $<TARGET_FILE:${program}>
    COMMAND gzip -9nf ${program}.1
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/man
    DEPENDS ${program} ${PACKAGING}/${program}.h2m
    COMMENT "Manual page of ${program}"
    VERBATIM)
  list(APPEND PAGES ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
endforeach()
add_custom_target(manual ALL DEPENDS ${PAGES})

set(COMPLETIONS ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
foreach(program ${PROGRAMS})
  install(FILES ${PACKAGING}/bash-completion DESTINATION ${COMPLETIONS} RENAME ${program} COMPONENT programs)
endforeach()
