# SPDX-License-Identifier: MIT
"""Plain texts of the tables as roff."""
import re
import textwrap

PAGE = re.compile(r"\b([a-z][a-z.-]*)\((\d)\)")
TYPED = re.compile(r"(?<!\w)'([^']+)'(?!\w)")  # a command, as it is to be typed
MINUS = re.compile(r"(?<![\w.])-(?=[-\w])")  # of an option or a number


def typed_or_not(part, is_typed):
    if is_typed:
        return r"\fB" + part.replace("-", r"\-") + r"\fR"
    return MINUS.sub(r"\\-", PAGE.sub(r"\\fB\1\\fR(\2)", part))


def text(plain):
    """A text in short lines, each sentence in lines of its own."""
    parts = TYPED.split(plain.replace("\\", r"\e"))
    whole = "".join(typed_or_not(part, at % 2 == 1) for at, part in enumerate(parts))
    lines = []
    for line in re.sub(r"[.] (?=[A-Z])", ".\n", whole).splitlines():
        lines += textwrap.wrap(line, 88, break_long_words=False, break_on_hyphens=False)
    return [r"\&" + line if line[:1] in ".'" else line for line in lines]


def sentence(plain):
    return plain[0].upper() + plain[1:] + ("" if plain.endswith(".") else ".")


def number(value):
    return str(value).replace("-", r"\-")
