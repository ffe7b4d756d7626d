# SPDX-License-Identifier: GPL-3.0-or-later
# What an install holds besides the programs, and the Debian package of it.
# The programs find the data as ../share/quorvi from their own folder, so any
# prefix and DESTDIR work (src/app/CMakeLists.txt).
set(QUORVI_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/quorvi)
install(FILES data/device.ini data/ok.wav DESTINATION ${QUORVI_INSTALL_DATADIR})
install(DIRECTORY data/help DESTINATION ${QUORVI_INSTALL_DATADIR})
install(FILES examples/eeprom_16f84a.asm examples/eeprom_16f84a.inhx32.hex
        DESTINATION ${QUORVI_INSTALL_DATADIR}/examples)
install(FILES docs/quorvi2-cli.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# Under the prefix's lib, not the multiarch libdir: udev reads /usr/lib/udev/rules.d.
install(FILES data/udev/60-quorvi.rules DESTINATION lib/udev/rules.d)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quorvi RENAME copyright)
if(QUORVI_BUILD_GUI)
  install(FILES docs/quorvi2.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES data/desktop/org.quorvi.quorvi2.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES data/desktop/org.quorvi.quorvi2.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  install(FILES data/desktop/org.quorvi.quorvi2.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()

# cpack builds nothing itself: `make package` builds the programs first, and
# the tests stay out of it.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvi)
set(CPACK_PACKAGE_VENDOR "Quorvi developers")
set(CPACK_PACKAGE_CONTACT "Quorvi developers <quorvi@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "programmer for PIC microcontrollers and 24Cxx EEPROMs")
set(CPACK_PACKAGE_DESCRIPTION
    "Quorvi programs PIC microcontrollers (12-bit, 14-bit and 18F cores) and 24Cxx serial EEPROMs
through a simple programmer board on a PC parallel port, an FTDI bit-bang cable or GPIO pins: read, blank check, erase, write, verify,
configuration bits by name, serial numbering. It has a Qt window (quorvi2), a command-line tool
(quorvi2-cli) and a simulated board to try everything without hardware.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Opened only when a port or a trace needs them, so shlibdeps cannot see them.
get_property(loaded_packages GLOBAL PROPERTY QUORVI_LOADED_PACKAGES)
list(JOIN loaded_packages ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS)
include(CPack)
