SUMMARY = "Device-controller daemon of a thermal imaging sight"
DESCRIPTION = "Shows the thermal camera's picture under an on-screen display on the sight's panel, records, \
takes snapshots and streams on demand, and drives the sight's controls."
SECTION = "multimedia"
LICENSE = "CLOSED"

DEPENDS = "gstreamer1.0 gstreamer1.0-plugins-base hiredis cli11 nlohmann-json"

inherit cmake pkgconfig systemd useradd externalsrc

# The source tree that contains this recipe; override it with EXTERNALSRC:pn-vtrdc = "/folder".
EXTERNALSRC ?= "${@os.path.realpath(os.path.join(d.getVar('THISDIR'), '..', '..'))}"

EXTRA_OECMAKE = " \
    -DVTRDC_BUILD_SIM=OFF \
    -DVTRDC_BUILD_BENCH=OFF \
    -DVTRDC_BUILD_TESTS=OFF \
    -DVTRDC_SYSTEMD_UNIT_DIR=${systemd_system_unitdir} \
"

SYSTEMD_SERVICE:${PN} = "vtrdc.service vtrdc-recover.service"

# Group whose members can use the command socket.
USERADD_PACKAGES = "${PN}"
GROUPADD_PARAM:${PN} = "-r vtrdc"

PACKAGES =+ "${PN}-bash-completion"
FILES:${PN}-bash-completion = "${datadir}/bash-completion"
FILES:${PN} += "${nonarch_libdir}/tmpfiles.d ${nonarch_libdir}/sysusers.d ${datadir}/vtrdc ${libexecdir}/vtrdc \
    ${systemd_system_unitdir}"

# Loaded at run time: the pipes' elements, except the board's own, and the sound mixer's tool.
# Elements for the hardware, the scene and the thermal core's tool come with the board's layer. The
# units need the last two.
RDEPENDS:${PN} += " \
    alsa-utils-amixer \
    gstreamer1.0-plugins-base-alsa \
    gstreamer1.0-plugins-base-app \
    gstreamer1.0-plugins-base-tcp \
    gstreamer1.0-plugins-base-videoconvertscale \
    gstreamer1.0-plugins-base-typefindfunctions \
    gstreamer1.0-plugins-good-audiofx \
    gstreamer1.0-plugins-good-audioparsers \
    gstreamer1.0-plugins-good-imagefreeze \
    gstreamer1.0-plugins-good-isomp4 \
    gstreamer1.0-plugins-good-jpeg \
    gstreamer1.0-plugins-good-multifile \
    gstreamer1.0-plugins-good-png \
    gstreamer1.0-plugins-bad-curl \
    gstreamer1.0-plugins-bad-mpegtsmux \
    gstreamer1.0-plugins-bad-videoparsersbad \
    util-linux-flock \
    util-linux-nsenter \
"
RRECOMMENDS:${PN} += "logrotate"
RDEPENDS:${PN}-bash-completion = "bash-completion"
