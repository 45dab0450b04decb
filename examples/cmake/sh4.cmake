# The distribution's compiler for the console's processor. With one of your own, change the lines of the first part.
# gcc 12.2 makes wrong code of `if (word)` when it optimises: no build type may have it do so.
set(CMAKE_C_COMPILER sh4-linux-gnu-gcc)
set(CMAKE_C_FLAGS_INIT "-ml -m4-nofpu -ffreestanding")
foreach(type RELEASE RELWITHDEBINFO MINSIZEREL)
  set(CMAKE_C_FLAGS_${type} "-DNDEBUG" CACHE STRING "Without optimisation")
endforeach()

set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR sh4)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
