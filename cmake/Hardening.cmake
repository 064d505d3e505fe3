# Makes memory errors in what ships harder to exploit. Only in optimised builds: the checked C functions
# need it. The flags are asked for, not tested for: a compiler without one of them fails, and
# LAUNCHER_HARDENING=OFF builds without.
option(LAUNCHER_HARDENING "Harden the library, the kits and launcher-inspect when optimised" ON)

add_library(launcher_hardening INTERFACE)
if(LAUNCHER_HARDENING)
  # A system's compiler may define the macro already.
  set(compile -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    set(link -Wl,-z,relro -Wl,-z,now)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
      list(APPEND compile -fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
      list(APPEND compile -mbranch-protection=standard)
    endif()
  endif()
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  target_compile_options(launcher_hardening INTERFACE "$<${optimised}:${compile}>")
  target_link_options(launcher_hardening INTERFACE "$<${optimised}:${link}>")
endif()
