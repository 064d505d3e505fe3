# What CMake would know on a Mac: the option for run paths, and how to make a library of objects for
# both architectures, of which llvm-ar makes no index.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
foreach(language IN ITEMS C CXX OBJC OBJCXX)
  set(CMAKE_${language}_ARCHIVE_CREATE "${llvm}/llvm-libtool-darwin -static -o <TARGET> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_FINISH "")
endforeach()
