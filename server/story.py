#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""story.py --image FILE --carried FOLDER [--tree] [--keep FOLDER] [--until CHAPTER] - a Debian server
becomes a storage server, and lives through what a storage server lives through.

The image is one of make-image. The folder goes to the machine as /media/carried: it has the packages,
and a newer version of them in newer/; with --tree it has an installed tree in tree/. Prints what is
done and each claim with its verdict; the status is 0 if all hold. --keep leaves the console's log in
that folder, which is emptied first."""
import argparse
import os
import sys
import tempfile

import chapters
from machine import Machine, work_folder
from telling import Story, tell_all


def tell(text):
    print(text, flush=True)


def read_arguments():
    parser = argparse.ArgumentParser(prog="story.py")
    parser.add_argument("--image", required=True)
    parser.add_argument("--carried", required=True)
    parser.add_argument("--tree", action="store_true")
    parser.add_argument("--keep")
    parser.add_argument("--until", metavar="CHAPTER")
    arguments = parser.parse_args()
    order = chapters.chapters(not arguments.tree)
    names = [chapter.__name__ for chapter in order]
    if arguments.until:
        if arguments.until not in names:
            parser.error(f"--until: one of {' '.join(names)}")
        order = order[:names.index(arguments.until) + 1]
    return arguments, order


def main():
    arguments, order = read_arguments()
    with tempfile.TemporaryDirectory(prefix="zavbox-server.") as folder:
        if arguments.keep:
            folder = work_folder(os.path.abspath(arguments.keep))
        machine = Machine(arguments.image, folder, os.path.abspath(arguments.carried))
        try:
            chapters.fill_slots(machine)
            return tell_all(Story(machine, tell), order)
        finally:
            machine.close()


if __name__ == "__main__":
    sys.exit(main())
