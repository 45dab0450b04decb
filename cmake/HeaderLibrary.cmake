# header_library(NAME FOLDER) makes a header-only library of this machine available for the target that is built.
# FOLDER is its folder in /usr/include. A cross compiler sees that folder and no other.
function(header_library name folder)
  find_path(${name}_PARENT ${folder} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(own ${PROJECT_BINARY_DIR}/header_libraries)
  file(MAKE_DIRECTORY ${own})
  file(CREATE_LINK ${${name}_PARENT}/${folder} ${own}/${folder} SYMBOLIC)
  add_library(${name} INTERFACE)
  target_include_directories(${name} SYSTEM INTERFACE ${own})
endfunction()
