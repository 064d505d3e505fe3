# What "cmake --install" installs beside the targets: how other projects find them, and the documents.
# Components: library, development, tools, docs.
include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ThinClientLauncher)
set(config ${CMAKE_CURRENT_BINARY_DIR}/ThinClientLauncherConfig.cmake)
configure_package_config_file(cmake/ThinClientLauncherConfig.cmake.in ${config}
  INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(ThinClientLauncherConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${config} ${CMAKE_CURRENT_BINARY_DIR}/ThinClientLauncherConfigVersion.cmake
  DESTINATION ${config_dir} COMPONENT development)
install(EXPORT ThinClientLauncherTargets NAMESPACE ThinClientLauncher::
  DESTINATION ${config_dir} COMPONENT development)

# The prefix is relative, so that an installed tree can be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix ${prefix})
set(run_path "-Wl,-rpath,\${libdir}") # nothing else tells where a program finds the library
function(install_pkgconfig name description link)
  configure_file(cmake/package.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${pkgconfig_dir} COMPONENT development)
endfunction()
if(APPLE)
  set(link_launcher "-lThinClientLauncher ${run_path}")
  set(link_plugin "-lc++ -framework Foundation -framework AppKit -lobjc")
else()
  # The linker searches for no other suffix than .so and .a.
  set(link_launcher "-l:libThinClientLauncher.dylib ${run_path}")
  set(link_plugin "-lstdc++ -ldl")
endif()
install_pkgconfig(ThinClientLauncher "Starts the newest usable copy of a plug-in for a host"
  ${link_launcher})
install_pkgconfig(ThinClientLauncherHost "Calls the launcher library from C and catches its exceptions"
  "-lThinClientLauncherHost ${run_path}")
install_pkgconfig(ThinClientLauncherPlugin "What a plug-in needs to enter the launcher library"
  "-lThinClientLauncherPlugin ${link_plugin}")

install(FILES README.md CHANGELOG.md CONTRIBUTING.md COPYRIGHT SECURITY.md TYPE DOC COMPONENT docs)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs)

if(APPLE) # "cpack" in the build folder makes one archive, to be unpacked wherever it shall be used
  set(CPACK_GENERATOR TGZ)
  set(CPACK_PACKAGE_FILE_NAME ThinClientLauncher-${PROJECT_VERSION}-macos)
  set(CPACK_VERBATIM_VARIABLES ON)
  include(CPack)
else()
  include(cmake/Packages.cmake)
endif()
