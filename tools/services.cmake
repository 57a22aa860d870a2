# SPDX-License-Identifier: MIT
# The services, the names of arrays, the spares, and what runs when the system starts.
set(tools_here ${CMAKE_CURRENT_LIST_DIR})
function(zav_install_tool what destination) # FILES or PROGRAMS, then the files
    list(TRANSFORM ARGN PREPEND ${tools_here}/)
    install(${what} ${ARGN} DESTINATION ${destination} COMPONENT tools EXCLUDE_FROM_ALL)
endfunction()

zav_install_tool(PROGRAMS sbin sbin/zavbox-setup sbin/zavbox-md-event sbin/zavbox-recover)
zav_install_tool(PROGRAMS lib/zavbox lib/iscsi-config lib/arrays)
zav_install_tool(FILES lib/zavbox lib/services.sh)
zav_install_tool(PROGRAMS lib/systemd/system-generators systemd/zavbox-mounts)
zav_install_tool(FILES lib/systemd/system systemd/zavbox-mounts.target
    systemd/zavbox-recover.service systemd/zavbox-arrays.service)
zav_install_tool(FILES lib/systemd/system/tgt.service.d systemd/tgt.service.d/zavbox.conf)
zav_install_tool(FILES lib/systemd/system/vsftpd.service.d systemd/vsftpd.service.d/zavbox.conf)
zav_install_tool(FILES lib/udev/rules.d udev/65-zavbox-arrays.rules)
zav_install_tool(PROGRAMS share/initramfs-tools/hooks initramfs/zavbox)
zav_install_tool(FILES lib/modprobe.d modprobe.d/zavbox.conf)
zav_install_tool(FILES lib/modules-load.d modules-load.d/zavbox.conf)
install(DIRECTORY seed/ DESTINATION share/zavbox/seed COMPONENT tools EXCLUDE_FROM_ALL)

# Configuration of the administrator's, whatever the prefix.
zav_install_tool(FILES /etc/mdadm/mdadm.conf.d etc/mdadm.conf.d/zavbox.conf)
install(DIRECTORY DESTINATION /etc/zavbox/event.d COMPONENT tools EXCLUDE_FROM_ALL)
