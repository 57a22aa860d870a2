# SPDX-License-Identifier: MIT
"""What a machine for the story is made of, as data, and how its output is read: no process runs
here, so that tests can look at it alone."""
import dataclasses
import re


@dataclasses.dataclass(frozen=True)
class Slot:
    """A place for a disk; `number` is its target on the SCSI bus, or its place on the PCI bus."""
    bus: str  # "scsi" or "nvme"
    number: int

    @property
    def name(self):
        return f"{self.bus}{self.number}"

    @property
    def place(self):
        """The PCI address of an NVMe disk."""
        return 0x18 + self.number

    @property
    def path(self):
        """Its name in /dev/disk/by-path."""
        if self.bus == "scsi":
            return f"pci-0000:00:10.0-scsi-0:0:{self.number}:0"
        return f"pci-0000:00:{self.place:02x}.0-nvme-1"


@dataclasses.dataclass(frozen=True)
class Disk:
    """A disk that is in a slot or on the shelf: a file, and the serial number on its label."""
    file: str
    serial: str


def disk_node(disk):
    """The name of the disk's file in QEMU."""
    return f"file-{disk.serial}"


def blockdev(disk):
    """The arguments of QEMU's blockdev-add."""
    return {"driver": "raw", "node-name": disk_node(disk),
            "file": {"driver": "file", "filename": disk.file}}


def device(slot, disk):
    """The arguments of QEMU's device_add."""
    common = {"id": slot.name, "drive": disk_node(disk), "serial": disk.serial}
    if slot.bus == "scsi":
        return common | {"driver": "scsi-hd", "bus": "scsi.0", "scsi-id": slot.number, "lun": 0}
    return common | {"driver": "nvme", "bus": "pci.0", "addr": f"{slot.place:#x}"}


def qemu_command(root, kernel, initrd, folder, socket, memory=1024):
    """The machine without its disks, stopped before its first instruction. Software emulation: a
    /dev/kvm that opens may still hang the guest."""
    return ["qemu-system-x86_64", "-accel", "tcg,thread=multi", "-cpu", "max", "-machine", "pc",
            "-smp", "2", "-m", str(memory), "-S", "-nodefaults", "-no-user-config", "-no-reboot",
            "-display", "none", "-serial", "stdio", "-qmp", f"unix:{socket},server=on,wait=off",
            "-kernel", kernel, "-initrd", initrd,
            "-append", "root=/dev/vda rw console=ttyS0 quiet panic=-1",
            "-drive", f"file={root},if=none,id=root,format=raw",
            "-device", "virtio-blk-pci,drive=root,addr=0x4",
            "-device", "virtio-rng-pci,addr=0x5",
            "-virtfs", f"local,path={folder},mount_tag=carried,security_model=none,readonly=on,id=carried",
            "-device", "virtio-scsi-pci,id=scsi,addr=0x10"]


def marked(command, number):
    """The line that the guest's shell gets: the command away from the console's input, and behind
    its output a line with its status."""
    return f"( {command}\n) </dev/null 2>&1; printf '\\n=%s=%d=\\n' {number} $?"


def mark(number):
    """What ends the output of `marked`."""
    return rf"\r?\n={number}=(\d+)=\r?\n"


def plain(text):
    """A console's text without its colours and carriage returns."""
    return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", text).replace("\r", "")


def table(text):
    """The rows of a command's listing, behind its header and the line of asterisks: columns
    separated by tabs, in quotes or not."""
    lines = text.splitlines()
    border = next((n for n, line in enumerate(lines) if re.fullmatch(r"\*{10,}", line)), len(lines))
    return [[cell.strip("'") for cell in line.split("\t")] for line in lines[border + 1:] if line]


def channels(cell):
    """The numbers in a cell such as "3,1,2(F)", without those that are marked faulty or missing."""
    return sorted(int(number) for number, mark_of in re.findall(r"(\d+)(?:\(([A-Z])\))?", cell)
                  if mark_of not in ("F", "M"))


def slots_listed(text):
    """By channel, the disk, serial number and path that zavbox-slots --list shows."""
    rows = [line.split(maxsplit=3) for line in text.splitlines()[1:]]
    return {row[0]: row[1:] for row in rows if len(row) == 4 and row[0] != "-"}


def kernel_in(listing):
    """The newest kernel and its initramfs in what debugfs's "ls -p /boot" prints."""
    names = [line.split("/")[5] for line in listing.splitlines() if line.count("/") >= 6]
    versions = sorted((name.removeprefix("vmlinuz-") for name in names if name.startswith("vmlinuz-")),
                      key=lambda version: [int(n) for n in re.findall(r"\d+", version)])
    if not versions or f"initrd.img-{versions[-1]}" not in names:
        return None
    return f"vmlinuz-{versions[-1]}", f"initrd.img-{versions[-1]}"
