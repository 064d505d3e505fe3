# Builds for arm64 Linux in the dialect of Apple's arm64, so that the code of the library for macOS can
# call what is built: constructors return this, small results are extended, char is signed, and
# std::string has another layout. For the tests of the macOS side alone, see scripts/run-machine-code.sh.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

get_filename_component(build ${CMAKE_CURRENT_LIST_DIR}/../../../build ABSOLUTE)
set(CMAKE_SYSROOT ${build}/arm64-root)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig)
set(ENV{PKG_CONFIG_SYSTEM_INCLUDE_PATH} ${CMAKE_SYSROOT}/usr/include)
file(GLOB gcc_include ${CMAKE_SYSROOT}/usr/lib/gcc/aarch64-linux-gnu/*/include)
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST) # they do not run without the emulator

find_program(clang clang REQUIRED)
get_filename_component(llvm ${clang} DIRECTORY)
set(CMAKE_C_COMPILER ${llvm}/clang)
foreach(language IN ITEMS CXX OBJCXX)
  set(CMAKE_${language}_COMPILER ${llvm}/clang++)
  set(CMAKE_${language}_FLAGS_INIT "-fc++-abi=arm -Xclang -target-abi -Xclang darwinpcs -fsigned-char \
-D_LIBCPP_ABI_ALTERNATE_STRING_LAYOUT -D_LIBCPP_TYPEINFO_COMPARISON_IMPLEMENTATION=3 -stdlib=libc++")
  set(CMAKE_${language}_STANDARD_LIBRARIES "-lc++apple -lm -lgcc_s")
endforeach()
foreach(language IN ITEMS C CXX OBJCXX ASM)
  set(CMAKE_${language}_COMPILER_TARGET aarch64-linux-gnu)
endforeach()
set(CMAKE_ASM_FLAGS_INIT -Wno-unused-command-line-argument)

# The programs find their libraries there, and so do those libraries.
set(libcxx ${build}/arm64-libcxx)
set(libraries ${CMAKE_SYSROOT}/lib)
foreach(kind IN ITEMS EXE MODULE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -nostdlib++ -L${libcxx} -Wl,--disable-new-dtags \
-Wl,-rpath,${libcxx}:${libraries}:${libraries}/aarch64-linux-gnu \
-Wl,--dynamic-linker=${libraries}/ld-linux-aarch64.so.1 -Wno-unused-command-line-argument")
endforeach()
