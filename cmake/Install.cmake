# What is installed where. By default it is for a whole machine: a launcher on PATH gives each run a portable folder
# of its own. The component `portable` is such a folder, as the archives hold it; `debian` is what a .deb has besides,
# and instead of `licence`.
set(PROGRAMS marrowvan scramble cdi4dc cdicheck)
set(DOCUMENTS NEWS.md README.md THIRD-PARTY.md)
# The example's part of this build, and what building examples in their place leaves there.
set(NO_EXAMPLE REGEX "/examples/(CMakeLists\\.txt|cmake/build)$|\\.(o|elf|cdi|disc)$" EXCLUDE)

function(install_portable_folder)
  set(what COMPONENT portable EXCLUDE_FROM_ALL)
  install(TARGETS ${PROGRAMS} DESTINATION . ${what})
  install(FILES ${PORTABLE_FOLDER}/IP.TMPL ${DOCUMENTS} LICENSE DESTINATION . ${what})
  install(DIRECTORY docs examples DESTINATION . ${what} ${NO_EXAMPLE})
  install(FILES ${PROJECT_BINARY_DIR}/examples/hello.elf DESTINATION examples/hello ${what})
  if(TARGET mkisofs)
    install(TARGETS mkisofs DESTINATION . ${what})
    install(PROGRAMS ${PORTABLE_FOLDER}/sh-elf-objcopy.exe DESTINATION . ${what})
    install(FILES ${PORTABLE_FOLDER}/COPYING3 DESTINATION . ${what})
  endif()
endfunction()

# install_compressed(FILE DESTINATION COMPONENT ...): a text as the readers of such texts find it, the same bytes each
# time.
function(install_compressed file destination)
  get_filename_component(name ${file} NAME)
  set(compressed ${GENERATED_FOLDER}/${name}.gz)
  execute_process(COMMAND gzip -9n INPUT_FILE ${PROJECT_SOURCE_DIR}/${file} OUTPUT_FILE ${compressed}
    COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  install(FILES ${compressed} DESTINATION ${destination} ${ARGN})
endfunction()

function(install_for_machine)
  set(what COMPONENT machine)
  set(programs lib/marrowvane)  # where the launcher looks for them
  set(documents share/doc/marrowvane)

  install(PROGRAMS packaging/launcher/marrowvan DESTINATION bin ${what})
  install(TARGETS ${PROGRAMS} DESTINATION ${programs} ${what})
  install(FILES ${PORTABLE_FOLDER}/IP.TMPL DESTINATION ${programs} ${what})
  # The short names of two of the companions are those of other programs as well.
  foreach(link cdicheck:cdicheck marrowvan-scramble:scramble marrowvan-cdi4dc:cdi4dc)
    string(REGEX MATCH "(.*):(.*)" match ${link})
    file(MAKE_DIRECTORY ${GENERATED_FOLDER}/links)
    file(CREATE_LINK ../${programs}/${CMAKE_MATCH_2} ${GENERATED_FOLDER}/links/${CMAKE_MATCH_1} SYMBOLIC)
    install(FILES ${GENERATED_FOLDER}/links/${CMAKE_MATCH_1} DESTINATION bin ${what})
  endforeach()

  install(FILES packaging/desktop/marrowvan.desktop DESTINATION share/applications ${what})
  install(FILES packaging/desktop/marrowvan.svg DESTINATION share/icons/hicolor/scalable/apps ${what})
  foreach(page marrowvan cdicheck marrowvan-scramble marrowvan-cdi4dc)
    install_compressed(packaging/man/${page}.1 share/man/man1 ${what})
  endforeach()
  install(FILES ${DOCUMENTS} DESTINATION ${documents} ${what})
  install(DIRECTORY docs examples DESTINATION ${documents} ${what} ${NO_EXAMPLE})
  install(FILES LICENSE DESTINATION ${documents} COMPONENT licence)

  set(what COMPONENT debian EXCLUDE_FROM_ALL)
  install(FILES packaging/debian/copyright DESTINATION ${documents} ${what})
  install_compressed(packaging/debian/changelog ${documents} ${what})
endfunction()

install_portable_folder()
if(NOT WIN32)
  install_for_machine()
endif()
