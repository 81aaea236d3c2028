# What the program says of itself, for shells and for man: scripts that complete its command lines, and pages made of
# the texts of --help.
set(CG_MANUAL ${CMAKE_CURRENT_BINARY_DIR}/manual)
file(MAKE_DIRECTORY ${CG_MANUAL})
set(made "")

set(completion_bash coregeometry ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(completion_zsh _coregeometry ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
set(completion_fish coregeometry.fish ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
foreach(shell bash zsh fish)
  list(GET completion_${shell} 0 name)
  list(GET completion_${shell} 1 folder)
  add_custom_command(OUTPUT ${CG_MANUAL}/${name} COMMAND coregeometry --completion ${shell} > ${CG_MANUAL}/${name}
    DEPENDS coregeometry VERBATIM)
  install(FILES ${CG_MANUAL}/${name} DESTINATION ${folder} COMPONENT Tool)
  list(APPEND made ${CG_MANUAL}/${name})
endforeach()

find_program(HELP2MAN help2man)
if(HELP2MAN)
  foreach(command "" ${commands})
    set(name coregeometry)
    set(whatis "stores finite-element meshes and answers questions about them")
    if(command)
      string(APPEND name -${command})
      set(whatis "sub-command of coregeometry")
    endif()
    add_custom_command(OUTPUT ${CG_MANUAL}/${name}.1
      COMMAND ${HELP2MAN} --no-info --name=${whatis} --version-string=${PROJECT_VERSION}
        --output=${CG_MANUAL}/${name}.1 "$<TARGET_FILE:coregeometry> ${command}"
      DEPENDS coregeometry VERBATIM)
    install(FILES ${CG_MANUAL}/${name}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tool)
    list(APPEND made ${CG_MANUAL}/${name}.1)
  endforeach()
else()
  message(STATUS "help2man is not there: no man pages")
endif()
add_custom_target(coregeometry_manual ALL DEPENDS ${made})
