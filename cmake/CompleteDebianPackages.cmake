# Adds to each package, before it is packed, what Debian expects: copyright, changelog, compressed
# manual pages.

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN ITEMS LIBRARY DEVELOPMENT TOOLS)
  set(name ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  string(TOLOWER ${component} folder)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${folder}/usr/share)
  set(doc ${root}/doc/${name})
  configure_file(${CPACK_LAUNCHER_COPYRIGHT} ${doc}/copyright COPYONLY)
  file(WRITE ${doc}/changelog "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * CHANGELOG.md in the development package lists the changes.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  # The system searches this folder anyway.
  file(GLOB_RECURSE modules ${root}/../lib/*.pc)
  foreach(module IN LISTS modules)
    file(READ ${module} text)
    string(REPLACE " -Wl,-rpath,\${libdir}" "" text "${text}")
    file(WRITE ${module} "${text}")
  endforeach()
  file(GLOB manuals ${root}/man/man1/*.1)
  execute_process(COMMAND gzip -9 -n -f ${doc}/changelog ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
