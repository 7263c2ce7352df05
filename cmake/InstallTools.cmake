# The programs, with what they say of themselves: manual pages and completions are their own output.
set(mc_programs mc_node mcctl mcstat)
file(RELATIVE_PATH mc_libraries_from_programs "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set_target_properties(${mc_programs} PROPERTIES INSTALL_RPATH "\$ORIGIN/${mc_libraries_from_programs}")
install(TARGETS ${mc_programs} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)

# The words that make a program print a text, the file that holds it, and where that belongs.
function(mc_install_text program file folder)
  set(made "${PROJECT_BINARY_DIR}/texts/${folder}/${file}")
  get_filename_component(place "${made}" DIRECTORY)
  file(MAKE_DIRECTORY "${place}")
  add_custom_command(OUTPUT "${made}" COMMAND ${program} ${ARGN} > "${made}" DEPENDS ${program} VERBATIM)
  # As Debian's packages have their manual pages.
  if(mc_in_debian AND folder MATCHES "/man1$")
    add_custom_command(OUTPUT "${made}.gz" COMMAND gzip -9nkf "${made}" DEPENDS "${made}" VERBATIM)
    set(made "${made}.gz")
  endif()
  install(FILES "${made}" DESTINATION "${folder}" COMPONENT tools)
  set_property(GLOBAL APPEND PROPERTY mc_texts "${made}")
endfunction()

# Where texts are to be made of a foreign processor's programs, an emulator has to run them.
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  message(STATUS "no emulator: manual pages and completions are left out")
  set(mc_programs "")
endif()
# Debian's zsh looks for what packages bring in a folder of its own.
if(mc_in_debian)
  set(mc_zsh_folder vendor-completions)
else()
  set(mc_zsh_folder site-functions)
endif()
foreach(program IN LISTS mc_programs)
  set(word --completion)
  if(program STREQUAL "mcctl")
    set(word completion)
  endif()
  mc_install_text(${program} ${program}.1 "${CMAKE_INSTALL_MANDIR}/man1" --man)
  mc_install_text(${program} ${program} "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
                  ${word} bash)
  mc_install_text(${program} _${program} "${CMAKE_INSTALL_DATADIR}/zsh/${mc_zsh_folder}" ${word} zsh)
  mc_install_text(${program} ${program}.fish "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
                  ${word} fish)
endforeach()
get_property(mc_texts GLOBAL PROPERTY mc_texts)
add_custom_target(mc_texts ALL DEPENDS ${mc_texts})

# The service runs the programs that are installed with it. Its configuration is where systemd looks for it
# when the prefix is the system's; elsewhere it is an example.
set(mc_shared "${CMAKE_INSTALL_DATADIR}/multicast_adaptation")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(mc_configuration_dir /etc/mc_node)
else()
  set(mc_configuration_dir "${mc_shared}")
endif()
install(FILES packaging/mc_node.conf DESTINATION "${mc_configuration_dir}" COMPONENT tools)
install(CODE "
  get_filename_component(programs \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\" ABSOLUTE)
  file(READ \"${PROJECT_SOURCE_DIR}/packaging/mc_node.service\" unit)
  string(REPLACE /usr/local/bin \"\${programs}\" unit \"\${unit}\")
  file(WRITE \"${PROJECT_BINARY_DIR}/mc_node.service\" \"\${unit}\")" COMPONENT tools)
install(FILES "${PROJECT_BINARY_DIR}/mc_node.service" DESTINATION lib/systemd/system COMPONENT tools)
install(FILES packaging/grafana/mc_node.json DESTINATION "${mc_shared}/grafana" COMPONENT tools)
