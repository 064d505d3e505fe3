# What CMake would know on a Mac: the option for run paths, and how to make a library of objects for
# both architectures, of which llvm-ar makes no index.
foreach(language IN ITEMS C CXX OBJC OBJCXX)
  set(CMAKE_SHARED_LIBRARY_RUNTIME_${language}_FLAG "-Wl,-rpath,")
  set(CMAKE_${language}_ARCHIVE_CREATE "${llvm}/llvm-libtool-darwin -static -o <TARGET> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_FINISH "")
endforeach()
