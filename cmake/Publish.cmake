# Publishes a target: users of it, in this build or after the installation, find these headers and no
# others. The folder of their own allows for names such as Export.h.
include(GNUInstallDirs)
set(LAUNCHER_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/ThinClientLauncher)

function(launcher_publish target)
  set(copies ${PROJECT_BINARY_DIR}/include)
  foreach(header IN LISTS ARGN)
    configure_file(${header} ${copies}/${header} COPYONLY)
  endforeach()
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${copies}> $<INSTALL_INTERFACE:${LAUNCHER_INCLUDE_DIR}>)
  if(NOT LAUNCHER_INSTALL)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL SHARED_LIBRARY AND NOT APPLE) # so that installed programs find it
    set(libdir $<INSTALL_PREFIX>/${CMAKE_INSTALL_LIBDIR})
    target_link_options(${target} INTERFACE
      $<INSTALL_INTERFACE:$<$<NOT:$<STREQUAL:$<INSTALL_PREFIX>,/usr>>:LINKER:-rpath,${libdir}>>)
  endif()
  install(TARGETS ${target} EXPORT ThinClientLauncherTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
  install(FILES ${ARGN} DESTINATION ${LAUNCHER_INCLUDE_DIR} COMPONENT development)
endfunction()
