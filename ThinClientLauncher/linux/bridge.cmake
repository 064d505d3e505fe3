# GLib starts processes, expat parses XML.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET GLOBAL glib-2.0>=2.74)
pkg_check_modules(EXPAT REQUIRED IMPORTED_TARGET GLOBAL expat)

target_sources(launcher_objects PRIVATE
  linux/ApplicationStart.cpp
  linux/BinaryPropertyList.cpp
  linux/Bundle.cpp
  linux/Platform.cpp
  linux/PropertyList.cpp)
target_link_libraries(launcher_objects PUBLIC
  PkgConfig::GLIB PkgConfig::EXPAT Threads::Threads ${CMAKE_DL_LIBS})

# A library that defines a unique symbol is never unmapped.
foreach(objects IN ITEMS launcher_rules launcher_objects)
  target_compile_options(${objects} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
endforeach()

# The host, or another copy of this library in the process, may define symbols of the same names: each
# copy binds to its own.
set(exports ${CMAKE_CURRENT_SOURCE_DIR}/linux/exports.map)
target_link_options(ThinClientLauncher PRIVATE -Wl,-Bsymbolic -Wl,--version-script=${exports})
set_target_properties(ThinClientLauncher PROPERTIES LINK_DEPENDS ${exports})
