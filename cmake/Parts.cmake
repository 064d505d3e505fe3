# The parts of the project that need more packages than the library does.
#
# Each has an option LAUNCHER_BUILD_<PART>. ON builds the part, or stops and names the packages that
# are missing. OFF leaves it out. AUTO builds it if nothing is missing, and says in one line if it
# leaves it out.

foreach(part IN ITEMS TOOLS EXAMPLES TESTS BENCHMARKS)
  set(default OFF) # in another project's build
  if(PROJECT_IS_TOP_LEVEL)
    set(default AUTO)
  endif()
  set(LAUNCHER_BUILD_${part} ${default} CACHE STRING "ON, OFF, or AUTO: if its packages are there")
  set_property(CACHE LAUNCHER_BUILD_${part} PROPERTY STRINGS AUTO ON OFF)
endforeach()

# Replaces AUTO by ON or OFF for all folders. After the description come pairs: a package, and the
# variable that is false if it was not found.
function(launcher_decide part description)
  set(option LAUNCHER_BUILD_${part})
  set(missing)
  set(pairs ${ARGN})
  while(pairs)
    list(POP_FRONT pairs package found)
    if(NOT ${found})
      list(APPEND missing ${package})
    endif()
  endwhile()
  list(REMOVE_DUPLICATES missing)
  list(JOIN missing " " missing)
  if(missing AND ${option} STREQUAL "AUTO")
    message(STATUS "Left out: ${description} (${option}=ON needs ${missing})")
    set(${option} OFF PARENT_SCOPE)
  elseif(missing)
    message(FATAL_ERROR
      "${option} is ON, but for ${description} this is missing: ${missing}. Install it, or choose "
      "AUTO or OFF.")
  else()
    set(${option} ON PARENT_SCOPE)
  endif()
endfunction()

# Package names in Debian and in Homebrew.
if(APPLE)
  set(cli11 cli11)
  set(fmt fmt)
  set(json nlohmann-json)
  set(utf8proc utf8proc)
else()
  set(cli11 libcli11-dev)
  set(fmt libfmt-dev)
  set(json nlohmann-json3-dev)
  set(utf8proc libutf8proc-dev)
endif()

if(LAUNCHER_BUILD_TOOLS)
  find_package(CLI11 QUIET)
  find_package(fmt QUIET)
  find_package(nlohmann_json QUIET)
  find_path(UTF8PROC_INCLUDE_DIR utf8proc.h)
  find_library(UTF8PROC_LIBRARY utf8proc)
  launcher_decide(TOOLS "launcher-inspect"
    ${cli11} CLI11_FOUND
    ${fmt} fmt_FOUND
    ${json} nlohmann_json_FOUND
    ${utf8proc} UTF8PROC_INCLUDE_DIR
    ${utf8proc} UTF8PROC_LIBRARY)
endif()

if(LAUNCHER_BUILD_EXAMPLES)
  launcher_decide(EXAMPLES "the example host and plug-in")
endif()

# Sets, for the macOS bridge on Linux, what tests/macos compiles and links with. clang lies in a folder
# of its version where no package gives it its plain name.
macro(launcher_find_gnustep)
  file(GLOB llvm /usr/lib/llvm-*/bin)
  list(SORT llvm COMPARE NATURAL ORDER DESCENDING)
  find_program(CMAKE_OBJCXX_COMPILER NAMES clang++ PATHS ${llvm})
  execute_process(COMMAND gcc -print-file-name=libobjc.so
    OUTPUT_VARIABLE objc_library OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  cmake_path(IS_ABSOLUTE objc_library OBJC_FOUND) # otherwise gcc only repeats the name
  find_path(GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep)
  find_library(GNUSTEP_BASE_LIBRARY gnustep-base)
  find_library(BLOCKS_RUNTIME_LIBRARY BlocksRuntime)
endmacro()

if(LAUNCHER_BUILD_TESTS)
  set(GOOGLETEST_SOURCE_DIR /usr/src/googletest CACHE PATH "Source folder of GoogleTest")
  find_file(GOOGLETEST_SOURCE CMakeLists.txt PATHS ${GOOGLETEST_SOURCE_DIR} NO_DEFAULT_PATH)
  set(GOOGLETEST_FOUND ${GOOGLETEST_SOURCE})
  if(NOT GOOGLETEST_SOURCE)
    find_package(GTest QUIET)
    set(GOOGLETEST_FOUND ${GTest_FOUND})
  endif()
  set(linux_packages)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    find_package(PkgConfig QUIET)
    pkg_check_modules(PLIST QUIET IMPORTED_TARGET libplist-2.0>=2.2)
    foreach(program IN ITEMS groff python3 strace zsh)
      find_program(LAUNCHER_${program} ${program})
    endforeach()
    launcher_find_gnustep()
    set(linux_packages
      libplist-dev PLIST_FOUND
      groff-base LAUNCHER_groff
      python3 LAUNCHER_python3
      strace LAUNCHER_strace
      zsh LAUNCHER_zsh
      clang CMAKE_OBJCXX_COMPILER
      gobjc OBJC_FOUND
      libgnustep-base-dev GNUSTEP_INCLUDE_DIR
      libgnustep-base-dev GNUSTEP_BASE_LIBRARY
      libblocksruntime-dev BLOCKS_RUNTIME_LIBRARY)
  endif()
  launcher_decide(TESTS "the tests" googletest GOOGLETEST_FOUND ${linux_packages})
endif()

# The baseline is a program for Linux.
if(LAUNCHER_BUILD_BENCHMARKS STREQUAL "AUTO" AND NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  set(LAUNCHER_BUILD_BENCHMARKS OFF)
elseif(LAUNCHER_BUILD_BENCHMARKS)
  find_package(benchmark QUIET)
  find_package(PkgConfig QUIET)
  pkg_check_modules(PLIST QUIET IMPORTED_TARGET libplist-2.0>=2.2)
  launcher_decide(BENCHMARKS "the benchmarks"
    LAUNCHER_BUILD_TOOLS=ON LAUNCHER_BUILD_TOOLS
    libbenchmark-dev benchmark_FOUND
    libplist-dev PLIST_FOUND)
endif()
