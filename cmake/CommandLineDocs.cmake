# Man pages and shell completion, made from the programs' own help at every build, so that they
# cannot fall behind it. Only where the programs can run.
find_program(HELP2MAN help2man)
if(NOT MORIAK_HOST_PLATFORM OR NOT MORIAK_TOOLS OR CMAKE_CROSSCOMPILING OR NOT HELP2MAN)
    message(STATUS "No man pages: they take help2man and programs that run here")
    return()
endif()

set(man_directory ${PROJECT_BINARY_DIR}/man)
set(man_script ${PROJECT_SOURCE_DIR}/cmake/make-man-pages)
add_custom_command(OUTPUT ${man_directory}/sensorctl.1
    COMMAND ${man_script} $<TARGET_FILE:sensorctl> $<TARGET_FILE:moriak-sensor-simulator>
            ${PROJECT_VERSION} ${man_directory}
    DEPENDS sensorctl moriak-sensor-simulator ${man_script}
            ${PROJECT_SOURCE_DIR}/cmake/man-sections.txt
    COMMENT "Making man pages" VERBATIM)
add_custom_target(man-pages ALL DEPENDS ${man_directory}/sensorctl.1)

install(DIRECTORY ${man_directory}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    FILES_MATCHING PATTERN "*.1")
install(FILES ${man_directory}/completion.bash RENAME sensorctl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${man_directory}/completion.zsh RENAME _sensorctl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
