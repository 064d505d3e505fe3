# "cpack" in the build folder makes one archive for a Mac, to be unpacked wherever it shall be used.
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_FILE_NAME ThinClientLauncher-${PROJECT_VERSION}-macos)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
