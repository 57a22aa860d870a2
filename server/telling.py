# SPDX-License-Identifier: MIT
"""How a story is told and judged: what was done under a caption, and each claim with its verdict."""
import time


class Story:
    """What chapters have in common: the machine, and what earlier ones found."""

    def __init__(self, machine, tell=print):
        self.machine = machine
        self.tell = tell
        self.began = time.monotonic()
        self.claims = 0
        self.failed = []
        self.channel = {}  # by slot
        self.checksum = None

    def caption(self, text):
        self.tell(f"\n== {text} [{time.monotonic() - self.began:.0f} s]")

    def note(self, text):
        self.tell(f"   {text}")

    def do(self, command, limit=600):
        """Runs a command for its status alone."""
        return self.machine.run(command, limit)

    def show(self, command, limit=600):
        """Runs a command as an administrator would, and shows what it says."""
        self.tell(f"$ {command}")
        result = self.machine.run(command, limit)
        if result.output.strip():
            self.tell(result.output.rstrip())
        if result.status:
            self.tell(f"(exit status {result.status})")
        return result

    def claim(self, text, holds):
        """What the caption promises; whether it holds."""
        self.claims += 1
        if holds:
            self.tell(f"   ok: {text}")
        else:
            self.tell(f"   FAILED: {text}")
            self.failed.append(text)
        return bool(holds)

    def succeeds(self, text, command, limit=600):
        """A claim that a command proves; what it says is shown when it fails."""
        result = self.machine.run(command, limit)
        if result.status:
            self.tell(f"$ {command}\n{result.output.rstrip()}\n(exit status {result.status})")
        return self.claim(text, result.status == 0)

    def comes_true(self, text, command, limit):
        """A claim that a command proves within so many seconds."""
        began = time.monotonic()
        held = self.machine.wait_until(command, limit)
        if held:
            self.note(f"after {time.monotonic() - began:.0f} s:")
        return self.claim(text, held)

    def verdict(self):
        """The last lines, and the status that a command ends with."""
        seconds = time.monotonic() - self.began
        if not self.claims:
            self.tell("\nserver: nothing was claimed")
            return 1
        if self.failed:
            self.tell(f"\nserver: {len(self.failed)} of {self.claims} claims FAILED ({seconds:.0f} s):")
            for text in self.failed:
                self.tell(f"   {text}")
            return 1
        self.tell(f"\nserver: {self.claims} claims hold ({seconds:.0f} s)")
        return 0


def tell_all(story, chapters, name_of=lambda chapter: chapter.__doc__):
    """The chapters in their order. What no chapter expects ends the story: the later ones are built on
    what it was to leave."""
    for chapter in chapters:
        title = name_of(chapter)
        story.caption(title)
        try:
            chapter(story)
        except Exception as error:  # whatever it is, the story says where it ended
            story.claim(f"\"{title}\" is told to its end: {type(error).__name__}: {error}", False)
            break
    return story.verdict()
