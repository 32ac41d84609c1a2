# What `cmake --install` puts beside the programs (each program's folder
# installs the program itself): the element file and the sample recipe next to
# the coastlines in the data directory, the desktop entry, the icon and the man
# pages. And the Debian package made by cpack.

# Installing (and cpack) takes what is built and does not build every test
# and benchmark first: build pava and pava-cli, then install.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY TRUE)

set(PAVA_SHARE ${CMAKE_INSTALL_DATADIR}/pava)
install(FILES ${PROJECT_SOURCE_DIR}/data/weather.txt DESTINATION ${PAVA_SHARE})
install(PROGRAMS ${PROJECT_SOURCE_DIR}/data/install/make_sample.sh DESTINATION ${PAVA_SHARE})
install(FILES ${PROJECT_SOURCE_DIR}/data/install/pava.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/data/install/pava.svg
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${PROJECT_SOURCE_DIR}/docs/man/pava.1 ${PROJECT_SOURCE_DIR}/docs/man/pava-cli.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# Debian package. Build it from a tree configured with
# -DCMAKE_INSTALL_PREFIX=/usr so that the compiled-in data directory is the
# packaged one (other prefixes still work: the programs also look for their
# data beside themselves, in ../share/pava).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pava)
set(CPACK_PACKAGE_VENDOR "Pava developers")
set(CPACK_PACKAGE_CONTACT "Pava developers <pava@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Station for polar-orbiting weather satellites")
set(CPACK_PACKAGE_DESCRIPTION
  "Records HRPT, CHRPT, MHRPT and CCSDS picture streams from a USB decoder board, reads \
recordings, shows the channel pictures with colour maps, calibration and a coastline and grid \
overlay, saves images, predicts passes and drives an antenna rotor.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The run-time libraries of the build packages in packages.txt (Debian 12
# names): GTK 2 and what pava links of it, libjpeg, libpng, libftdi1.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1, libglib2.0-0, libgtk2.0-0, libgdk-pixbuf-2.0-0, \
libpango-1.0-0, libcairo2, libjpeg62-turbo, libpng16-16, libftdi1-2")
include(CPack)
