# SPDX-License-Identifier: MIT
"""A Debian server in QEMU, as the person sees it who stands before it: power, disks in slots, and
the console.

The Python of Debian, whose package python3-pexpect talks to the console."""
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time

import pexpect

import parts


class MachineError(Exception):
    """The machine is not what the caller takes it for: it does not start, or no longer answers."""


class Monitor:
    """QEMU's own control socket."""

    def __init__(self, path, deadline):
        self.socket = socket.socket(socket.AF_UNIX)
        while True:
            try:
                self.socket.connect(path)
                break
            except OSError:
                if time.monotonic() > deadline:
                    raise MachineError("QEMU's monitor does not answer") from None
                time.sleep(0.1)
        self.socket.settimeout(60)
        self.lines = self.socket.makefile("rw", encoding="utf-8")
        self.events = []
        self._next()  # the greeting
        self.command("qmp_capabilities")

    def _next(self):
        line = self.lines.readline()
        if not line:
            raise MachineError("QEMU has ended")
        return json.loads(line)

    def command(self, name, **arguments):
        """What QEMU returns; a refusal is an error."""
        message = {"execute": name} | ({"arguments": arguments} if arguments else {})
        self.lines.write(json.dumps(message) + "\n")
        self.lines.flush()
        while True:
            answer = self._next()
            if "event" in answer:
                self.events.append(answer)
            elif "error" in answer:
                raise MachineError(f"{name}: {answer['error']['desc']}")
            else:
                return answer["return"]

    def wait_for(self, event, device):
        """Until the event of that device has come, which may be before this call."""
        while True:
            for seen in self.events:
                if seen["event"] == event and seen.get("data", {}).get("device") == device:
                    self.events.remove(seen)
                    return
            answer = self._next()
            if "event" in answer:
                self.events.append(answer)

    def close(self):
        self.lines.close()
        self.socket.close()


