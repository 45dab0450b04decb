# Makes disc images with Marrowvane, on Linux. Copy this file beside your CMakeLists.txt and include it.
#
#   add_cdi_image(<name> PROGRAM <target or ELF file> DATA <folder> VOLUME <name> OUTPUT <file>)
#
# adds a target that packs the program and all files of the folder into an image. The image appears in the build
# folder if cdicheck finds no error in it. The volume name has at most 32 characters, and no name may contain `--`.
# Needs CMake 3.21. If Marrowvane is not on PATH: -DMARROWVAN=.../marrowvan -DCDICHECK=.../cdicheck
find_program(MARROWVAN marrowvan REQUIRED)
find_program(CDICHECK cdicheck REQUIRED)

function(add_cdi_image name)
  set(required PROGRAM DATA VOLUME OUTPUT)
  cmake_parse_arguments(PARSE_ARGV 1 cdi "" "${required}" "")
  foreach(argument ${required})
    if("${cdi_${argument}}" STREQUAL "")
      message(FATAL_ERROR "add_cdi_image(${name}): ${argument} is missing")
    endif()
  endforeach()
  if(TARGET ${cdi_PROGRAM})
    set(elf $<TARGET_FILE:${cdi_PROGRAM}>)
  else()
    get_filename_component(elf ${cdi_PROGRAM} ABSOLUTE)
  endif()
  get_filename_component(data ${cdi_DATA} ABSOLUTE)

  # A rule cannot name every file, nor one that went away: before each build `find` tells whether a file or a folder
  # has become newer than the stamp.
  set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${name}.stamp)
  file(GENERATE OUTPUT ${stamp} CONTENT "${cdi_VOLUME}")
  add_custom_target(${name}_data
    BYPRODUCTS ${stamp}
    COMMAND sh -c "! find -L \"$1\" -newer \"$2\" -print -quit 2>&1 | grep -q . || touch \"$2\"" sh ${data} ${stamp}
    COMMENT "Looking for changes in ${cdi_DATA}"
    VERBATIM)

  # A run changes its folder for good, so it gets a fresh one. Nobody is there to be asked. What Marrowvane is given
  # are short paths, since a `--` in the build folder's would end a value.
  set(work ${name}.work)
  get_filename_component(image ${cdi_OUTPUT} NAME)
  add_custom_command(
    OUTPUT ${cdi_OUTPUT}
    DEPENDS ${elf} ${stamp} ${name}_data
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${cdi_OUTPUT} ${work}
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${data} ${work}/disc
    COMMAND ${CMAKE_COMMAND} -E copy ${elf} ${work}/disc/program.elf
    COMMAND sh -c "DISPLAY= WAYLAND_DISPLAY= \"$@\" </dev/null" sh
            ${MARROWVAN} --dir ${work}/disc --cdi ${work}/${image} --cdvol ${cdi_VOLUME}
    COMMAND ${CDICHECK} ${work}/${image}
    COMMAND ${CMAKE_COMMAND} -E rename ${work}/${image} ${cdi_OUTPUT}
    VERBATIM)
  add_custom_target(${name} ALL DEPENDS ${cdi_OUTPUT})
endfunction()
