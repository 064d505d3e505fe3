# Foundation names folders and reads bundles, AppKit starts applications.
enable_language(OBJCXX)

target_sources(launcher_objects PRIVATE macos/LauncherHelper.mm)
set_target_properties(launcher_objects PROPERTIES
  OBJCXX_STANDARD 17
  OBJCXX_STANDARD_REQUIRED ON
  OBJCXX_EXTENSIONS OFF)
# By default an unknown message is only a warning, and fails at run time.
target_compile_options(launcher_objects PRIVATE -fobjc-arc -Werror=objc-method-access)
target_link_libraries(launcher_objects PUBLIC "-framework Foundation" "-framework AppKit" objc)

# Hosts and applications load the library by a relative or absolute path, never by a build path.
set(exports ${CMAKE_CURRENT_SOURCE_DIR}/macos/exports.txt)
target_link_options(ThinClientLauncher PRIVATE
  -Wl,-exported_symbols_list,${exports} -Wl,-no_implicit_dylibs)
set_target_properties(ThinClientLauncher PROPERTIES
  LINK_DEPENDS ${exports}
  LINKER_LANGUAGE CXX
  MACOSX_RPATH ON
  INSTALL_NAME_DIR @rpath
  BUILD_WITH_INSTALL_NAME_DIR ON)
