# Builds for macOS on Linux, against the sysroot that scripts/check-macos.sh creates in the build
# folder. Not used on a Mac.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20.0)

find_program(clang clang REQUIRED)
get_filename_component(llvm ${clang} DIRECTORY)
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/macos-cross-rules.cmake)
set(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/macos-sysroot)
file(REAL_PATH ${sysroot} CMAKE_OSX_SYSROOT)

set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST) # they do not run here
set(CMAKE_OSX_DEPLOYMENT_TARGET 11.0)
# In the cache: a project that asks for a CMake before 3.21 would lose the plain variable.
set(CMAKE_OSX_ARCHITECTURES arm64 x86_64 CACHE STRING "")

set(CMAKE_C_COMPILER ${llvm}/clang)
set(CMAKE_CXX_COMPILER ${llvm}/clang++)
set(CMAKE_OBJC_COMPILER ${llvm}/clang)
set(CMAKE_OBJCXX_COMPILER ${llvm}/clang++)
foreach(language IN ITEMS C CXX OBJC OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET arm64-apple-macos11.0)
endforeach()
# LLVM's ranlib refuses a library of two architectures, its strip the options for a Mac's.
set(CMAKE_RANLIB true)
set(CMAKE_STRIP true)
foreach(tool AR LIPO OTOOL INSTALL_NAME_TOOL NM)
  string(TOLOWER ${tool} name)
  string(REPLACE _ - name ${name})
  set(CMAKE_${tool} ${llvm}/llvm-${name})
endforeach()

# -B names the folder in which the compiler finds lipo. The sysroot's __config_site must precede
# Debian's: it keeps libc++'s availability checks, so that nothing binds to what macOS 11 lacks.
set(join -B${CMAKE_OSX_SYSROOT}/bin)
set(libcxx "-isystem ${CMAKE_OSX_SYSROOT}/usr/include/libc++-config")
set(CMAKE_C_FLAGS_INIT ${join})
set(CMAKE_OBJC_FLAGS_INIT ${join})
set(CMAKE_CXX_FLAGS_INIT "${join} ${libcxx}")
set(CMAKE_OBJCXX_FLAGS_INIT "${join} ${libcxx}")
foreach(kind IN ITEMS EXE MODULE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -fuse-ld=lld)
endforeach()
