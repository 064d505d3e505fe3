# Adds to each package, before it is packed, what Debian expects: copyright, changelog, compressed
# manual pages.

function(compress file)
  execute_process(COMMAND gzip -9 -n -f ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN ITEMS LIBRARY DEVELOPMENT TOOLS)
  set(name ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  string(TOLOWER ${component} folder)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${folder}/usr/share)
  set(doc ${root}/doc/${name})
  file(MAKE_DIRECTORY ${doc})
  configure_file(${CPACK_LAUNCHER_COPYRIGHT} ${doc}/copyright COPYONLY)
  file(WRITE ${doc}/changelog "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * CHANGELOG.md in the development package lists the changes.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  compress(${doc}/changelog)
  file(GLOB manuals ${root}/man/man1/*.1)
  foreach(manual IN LISTS manuals)
    compress(${manual})
  endforeach()
endforeach()
