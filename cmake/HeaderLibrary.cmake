# A header-only library of this machine for the target that is built: header_library(NAME FOLDER), where FOLDER
# is what the library has in /usr/include. A cross compiler sees that one folder and nothing beside it.
function(header_library name folder)
  find_path(${name}_PARENT ${folder} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(own ${CMAKE_BINARY_DIR}/header_libraries)
  file(MAKE_DIRECTORY ${own})
  file(CREATE_LINK ${${name}_PARENT}/${folder} ${own}/${folder} SYMBOLIC)
  add_library(${name} INTERFACE)
  target_include_directories(${name} SYSTEM INTERFACE ${own})
endfunction()
