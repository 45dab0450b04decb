# Programs for users are hardened, as distributions do it, and stripped. Builds for a debugger or with a sanitizer
# are not.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR CMAKE_CXX_FLAGS MATCHES "sanitize")
  set(HARDENED FALSE)
else()
  set(HARDENED TRUE)
endif()

# Enables each flag that the compiler and the linker for this host have, and warns about the others.
function(harden)
  if(WIN32)
    set(linker_flags -Wl,--nxcompat -Wl,--dynamicbase)
    add_link_options(-fstack-protector-strong)  # links the library that the protector and the checks need
  else()
    set(compiler_flags -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
      list(APPEND compiler_flags -fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
      list(APPEND compiler_flags -mbranch-protection=standard)
    endif()
    set(linker_flags -Wl,-z,relro -Wl,-z,now)
    check_pie_supported(LANGUAGES CXX)
  endif()
  if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
    list(APPEND compiler_flags -D_FORTIFY_SOURCE=2)
  endif()
  list(APPEND compiler_flags -fstack-protector-strong)

  set(missing)
  foreach(flag ${compiler_flags} ${linker_flags})
    string(MAKE_C_IDENTIFIER "has${flag}" has)
    if(flag MATCHES "^-Wl")
      check_linker_flag(CXX ${flag} ${has})
      set(add add_link_options)
    else()
      check_cxx_compiler_flag(${flag} ${has})
      set(add add_compile_options)
    endif()
    if(${has})
      cmake_language(CALL ${add} ${flag})
    else()
      list(APPEND missing ${flag})
    endif()
  endforeach()
  if(NOT WIN32 AND NOT CMAKE_CXX_LINK_PIE_SUPPORTED)
    list(APPEND missing -pie)
  endif()
  if(missing)
    message(WARNING "The programs are hardened less, because this compiler lacks: ${missing}")
  endif()
endfunction()

if(HARDENED)
  harden()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options(-g1)  # line numbers for the separate symbols
  # Makes the programs the same bytes in every source and build folder.
  add_compile_options(-ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()

# Puts a program into the portable folder, linked without the compiler's shared libraries. Its symbols for a debugger
# are in the folder `symbols` of the build. The description and the option ANY_FILE_NAME are for its resources on
# Windows.
function(deliver program description)
  target_link_options(${program} PRIVATE -static-libstdc++ -static-libgcc)
  set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PORTABLE_FOLDER})
  if(WIN32)
    add_windows_resources(${program} ${description} ${ARGN})
  endif()
  if(HARDENED)
    set(symbols ${PROJECT_BINARY_DIR}/symbols/$<TARGET_FILE_NAME:${program}>.debug)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/symbols)
    # Otherwise objcopy writes the present time into a Windows program.
    set(copy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
    add_custom_command(TARGET ${program} POST_BUILD
      COMMAND ${copy} --only-keep-debug $<TARGET_FILE:${program}> ${symbols}
      COMMAND ${copy} --strip-all --add-gnu-debuglink=${symbols} $<TARGET_FILE:${program}>
      VERBATIM)
  endif()
endfunction()
