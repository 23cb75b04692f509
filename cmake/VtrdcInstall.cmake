# Installation: component "daemon" for the sight, "simulated-board" for a PC.
include(GNUInstallDirs)

# Distributions differ in this folder; a relative one is below the prefix.
set(VTRDC_SYSTEMD_UNIT_DIR "lib/systemd/system" CACHE STRING "Folder of systemd's units")
set(VTRDC_PYTHON_DIR "lib/python3/dist-packages" CACHE STRING "Folder of Python's modules")

set(vtrdc_packaging "${PROJECT_SOURCE_DIR}/packaging")
# Programs that only units run.
set(vtrdc_libexec "${CMAKE_INSTALL_FULL_LIBEXECDIR}/vtrdc")

# Daemon, client, recovery tool, and files for the init system and the administrator.
set(vtrdc_units vtrdc.service vtrdc-settings.path vtrdc-settings.timer
  vtrdc-settings@.service)
foreach(file IN LISTS vtrdc_units ITEMS vtrdc-recover.service vtrdc.tmpfiles)
  configure_file("${vtrdc_packaging}/systemd/${file}.in" "packaging/${file}" @ONLY)
endforeach()

# The settings file's format, for the program that keeps a copy of it.
set(vtrdc_settings_list "${PROJECT_SOURCE_DIR}/src/config/settings_list.inc")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${vtrdc_settings_list}")
file(READ "${vtrdc_settings_list}" vtrdc_rows)
string(REGEX MATCHALL "VTRDC_SETTING\\([a-z_]+, [^,]+, [^,]+," vtrdc_rows "${vtrdc_rows}")
string(REGEX REPLACE "VTRDC_SETTING\\(([a-z_]+), const char\\*, \"([^\"]*)\"," "\\1 text \\2"
  vtrdc_rows "${vtrdc_rows}")
string(REGEX REPLACE "VTRDC_SETTING\\(([a-z_]+), std::int32_t, [^,]*," "\\1 integer" vtrdc_rows "${vtrdc_rows}")
string(REGEX REPLACE "VTRDC_SETTING\\(([a-z_]+), double, [^,]*," "\\1 number" vtrdc_rows "${vtrdc_rows}")
string(REPLACE ";" "\n" VTRDC_SETTINGS_ROWS "${vtrdc_rows}")
configure_file("${vtrdc_packaging}/settings/settings-copy.in" packaging/settings-copy @ONLY)

install(TARGETS vtrdc DESTINATION "${CMAKE_INSTALL_SBINDIR}" COMPONENT daemon)
if(VTRDC_BUILD_CLIENT)
  install(TARGETS vtrdcctl vtrdc-recover DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT daemon)
  install(FILES "${PROJECT_BINARY_DIR}/packaging/vtrdc-recover.service"
    DESTINATION "${VTRDC_SYSTEMD_UNIT_DIR}" COMPONENT daemon)
