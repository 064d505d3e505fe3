# SOURCE_DATE_EPOCH sets the time.
string(TIMESTAMP seconds "%s" UTC)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/repack-debian-package.sh ${package} ${seconds}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
