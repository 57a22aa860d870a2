# SPDX-License-Identifier: MIT
"""The parts of the server's story that need no machine."""
import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "server"))

import parts  # noqa: E402
from telling import Story, tell_all  # noqa: E402


class Slots(unittest.TestCase):
    def test_a_scsi_slot_is_a_target(self):
        slot = parts.Slot("scsi", 3)
        self.assertEqual(slot.path, "pci-0000:00:10.0-scsi-0:0:3:0")
        arguments = parts.device(slot, parts.Disk("/f", "SN1"))
        self.assertEqual((arguments["driver"], arguments["scsi-id"], arguments["lun"]), ("scsi-hd", 3, 0))

    def test_an_nvme_slot_is_a_place_on_the_bus(self):
        slot = parts.Slot("nvme", 2)
        self.assertEqual(slot.path, "pci-0000:00:1a.0-nvme-1")
        self.assertEqual(parts.device(slot, parts.Disk("/f", "SN1"))["addr"], "0x1a")

    def test_no_two_slots_share_a_place_or_take_one_of_the_machine(self):
        command = parts.qemu_command("root", "kernel", "initrd", "folder", "socket")
        taken = re.findall(r"addr=(0x[0-9a-f]+)", " ".join(command))
        places = [f"{parts.Slot('nvme', number).place:#x}" for number in range(1, 7)] + taken
        self.assertEqual(len(places), len(set(places)))

    def test_the_serial_number_is_the_disk_s_and_the_name_the_slot_s(self):
        arguments = parts.device(parts.Slot("scsi", 1), parts.Disk("/f", "SN7"))
        self.assertEqual((arguments["id"], arguments["serial"]), ("scsi1", "SN7"))
        self.assertEqual(arguments["drive"], parts.blockdev(parts.Disk("/f", "SN7"))["node-name"])


class Console(unittest.TestCase):
    def test_the_status_stands_behind_the_output(self):
        text = "some output\n\n=12=3=\n"
        match = re.search(parts.mark(12), text)
        self.assertEqual((match[1], text[:match.start()]), ("3", "some output\n"))

    def test_another_command_s_mark_is_output(self):
        self.assertIsNone(re.search(parts.mark(2), "\n=12=0=\n"))

    def test_the_line_that_is_sent_is_no_mark(self):
        self.assertIsNone(re.search(parts.mark(5), parts.marked("true", 5)))

    def test_a_comment_does_not_hide_what_ends_the_command(self):
        self.assertIn("\n) ", parts.marked("true # so it is", 1))

    def test_colours_are_no_text(self):
        self.assertEqual(parts.plain("\x1b[0;32mok\x1b[0m\r\n\x1b[?2004l"), "ok\n")


class Listings(unittest.TestCase):
    disks = ("diskname\tchannel\traid\thotspare\n" + "*" * 40 + "\n"
             "'sda'\t'1'\t''\t'NH'\n'nvme0n1'\t'7'\t'md1'\t'H'\n")

    def test_rows_lose_their_quotes(self):
        self.assertEqual(parts.table(self.disks), [["sda", "1", "", "NH"], ["nvme0n1", "7", "md1", "H"]])

    def test_what_is_no_table_has_no_rows(self):
        self.assertEqual(parts.table("for errno '-205'\n"), [])

    def test_faulty_and_missing_members_are_none(self):
        self.assertEqual(parts.channels("3,1,2(F),4(S),5(M)"), [1, 3, 4])

    def test_slots(self):
        text = ("CHANNEL  DISK     SERIAL  PATH\n1        sda      SN001   pci-0000:00:10.0-scsi-0:0:1:0\n"
                "2        -        -       pci-0000:00:10.0-scsi-0:0:2:0\n"
                "-        vda      -       pci-0000:00:04.0 (system)\n")
        self.assertEqual(parts.slots_listed(text),
                         {"1": ["sda", "SN001", "pci-0000:00:10.0-scsi-0:0:1:0"],
                          "2": ["-", "-", "pci-0000:00:10.0-scsi-0:0:2:0"]})


class Kernel(unittest.TestCase):
    def listing(self, *names):
        return "".join(f"/{number}/100644/0/0/{name}/1/\n" for number, name in enumerate(names))

    def test_the_newest_by_number(self):
        names = ["vmlinuz-6.1.0-9-amd64", "initrd.img-6.1.0-9-amd64",
                 "vmlinuz-6.1.0-10-amd64", "initrd.img-6.1.0-10-amd64", "grub"]
        self.assertEqual(parts.kernel_in(self.listing(*names)),
                         ("vmlinuz-6.1.0-10-amd64", "initrd.img-6.1.0-10-amd64"))

    def test_one_without_an_initramfs_cannot_start(self):
        self.assertIsNone(parts.kernel_in(self.listing("vmlinuz-6.1.0-9-amd64")))


class Verdicts(unittest.TestCase):
    def tell(self, *chapters):
        lines = []
        status = tell_all(Story(None, lines.append), chapters, lambda chapter: "A chapter")
        return status, "\n".join(lines)

    def test_all_claims_hold(self):
        status, text = self.tell(lambda story: story.claim("one", True), lambda story: story.claim("two", 1))
        self.assertEqual(status, 0)
        self.assertIn("server: 2 claims hold", text)

    def test_one_that_does_not_hold_is_the_verdict(self):
        status, text = self.tell(lambda story: story.claim("one", False), lambda story: story.claim("two", True))
        self.assertEqual(status, 1)
        self.assertIn("1 of 2 claims FAILED", text)

    def test_a_story_that_breaks_off_has_failed(self):
        def breaks(story):
            raise OSError("gone")
        status, text = self.tell(lambda story: story.claim("one", True), breaks,
                                 lambda story: story.claim("never told", True))
        self.assertEqual(status, 1)
        self.assertIn("OSError: gone", text)
        self.assertNotIn("never told", text)

    def test_a_story_without_claims_has_failed(self):
        self.assertEqual(self.tell()[0], 1)


if __name__ == "__main__":
    unittest.main()