class Machine:
    """`image` is copied: what happens to the machine stays in `folder`. `carried` is a folder that
    the machine finds, read-only, as /media/carried."""

    def __init__(self, image, folder, carried, limit=600):
        self.folder = pathlib.Path(folder)
        self.carried = carried
        self.limit = limit  # seconds for a start or a shutdown
        self.root = self.folder / "root.img"
        subprocess.run(["cp", "--sparse=always", image, self.root], check=True)
        self.slots = {}
        self.console = None
        self.monitor = None
        self.commands = 0
        self.log = open(self.folder / "console.log", "a", encoding="utf-8")

    # Disks

    def new_disk(self, serial, size):
        """A blank disk on the shelf; `size` as truncate(1) takes it."""
        path = self.folder / f"{serial}.disk"
        subprocess.run(["truncate", "-s", size, path], check=True)
        return parts.Disk(str(path), serial)

    def put(self, slot, disk):
        """Puts the disk into the slot, whether the machine runs or not."""
        if slot in self.slots:
            raise MachineError(f"there is a disk in {slot.name}")
        self.slots[slot] = disk
        if self.monitor:
            self._plug(slot, disk)

    def pull(self, slot):
        """Takes the disk out: the machine finds it gone at the next access, or is told by the bus.
        Returns it."""
        disk = self.slots.pop(slot)
        if self.monitor:
            self.monitor.command("device_del", id=slot.name)
            self.monitor.wait_for("DEVICE_DELETED", slot.name)
            self.monitor.command("blockdev-del", **{"node-name": parts.disk_node(disk)})
        return disk

    def _plug(self, slot, disk):
        self.monitor.command("blockdev-add", **parts.blockdev(disk))
        self.monitor.command("device_add", **parts.device(slot, disk))

    # Power

    def start(self):
        """Power on, up to the prompt of root's shell. Returns the seconds to the login prompt and
        to the moment when systemd has nothing more to start."""
        if self.console:
            raise MachineError("the machine is on")
        began = time.monotonic()
        self._load_kernel()
        path = str(self.folder / "monitor")
        pathlib.Path(path).unlink(missing_ok=True)
        command = parts.qemu_command(self.root, str(self.folder / "vmlinuz"),
                                     str(self.folder / "initrd"), self.carried, path)
        self.console = pexpect.spawn(command[0], command[1:], encoding="utf-8",
                                     codec_errors="replace", timeout=self.limit, echo=False)
        self.console.delaybeforesend = None
        self.console.logfile_read = self.log
        self.monitor = Monitor(path, time.monotonic() + 60)
        for slot, disk in self.slots.items():
            self._plug(slot, disk)
        self.monitor.command("cont")
        self._expect(r"login: ")
        prompt = time.monotonic() - began
        self._log_in()
        state = self.run("systemctl is-system-running --wait", limit=self.limit).output.strip()
        if state not in ("running", "degraded"):
            raise MachineError(f"the system is '{state}'")
        self.run("mkdir -p /media/carried && mount -t 9p -o trans=virtio,version=9p2000.L,ro carried"
                 " /media/carried")
        return prompt, time.monotonic() - began

    def _load_kernel(self):
        """What a boot loader would do: the newest kernel and its initramfs, from the machine's own
        disk as they are there now."""
        def debugfs(request):
            return subprocess.run(["debugfs", "-R", request, self.root], check=True, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        names = parts.kernel_in(debugfs("ls -p /boot"))
        if not names:
            raise MachineError("there is no kernel with its initramfs in /boot")
        for name, here in zip(names, ("vmlinuz", "initrd")):
            debugfs(f"dump /boot/{name} {self.folder / here}")

    def _log_in(self):
        self.console.sendline("root")
        self._expect(r"# ")
        # A shell without a line editor, and a terminal that repeats nothing.
        self.console.sendline("exec env PS1= PS2= sh")
        self.console.sendline("stty -echo -onlcr; printf '=%s=\\n' ready")
        self._expect(r"=ready=\r?\n")

    def reboot(self):
        """An orderly one. Returns what `start` does."""
        self.shut_down("reboot")
        return self.start()

    def shut_down(self, how="poweroff"):
        self.console.sendline(how)
        try:
            self.console.expect(pexpect.EOF, timeout=self.limit)
        except pexpect.TIMEOUT:
            raise MachineError(f"the machine does not {how}") from None
        self._gone()

    def cut_power(self):
        """At once. What the machine had not written to its disks is lost; what a disk had taken
        is on it, as with a write cache that a battery keeps."""
        self.console.kill(signal.SIGKILL)
        self.console.expect(pexpect.EOF)
        self._gone()

    def _gone(self):
        self.console.close(force=True)
        self.monitor.close()
        self.console = self.monitor = None

    def close(self):
        """Ends the machine, if it is on, and deletes its disks; the console's log stays."""
        if self.console:
            self.cut_power()
        self.log.close()
        for file in (self.root, *self.folder.glob("*.disk")):
            file.unlink(missing_ok=True)

    # The console

    def _expect(self, pattern, limit=-1):
        try:
            self.console.expect(pattern, timeout=limit)
        except pexpect.TIMEOUT:
            raise MachineError(f"no '{pattern}' on the console in time") from None
        except pexpect.EOF:
            raise MachineError("the machine has gone off") from None
        return self.console

    def run(self, command, limit=300):
        """Runs a command line as root and returns its result: the standard error is among the
        output."""
        self.commands += 1
        began = time.monotonic()
        self.console.sendline(parts.marked(command, self.commands))
        console = self._expect(parts.mark(self.commands), limit)
        output = parts.plain(console.before).lstrip("\n")
        return Result(output, int(console.match[1]), time.monotonic() - began)

    def begin(self, command):
        """Starts a command and does not wait: for what is to be cut short."""
        self.console.sendline(f"( {command}\n) </dev/null >/dev/null 2>&1 &")

    def wait_until(self, command, limit):
        """Whether the command succeeds within so many seconds; it is tried once a second."""
        deadline = time.monotonic() + limit
        while self.run(command).status:
            if time.monotonic() > deadline:
                return False
            time.sleep(1)
        return True


class Result:
    """Of a command."""

    def __init__(self, output, status, seconds):
        self.output = output
        self.status = status
        self.seconds = seconds


def work_folder(base):
    """An empty folder, under a short path: a socket's name has a limit."""
    path = pathlib.Path(base)
    if path.exists():
        shutil.rmtree(path)
    os.makedirs(path)
    return path
