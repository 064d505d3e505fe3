# The parts of the project that need more packages than the library does.
#
# Each has an option LAUNCHER_BUILD_<PART>. AUTO builds what it can, and says in one line for each
# folder what is left out. ON ends with an error instead. OFF leaves the part out.

foreach(part IN ITEMS TOOLS EXAMPLES TESTS BENCHMARKS)
  set(default OFF) # in another project's build
  if(PROJECT_IS_TOP_LEVEL)
    set(default AUTO)
  endif()
  set(LAUNCHER_BUILD_${part} ${default} CACHE STRING "ON, OFF, or AUTO: what has its packages")
  set_property(CACHE LAUNCHER_BUILD_${part} PROPERTY STRINGS AUTO ON OFF)
endforeach()

# Returns from the calling folder if something is missing. After the description come pairs: a Debian
# package, and the variable or target that exists if it was found.
macro(launcher_needs option description)
  launcher_list_missing(${ARGN})
  if(missing AND ${option} STREQUAL "AUTO")
    message(STATUS "Left out: ${description} (needs ${missing})")
  elseif(missing) # the other folders still name what they need
    message(SEND_ERROR "${option} is ${${option}}, but for ${description} this is missing: ${missing}. "
      "Install it, or choose AUTO or OFF.")
  endif()
  if(missing)
    return()
  endif()
endmacro()

function(launcher_list_missing)
  set(missing)
  while(ARGN)
    list(POP_FRONT ARGN package found)
    if(NOT ${found} AND NOT TARGET ${found})
      list(APPEND missing ${package})
    endif()
  endwhile()
  list(REMOVE_DUPLICATES missing)
  if(APPLE) # Homebrew's names
    list(TRANSFORM missing REPLACE "^lib|3?-dev$" "")
  endif()
  list(JOIN missing " " missing)
  set(missing ${missing} PARENT_SCOPE)
endfunction()
