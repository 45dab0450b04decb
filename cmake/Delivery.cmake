# What is delivered: hardened as distributions do it and stripped. A build for a debugger or with a sanitizer is not.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR CMAKE_CXX_FLAGS MATCHES "sanitize")
  set(HARDENED FALSE CACHE INTERNAL "Hardened and stripped")
else()
  set(HARDENED TRUE CACHE INTERNAL "Hardened and stripped")
endif()

# Switches on each of the flags that this host's compiler and linker have, and tells of the others.
function(harden)
  if(WIN32)
    set(linker_flags -Wl,--nxcompat -Wl,--dynamicbase)
    add_link_options(-fstack-protector-strong)  # brings the library that the protector and the checks need
  else()
    set(compiler_flags -fstack-clash-protection -fcf-protection)
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
    message(WARNING "What is delivered is hardened less, since this compiler has no: ${missing}")
  endif()
endfunction()

if(HARDENED)
  harden()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options(-g1)  # where in the source a crash was: it goes with the symbols
  # And the same bytes wherever the source and the build stand.
  add_compile_options(-ffile-prefix-map=${CMAKE_BINARY_DIR}=build -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)
endif()

# Puts a program into the portable folder. It needs no library of the compiler's. What a debugger needs of it stands
# in the folder `symbols` of the build. Description and ANY_FILE_NAME, behind it, are for its resources on Windows.
function(deliver program description)
  target_link_options(${program} PRIVATE -static-libstdc++ -static-libgcc)
  set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PORTABLE_FOLDER})
  if(WIN32)
    add_windows_resources(${program} ${description} ${ARGN})
  endif()
  if(HARDENED)
    set(symbols ${CMAKE_BINARY_DIR}/symbols/$<TARGET_FILE_NAME:${program}>.debug)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/symbols)
    # Windows programs get the time of the copying, unless a time is given: so they have the same bytes each time.
    set(copy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
    add_custom_command(TARGET ${program} POST_BUILD
      COMMAND ${copy} --only-keep-debug $<TARGET_FILE:${program}> ${symbols}
      COMMAND ${copy} --strip-all --add-gnu-debuglink=${symbols} $<TARGET_FILE:${program}>
      VERBATIM)
  endif()
endfunction()
