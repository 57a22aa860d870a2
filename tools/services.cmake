# SPDX-License-Identifier: MIT
# The services, the arrays' names and spares, and what runs when the system starts. Programs are
# found at these paths by what runs them, systemd, udev, mdadm or zavbox: no prefix applies.
set(tools ${CMAKE_CURRENT_LIST_DIR})
install(PROGRAMS ${tools}/sbin/zavbox-setup ${tools}/sbin/zavbox-md-event
    ${tools}/sbin/zavbox-recover
    DESTINATION /usr/sbin COMPONENT tools)
install(PROGRAMS ${tools}/lib/iscsi-config ${tools}/lib/arrays
    DESTINATION /usr/lib/zavbox COMPONENT tools)
install(FILES ${tools}/lib/services.sh DESTINATION /usr/lib/zavbox COMPONENT tools)
install(DIRECTORY ${tools}/seed/ DESTINATION /usr/share/zavbox/seed COMPONENT tools)

install(PROGRAMS ${tools}/systemd/zavbox-mounts
    DESTINATION /usr/lib/systemd/system-generators COMPONENT tools)
install(FILES ${tools}/systemd/zavbox-mounts.target ${tools}/systemd/zavbox-recover.service
    ${tools}/systemd/zavbox-arrays.service
    DESTINATION /usr/lib/systemd/system COMPONENT tools)
install(DIRECTORY ${tools}/systemd/tgt.service.d ${tools}/systemd/vsftpd.service.d
    DESTINATION /usr/lib/systemd/system COMPONENT tools)

install(FILES ${tools}/udev/65-zavbox-arrays.rules
    DESTINATION /usr/lib/udev/rules.d COMPONENT tools)
install(PROGRAMS ${tools}/initramfs/zavbox
    DESTINATION /usr/share/initramfs-tools/hooks COMPONENT tools)
install(FILES ${tools}/etc/mdadm.conf.d/zavbox.conf
    DESTINATION /etc/mdadm/mdadm.conf.d COMPONENT tools)
install(DIRECTORY DESTINATION /etc/zavbox/event.d COMPONENT tools)
install(FILES ${tools}/modprobe.d/zavbox.conf DESTINATION /usr/lib/modprobe.d COMPONENT tools)
install(FILES ${tools}/modules-load.d/zavbox.conf
    DESTINATION /usr/lib/modules-load.d COMPONENT tools)

# The commands' programs: etc/init.d/*, bin/busybox, fxml, xconf, nasconf.
install(PROGRAMS ${tools}/adapters/etc/init.d/samba ${tools}/adapters/etc/init.d/nfs
    ${tools}/adapters/etc/init.d/vsftpd ${tools}/adapters/etc/init.d/iscsi-target
    DESTINATION /usr/lib/zavbox/tools/etc/init.d COMPONENT tools)
install(PROGRAMS ${tools}/adapters/bin/busybox
    DESTINATION /usr/lib/zavbox/tools/bin COMPONENT tools)
install(PROGRAMS ${tools}/adapters/usr/local/bin/fxml ${tools}/adapters/usr/local/bin/xconf
    DESTINATION /usr/lib/zavbox/tools/usr/local/bin COMPONENT tools)
install(DIRECTORY ${tools}/adapters/usr/local/bin/
    DESTINATION /usr/lib/zavbox/tools/usr/local/bin COMPONENT tools
    FILES_MATCHING PATTERN nasconf)
