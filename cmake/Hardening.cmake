# Makes memory errors in what ships harder to exploit. The flags are asked for, not tested for: a
# compiler without one of them fails, and LAUNCHER_HARDENING=OFF builds without.
option(LAUNCHER_HARDENING "Harden the library, the kits and launcher-inspect; needs optimisation" OFF)

add_library(launcher_hardening INTERFACE)
if(LAUNCHER_HARDENING)
  # A system's compiler may define the macro already.
  target_compile_options(launcher_hardening INTERFACE
    -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    target_link_options(launcher_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
      target_compile_options(launcher_hardening INTERFACE -fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
      target_compile_options(launcher_hardening INTERFACE -mbranch-protection=standard)
    endif()
  endif()
endif()
