# Builds for 64-bit Windows on Linux with mingw-w64. The libraries we link come from one folder that build-deps.sh makes;
# QMIO_WINDOWS_PREFIX in the environment names another one.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${mingw}-windres)

if(NOT QMIO_WINDOWS_PREFIX)
  set(QMIO_WINDOWS_PREFIX "$ENV{QMIO_WINDOWS_PREFIX}")
endif()
if(NOT QMIO_WINDOWS_PREFIX)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/build-deps.sh --print-prefix
    OUTPUT_VARIABLE QMIO_WINDOWS_PREFIX OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()
if(NOT IS_DIRECTORY "${QMIO_WINDOWS_PREFIX}")
  message(FATAL_ERROR "The libraries for Windows are not built yet. Run: ./dev windows deps")
endif()
# Trial compilations read this file again, without the cache.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QMIO_WINDOWS_PREFIX)

set(CMAKE_PREFIX_PATH ${QMIO_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH ${QMIO_WINDOWS_PREFIX} /usr/${mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${QMIO_WINDOWS_PREFIX}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

# The runtime of the compiler goes into each file of ours: exceptions never leave the C interface, so nothing has to share it,
# and a host has no compiler's DLLs to carry about.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine ${QMIO_WINDOWS_PREFIX}/bin)
