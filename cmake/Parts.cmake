# The parts of the project that need more packages than the library does.
#
# Each has an option LAUNCHER_BUILD_<PART>. AUTO builds what it can, and says in one line for each
# folder what is left out. ON ends with an error instead. OFF leaves the part out.

set(default OFF) # in another project's build
if(PROJECT_IS_TOP_LEVEL)
  set(default AUTO)
endif()
foreach(part IN ITEMS TOOLS EXAMPLES TESTS BENCHMARKS)
  set(LAUNCHER_BUILD_${part} ${default} CACHE STRING "ON, OFF, or AUTO: what has its packages")
  set_property(CACHE LAUNCHER_BUILD_${part} PROPERTY STRINGS AUTO ON OFF)
endforeach()

# Returns from the calling folder if something is missing. After the description come pairs: a Debian
# package, and the variable or target that exists if it was found.
macro(launcher_needs option description)
  set(needs ${ARGN})
  set(missing)
  while(needs)
    list(POP_FRONT needs package found)
    if(NOT ${found} AND NOT TARGET ${found})
      list(APPEND missing ${package})
    endif()
  endwhile()
  if(missing)
    list(REMOVE_DUPLICATES missing)
    list(JOIN missing " " missing)
    if(${option} STREQUAL "AUTO")
      message(STATUS "Left out: ${description} (needs ${missing})")
    else() # the other folders still name what they need
      message(SEND_ERROR "${option} is ${${option}}, but for ${description} this is missing: ${missing}. "
        "Install it, or choose AUTO or OFF.")
    endif()
    return()
  endif()
endmacro()