endif()
if(TARGET python_module)
  install(FILES "${PROJECT_BINARY_DIR}/python/vtrdc.py"
    DESTINATION "${VTRDC_PYTHON_DIR}" COMPONENT daemon)
  install(PROGRAMS "${PROJECT_SOURCE_DIR}/tools/python/examples/record_on_button.py"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" COMPONENT daemon)
endif()
install(FILES "${vtrdc_packaging}/man/vtrdcctl.1" "${vtrdc_packaging}/man/vtrdc-recover.1"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT daemon)
install(FILES "${vtrdc_packaging}/man/vtrdc.conf.5"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man5" COMPONENT daemon)
install(FILES "${vtrdc_packaging}/man/vtrdc.8"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man8" COMPONENT daemon)
install(FILES "${vtrdc_packaging}/bash-completion/vtrdcctl" "${vtrdc_packaging}/bash-completion/vtrdc-recover"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT daemon)
# Installed twice: as documentation, and as the initial settings where documentation is left out.
install(FILES "${vtrdc_packaging}/vtrdc.conf.example"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" RENAME vtrdc.conf COMPONENT daemon)
install(FILES "${vtrdc_packaging}/vtrdc.conf.example"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/vtrdc" RENAME vtrdc.conf COMPONENT daemon)
list(TRANSFORM vtrdc_units PREPEND "${PROJECT_BINARY_DIR}/packaging/")
install(FILES ${vtrdc_units} DESTINATION "${VTRDC_SYSTEMD_UNIT_DIR}" COMPONENT daemon)
install(PROGRAMS "${PROJECT_BINARY_DIR}/packaging/settings-copy" "${vtrdc_packaging}/systemd/later-restart"
  DESTINATION "${vtrdc_libexec}" COMPONENT daemon)
install(FILES "${PROJECT_BINARY_DIR}/packaging/vtrdc.tmpfiles"
  DESTINATION lib/tmpfiles.d RENAME vtrdc.conf COMPONENT daemon)
install(FILES "${vtrdc_packaging}/systemd/vtrdc.sysusers"
  DESTINATION lib/sysusers.d RENAME vtrdc.conf COMPONENT daemon)
install(FILES "${vtrdc_packaging}/vtrdc.logrotate"
  DESTINATION "${CMAKE_INSTALL_FULL_SYSCONFDIR}/logrotate.d" RENAME vtrdc COMPONENT daemon)

if(NOT VTRDC_BUILD_SIM)
  return()
endif()

# The simulated board, laid out like a source tree with a build, as scripts/sim expects.
set(vtrdc_sim_lib "${CMAKE_INSTALL_FULL_LIBDIR}/vtrdc-sim")
set(vtrdc_sim_share "${CMAKE_INSTALL_FULL_DATADIR}/vtrdc-sim")
configure_file("${vtrdc_packaging}/sim/vtrdc-sim.in" packaging/vtrdc-sim @ONLY)
install(PROGRAMS "${PROJECT_BINARY_DIR}/packaging/vtrdc-sim"
  DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT simulated-board)
install(FILES "${vtrdc_packaging}/man/vtrdc-sim.1"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT simulated-board)
install(PROGRAMS "${PROJECT_SOURCE_DIR}/scripts/sim"
  DESTINATION "${vtrdc_sim_share}/scripts" COMPONENT simulated-board)
install(FILES "${PROJECT_SOURCE_DIR}/scripts/lib.sh" "${PROJECT_SOURCE_DIR}/scripts/board.sh"
  "${PROJECT_SOURCE_DIR}/scripts/background.sh"
  DESTINATION "${vtrdc_sim_share}/scripts" COMPONENT simulated-board)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/sim/scenario"
  DESTINATION "${vtrdc_sim_share}/sim" COMPONENT simulated-board)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/scenarios"
  DESTINATION "${vtrdc_sim_share}" COMPONENT simulated-board)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/sim/board"
  DESTINATION "${vtrdc_sim_share}/sim" USE_SOURCE_PERMISSIONS COMPONENT simulated-board)
install(TARGETS gstvtrdcsim gstalsa
  DESTINATION "${vtrdc_sim_lib}/sim/plugins" COMPONENT simulated-board)
install(TARGETS vtrdc_sim_clock
  DESTINATION "${vtrdc_sim_lib}/sim/clock" COMPONENT simulated-board)
install(TARGETS vtrdc-sim-buttons vtrdc-sim-footage-trial vtrdc-sim-shot
  DESTINATION "${vtrdc_sim_lib}/sim/tools" COMPONENT simulated-board)
# The daemon's place in a build.
file(CREATE_LINK "${CMAKE_INSTALL_FULL_SBINDIR}/vtrdc" "${PROJECT_BINARY_DIR}/packaging/vtrdc" SYMBOLIC)
install(FILES "${PROJECT_BINARY_DIR}/packaging/vtrdc"
  DESTINATION "${vtrdc_sim_lib}" COMPONENT simulated-board)

# The control page and its server; the target is missing without its libraries.
if(TARGET vtrdc-web)
  install(TARGETS vtrdc-web
    DESTINATION "${vtrdc_sim_lib}/web" COMPONENT simulated-board)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/web/page"
    DESTINATION "${vtrdc_sim_share}/web" COMPONENT simulated-board)
endif()
