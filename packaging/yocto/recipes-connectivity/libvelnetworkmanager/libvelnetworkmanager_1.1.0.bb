# SPDX-License-Identifier: MIT
SUMMARY = "Manages the wired interfaces of an embedded device with systemd"
DESCRIPTION = "A library with which a host application has the live state of the interfaces local and remote, and \
changes addresses, default gateway, DNS and static routes through systemd-networkd and systemd-resolved."
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=64a7f7247e283e1ea7bcb3798449bf56"

# The layer is part of the project. The recipe builds the source tree that contains it.
inherit externalsrc
EXTERNALSRC = "${@os.path.abspath(d.getVar('THISDIR') + '/../../../..')}"
EXTERNALSRC_SYMLINKS = ""

inherit cmake pkgconfig systemd useradd features_check
REQUIRED_DISTRO_FEATURES = "systemd"

DEPENDS = "boost cli11 nlohmann-json"
EXTRA_OECMAKE = "-DVELNM_BUILD_HOST=ON -DVELNM_BUILD_VELNETCTL=ON -DVELNM_BUILD_TESTS=OFF -DVELNM_INSTALL=ON"
PACKAGECONFIG ??= "watch"
PACKAGECONFIG[watch] = "-DVELNM_BUILD_WATCH=ON,-DVELNM_BUILD_WATCH=OFF,ncurses"

do_install:append() {
    ${S}/packaging/install ${D}
    if [ "${systemd_unitdir}" != "${nonarch_libdir}/systemd" ]; then
        install -d "${D}${systemd_unitdir}"
        mv "${D}${nonarch_libdir}/systemd/system" "${D}${systemd_unitdir}"
        rmdir "${D}${nonarch_libdir}/systemd"
    fi
}

# A file goes to the first package that lists it.
PACKAGES = "${PN}-src ${PN}-dbg ${PN}-staticdev ${PN}-dev velnetworkmanager-host velnetctl libvelnetworkhost ${PN}"

FILES:${PN}-staticdev = "${libdir}/*.a"
FILES:${PN}-dev = "${includedir}/velnetworkmanager ${libdir}/*.so ${libdir}/cmake ${libdir}/pkgconfig"
FILES:velnetworkmanager-host = " \
    ${sysconfdir}/sudoers.d/velnet-host \
    ${nonarch_libdir}/sysusers.d/velnet-host.conf \
    ${nonarch_libdir}/tmpfiles.d/velnet-host.conf \
    ${systemd_system_unitdir}/velnet-host.service \
    ${systemd_system_unitdir}/velnet-guard.path \
    ${systemd_system_unitdir}/velnet-guard.service \
    ${systemd_system_unitdir}/velnet-guard-boot.service \
    ${systemd_system_unitdir}/velnet-take-over.service \
    ${systemd_system_unitdir}/sysinit.target.wants/velnet-take-over.service \
    ${nonarch_libdir}/velnet/take-over \
    ${systemd_system_unitdir}/systemd-networkd.service.d \
    ${systemd_system_unitdir}/systemd-networkd-persistent-storage.service.d \
    ${systemd_system_unitdir}/systemd-resolved.service.d \
"
FILES:velnetctl = " \
    ${bindir}/velnetctl \
    ${mandir}/man1/velnetctl.1 \
    ${datadir}/bash-completion/completions/velnetctl \
"
FILES:libvelnetworkhost = "${libdir}/libVelNetworkHost.so.*"
FILES:${PN} = "${libdir}/libVelNetworkManager.so.*"

SUMMARY:velnetworkmanager-host = "Lets a host of libVelNetworkManager run without being root; the guard of trials"
SUMMARY:velnetctl = "Shows and changes the network settings of an embedded device"
SUMMARY:libvelnetworkhost = "Network settings as plans, trials and one document"

# The CMake files name all libraries. Therefore all of them have to be installed.
RDEPENDS:${PN}-dev += "${PN}-staticdev libvelnetworkhost boost-dev"
RDEPENDS:velnetworkmanager-host = "velnetctl bash util-linux iproute2 net-tools sudo systemd"
RRECOMMENDS:${PN} = "iproute2 net-tools sudo"

SYSTEMD_PACKAGES = "velnetworkmanager-host"
SYSTEMD_SERVICE:velnetworkmanager-host = "velnet-guard.path velnet-guard-boot.service"

# The user of packaging/sysusers.d, for images without systemd-sysusers. With it, sysusers.d finds the user and makes
# no other.
USERADD_PACKAGES = "velnetworkmanager-host"
USERADD_PARAM:velnetworkmanager-host = "--system --user-group --home-dir / --no-create-home --shell /sbin/nologin velnet"
