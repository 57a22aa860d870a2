# SPDX-License-Identifier: MIT
"""The codes in the manual pages: the lists in EXIT STATUS, and zavbox-errors(7)."""
import re

from . import roff

BEGIN = '.\\" The codes are those of lib/base/codes.def: scripts/manuals writes them.\n'
END = '.\\" End of the codes.\n'
UNCHANGED = {"Nothing has changed.", "This command changes nothing."}  # what the pages say once
OF_NO_COMMAND = {"library", "log"}


def users(row):
    return row["used_by"].split()


def row_of(tables, number, command):
    """The row that a command's code is explained by, as find_code_advice() finds it."""
    return next(row for row in tables["advice"] if row["number"] == number and command in users(row))


def numbers_of(tables, command):
    """The codes that a command prints."""
    numbers = {row["number"] for row in tables["advice"] if command in users(row)}
    return sorted(numbers, reverse=True)


def status_of(tables, row, command):
    """The exit status, as a reader wants it."""
    status = f"{row['status']}"
    for other in tables["other_statuses"]:
        if other["number"] == row["number"] and other["command"] == command:
            status = f"{status}; {other['status']} {other['when']}" if other["when"] else f"{other['status']}"
    return status


def entry(tables, number, command):
    row = row_of(tables, number, command)
    status = status_of(tables, row, command).replace("--", r"\-\-")
    lines = [".TP", f"{roff.number(number)} ({status})"]
    meaning = row["meaning"] + "."
    left = "" if row["left"] in UNCHANGED else " " + row["left"]
    return lines + roff.text(meaning + left + " " + row["next"])


def exit_status(tables, command):
    """The list of a command's page."""
    lines = []
    for number in numbers_of(tables, command):
        lines += entry(tables, number, command)
    return "\n".join(lines) + "\n"


def page(tables, command, old):
    """A command's page with its list anew."""
    pattern = re.escape(BEGIN) + ".*?" + re.escape(END)
    parts = re.split(pattern, old, flags=re.DOTALL)
    if len(parts) != 2:
        raise SystemExit(f"manuals: {command}.8 has {len(parts) - 1} places for the codes")
    return parts[0] + BEGIN + exit_status(tables, command) + END + parts[1]


ERRORS_HEAD = r""".\" SPDX-License-Identifier: MIT
.\" Written by scripts/manuals from lib/base/codes.def.
.TH ZAVBOX\-ERRORS 7 "2026-11-21" "zavbox {version}" "zavbox"
.SH NAME
zavbox\-errors \- the codes of zavbox: what they mean, what is left, what to do
.SH DESCRIPTION
A command of
.BR zavbox (8)
that fails prints "for errno \(aq\fIcode\fR\(aq" on standard output and ends with the
code modulo 256 as exit status.
The log,
.IR /var/log/log.libzav ,
has the code in its last lines, and above them the step that failed, often with a code
of its own that only the log shows.
Callers of the library get the same codes from its functions.
.PP
Several codes have the same exit status, and a few numbers have two meanings: the
command tells which one it is.
Where a code is not the same for all commands, the entry says it for each.
.SH CODES
Each entry gives the number, the name in the library, and the exit status of a command
that ends with it; then what it means and who returns it, what is left behind, and what
to do next.
A code that nobody returns is the reason of another one, and stands above it in the log.
"""

ERRORS_TAIL = r""".SH SEE ALSO
.BR diskmanage (8),
.BR disksmart (8),
.BR fsmanage (8),
.BR lvmanage (8),
.BR mdmanage (8),
.BR netmanage (8),
.BR sharemanage (8),
.BR vgmanage (8),
.BR zavbox (8),
.BR zavinfo (8),
.BR zavbox\-tools (7)
"""


def returned_by(tables, row):
    if users(row) == ["log"]:
        return "Returned by: nobody; it stands in the log."
    names = []
    for user in users(row):
        name = "the library" if user == "library" else f"{user}(8)"
        others = [o for o in tables["other_statuses"] if (o["number"], o["command"]) == (row["number"], user)]
        names.append(name + "".join(f" (exit status {o['status']}{' ' + o['when'] if o['when'] else ''})" for o in others))
    return f"Returned by: {', '.join(names)}."


def explained(tables, row):
    lines = roff.text(roff.sentence(row["meaning"]))
    for label in (returned_by(tables, row), f"Left behind: {row['left']}", f"What to do: {row['next']}"):
        lines += [".br", *roff.text(label)]
    return lines


def unique_rows(tables, name):
    """A code's rows; the general one only as far as commands have no row of their own."""
    *own, general = [row for row in tables["advice"] if row["name"] == name]
    covered = {user for row in own for user in users(row)}
    rest = [user for user in users(general) if user not in covered]
    return own + ([dict(general, used_by=" ".join(rest))] if rest else [])


def error_entry(tables, name):
    rows = unique_rows(tables, name)
    number, status = rows[0]["number"], rows[0]["status"]
    heading = f"\\fB{roff.number(number)}\\fR, {name}, exit status {status}"
    if all(set(users(row)) <= OF_NO_COMMAND for row in rows):
        heading = f"\\fB{roff.number(number)}\\fR, {name}"
    lines = [".TP", heading, *explained(tables, rows[0])]
    for row in rows[1:]:
        lines += [".IP", *explained(tables, row)]
    return lines


def by_status(tables):
    """Which codes an exit status may stand for."""
    found = {}
    for row in tables["advice"]:
        for user in users(row):
            if user not in OF_NO_COMMAND:
                found.setdefault(row["status"], set()).add((user, row["number"]))
    for other in tables["other_statuses"]:
        pair = other["command"], other["number"]
        if not other["when"]:
            found[other["number"] & 0xFF].discard(pair)
        found.setdefault(other["status"], set()).add(pair)
    lines = []
    for status in sorted(status for status in found if found[status]):
        pairs = sorted(found[status], key=lambda pair: (pair[0], -pair[1]))
        lines += [".TP", f"{status}", *roff.text(", ".join(f"{user} {number}" for user, number in pairs))]
    return lines


def errors(tables):
    """zavbox-errors(7)."""
    names = {row["name"]: row["number"] for row in tables["advice"]}
    lines = []
    for name in sorted(names, key=lambda name: (-names[name], tables["codes"].index(name))):
        lines += error_entry(tables, name)
    lines += [".SH EXIT STATUSES", "The codes that an exit status may stand for, by command; 0 is success otherwise, and"]
    lines += ["other statuses are explained on the command's page.", *by_status(tables)]
    return ERRORS_HEAD.replace("{version}", tables["version"]) + "\n".join(lines) + "\n" + ERRORS_TAIL
