# "cpack" in the build folder makes three Debian packages, and two more for debuggers.
set(CPACK_PACKAGE_NAME thinclientlauncher)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "the ThinClientLauncher developers")
set(CPACK_PACKAGE_CONTACT "ThinClientLauncher developers <launcher@thinclientlauncher.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Starts the newest usable copy of a media plug-in")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL library development tools docs)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/RepackDebianPackages.cmake)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libthinclientlauncher1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# The names of its symbols do not tell that the library needs this version.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libglib2.0-0 (>= 2.74) | libglib2.0-0t64")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libthinclientlauncher-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libthinclientlauncher1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME launcher-inspect)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
include(CPack)

# The documents are part of the development package.
cpack_add_component_group(development)
cpack_add_component(development GROUP development DESCRIPTION
  "Headers, the kits for hosts and for plug-ins, and their documentation.")
cpack_add_component(docs GROUP development)
cpack_add_component(library DESCRIPTION "For programs that start such a plug-in.")
cpack_add_component(tools DESCRIPTION "Tells which copy would start, and why not the others.")
