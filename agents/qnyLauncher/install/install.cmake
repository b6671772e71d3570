# Runs at installation. The configuration is a person's and kept; the unit file is written anew: drop-ins change it.
set(installed "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")
set(prefix "${CMAKE_INSTALL_PREFIX}")
if(NOT DEFINED ENV{DESTDIR})
    file(REAL_PATH "${prefix}" prefix) # the launcher takes no path with a link in it
endif()
if(NOT EXISTS "${installed}/etc/qnyLauncher.conf")
    configure_file("${QNY_LAUNCHER_TEMPLATES}/qnyLauncher.conf.in" "${installed}/etc/qnyLauncher.conf" @ONLY)
endif()
configure_file("${QNY_LAUNCHER_TEMPLATES}/qnyLauncher.service.in" "${installed}/lib/systemd/system/qnyLauncher.service" @ONLY)
configure_file("${QNY_LAUNCHER_TEMPLATES}/sysusers.conf.in" "${installed}/lib/sysusers.d/qnyLauncher.conf" @ONLY)
