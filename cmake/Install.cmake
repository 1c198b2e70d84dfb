# What an installation consists of, in three components that become three packages: programs, library, development files.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(PLAYBACK_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/playback)
set(PLAYBACK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Playback)
set(PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(PROGRAMS playback playback-record playback-info playback-trim playback-bench playback-compare playback-inspect playback-probe)

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
            FILES_MATCHING PATTERN "*.h" PATTERN "*Declarations.inc" PATTERN "*StatsHandlers.inc" PATTERN "*EnumNames.inc" EXCLUDE)
  endforeach()
endforeach()
install(EXPORT PlaybackTargets NAMESPACE Playback:: DESTINATION ${PLAYBACK_CMAKE_DIR} COMPONENT development)
configure_package_config_file(${PACKAGING}/PlaybackConfig.cmake.in PlaybackConfig.cmake
                              INSTALL_DESTINATION ${PLAYBACK_CMAKE_DIR})
write_basic_package_version_file(PlaybackConfigVersion.cmake COMPATIBILITY SameMinorVersion)
# The pkg-config file finds the rest from where it lies itself.
file(RELATIVE_PATH PLAYBACK_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PACKAGING}/playback.pc.in playback.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/PlaybackConfig.cmake ${PROJECT_BINARY_DIR}/PlaybackConfigVersion.cmake
        DESTINATION ${PLAYBACK_CMAKE_DIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/playback.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Manual pages and completions are made of what the programs say of themselves.
find_program(HELP2MAN help2man REQUIRED)
set(FROM_HELP ${PACKAGING}/from_help.py)
set(RUN_FROM_HELP ${Python3_EXECUTABLE} -B ${FROM_HELP})
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
foreach(program ${PROGRAMS})
  set(page ${PROJECT_BINARY_DIR}/man/${program}.1.gz)
  # playback-record ends as what it records did; its help says so.
  set(includes ${PACKAGING}/${program}.h2m)
  if(NOT program STREQUAL playback-record)
    list(APPEND includes ${PACKAGING}/exit-status.h2m)
  endif()
  list(TRANSFORM includes PREPEND --include= OUTPUT_VARIABLE include_options)
  string(JOIN " " command ${RUN_FROM_HELP} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>)
  add_custom_command(OUTPUT ${page}
    COMMAND ${HELP2MAN} --no-info --no-discard-stderr ${include_options} --output=${program}.1 ${command}
    COMMAND gzip -9nf ${program}.1
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/man
    DEPENDS ${program} ${includes} ${FROM_HELP}
    COMMENT "Manual page of ${program}"
    VERBATIM)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)

  set(completion ${PROJECT_BINARY_DIR}/completion)
  set(bash ${completion}/bash/${program})
  set(zsh ${completion}/zsh/_${program})
  set(fish ${completion}/fish/${program}.fish)
  add_custom_command(OUTPUT ${bash} ${zsh} ${fish}
    COMMAND ${RUN_FROM_HELP} completions ${completion} $<TARGET_FILE:${program}> ${CMAKE_CROSSCOMPILING_EMULATOR}
    DEPENDS ${program} ${FROM_HELP}
    COMMENT "Completion of ${program}"
    VERBATIM)
  install(FILES ${bash} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT programs)
  install(FILES ${zsh} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT programs)
  install(FILES ${fish} DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT programs)
  list(APPEND FROM_HELP_FILES ${page} ${bash} ${zsh} ${fish})
endforeach()
add_custom_target(manual ALL DEPENDS ${FROM_HELP_FILES})

# A capture is known by its first bytes, and opens in playback.
install(FILES ${PACKAGING}/desktop/playback.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages COMPONENT programs)
install(FILES ${PACKAGING}/desktop/playback.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT programs)
install(FILES ${PACKAGING}/desktop/playback.magic DESTINATION ${CMAKE_INSTALL_DATADIR}/playback COMPONENT programs)
install(FILES ${PACKAGING}/desktop/playback.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT programs)
