# SPDX-License-Identifier: GPL-3.0-or-later
# What an install holds besides the programs.
# The programs find the data as ../share/quorvi from their own folder, so any
# prefix and DESTDIR work (src/app/CMakeLists.txt).
set(QUORVI_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/quorvi)
install(FILES data/device.ini data/ok.wav DESTINATION ${QUORVI_INSTALL_DATADIR})
install(DIRECTORY data/help DESTINATION ${QUORVI_INSTALL_DATADIR})
install(FILES examples/eeprom_16f84a.asm examples/eeprom_16f84a.inhx32.hex
        DESTINATION ${QUORVI_INSTALL_DATADIR}/examples)
install(FILES docs/quorvi2-cli.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quorvi RENAME copyright)
if(QUORVI_BUILD_GUI)
  install(FILES docs/quorvi2.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES data/desktop/org.quorvi.quorvi2.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES data/desktop/org.quorvi.quorvi2.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  install(FILES data/desktop/org.quorvi.quorvi2.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()

