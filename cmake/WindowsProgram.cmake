# What Windows reads of a program before it runs: its version information, its manifest, and how old Windows may be.
enable_language(RC)

# Vista, since the programs call what came with it. The manifest names it and those behind it.
add_compile_definitions(_WIN32_WINNT=0x0600)
foreach(header os subsystem)
  add_link_options(-Wl,--major-${header}-version,6,--minor-${header}-version,0)
endforeach()

# Gives a program its resources. With ANY_FILE_NAME, 8-bit file names are UTF-8 and may be long where Windows can do
# that: docs/maintenance.md tells who wants it.
function(add_windows_resources PROGRAM DESCRIPTION)
  set(WINDOWS_VERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.0.0)
  set(FILE_NAMES)
  if("ANY_FILE_NAME" IN_LIST ARGN)
    set(schemas http://schemas.microsoft.com/SMI)
    string(CONCAT FILE_NAMES
      "\n      <activeCodePage xmlns=\"${schemas}/2019/WindowsSettings\">UTF-8</activeCodePage>"
      "\n      <longPathAware xmlns=\"${schemas}/2016/WindowsSettings\">true</longPathAware>")
  endif()
  foreach(kind manifest rc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/windows/program.${kind}.in ${GENERATED_FOLDER}/${PROGRAM}.${kind} @ONLY)
  endforeach()
  target_sources(${PROGRAM} PRIVATE ${GENERATED_FOLDER}/${PROGRAM}.rc)
  set_source_files_properties(${GENERATED_FOLDER}/${PROGRAM}.rc PROPERTIES
    OBJECT_DEPENDS
    "${GENERATED_FOLDER}/${PROGRAM}.manifest;${PROJECT_SOURCE_DIR}/packaging/desktop/marrowvan.ico")
endfunction()
