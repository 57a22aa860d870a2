# SPDX-License-Identifier: MIT
"""Inside the root of its own: asks bash and zsh what they offer for each case, and compares."""
import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import time

TEST = pathlib.Path("/test")
OUTPUT = pathlib.Path("/tmp/offered")

# Completion as readline does it: the words of the line, the last one being completed.
BASH = r"""
. /test/zavbox
. /test/zavinfo
while IFS= read -r line; do
    read -ra COMP_WORDS <<<"$line"
    [[ $line == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    "_${COMP_WORDS[0]}"
    printf '%s\t%s\n' "$line" "${COMPREPLY[*]}"
done </tmp/lines >/tmp/offered
"""

# In zsh a key runs the completion on each line; what is offered is seen on its way to the shell.
ZSH = r"""
fpath=(/test $fpath)
autoload -Uz compinit && compinit -u -D
offered=()
compadd() {
    if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then
        builtin compadd "$@"
        return
    fi
    local -a hits
    builtin compadd -A hits "$@"
    offered+=("${IPREFIX}"${^hits})
    builtin compadd "$@"
}
capture() { offered=(); _main_complete }
zle -C capture-offered complete-word capture
all-lines() {
    local line
    while IFS= read -r line; do
        BUFFER=$line CURSOR=$#line
        zle capture-offered
        print -r -- "$line"$'\t'"$offered"
    done </tmp/lines >/tmp/offered
    : >/tmp/finished
    BUFFER=
}
zle -N all-lines
bindkey '^T' all-lines
: >/tmp/ready
"""


def cases():
    for line in (TEST / "cases.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            typed, expected = line.split("|")
            if typed.startswith("zavinfo") and shutil.which("zavinfo") is None:
                continue
            yield typed, sorted(expected.split())


def read_offered():
    rows = (row.split("\t") for row in OUTPUT.read_text().splitlines())
    return {line: sorted(words.split()) for line, words in rows}


def ask_bash():
    subprocess.run(["bash", "--norc", "-c", BASH], check=True)
    return read_offered()


def wait_for(path, terminal, seconds=60):
    end = time.monotonic() + seconds
    shown = b""
    while not pathlib.Path(path).exists():
        if select.select([terminal], [], [], 0.05)[0]:
            shown += os.read(terminal, 65536)
        if time.monotonic() > end:
            sys.exit(f"zsh does not answer; it shows: {shown[-2000:]!r}")


def on_terminal(arguments):
    child, terminal = pty.fork()
    if child == 0:
        os.execvp(arguments[0], arguments)
    return child, terminal


def ask_zsh():
    pathlib.Path("/tmp/init.zsh").write_text(ZSH)
    child, terminal = on_terminal(["zsh", "-f", "-i"])
    os.write(terminal, b". /tmp/init.zsh\n")
    wait_for("/tmp/ready", terminal)
    time.sleep(0.2)
    os.write(terminal, b"\x14")
    wait_for("/tmp/finished", terminal)
    os.write(terminal, b"exit\n")
    os.close(terminal)
    os.waitpid(child, 0)
    return read_offered()


def typed_in_bash():
    """One whole way: the key on a terminal, readline, the command line that comes of it."""
    child, terminal = on_terminal(["bash", "--norc", "-i"])
    os.write(terminal, b". /test/zavbox; zavbox() { echo \"$@\" >/tmp/typed.new; mv /tmp/typed.new /tmp/typed; }\n")
    os.write(terminal, b"zavbox mdmanage --del\t-n md2\t\n")
    wait_for("/tmp/typed", terminal)
    os.write(terminal, b"exit\n")
    os.close(terminal)
    os.waitpid(child, 0)
    return pathlib.Path("/tmp/typed").read_text().split()


def main():
    wanted = dict(cases())
    pathlib.Path("/tmp/lines").write_text("".join(line + "\n" for line in wanted))
    faults = []
    for shell, ask in (("bash", ask_bash), ("zsh", ask_zsh)):
        offered = ask()
        for line, words in wanted.items():
            if offered.get(line) != words:
                faults.append(f"{shell}: '{line}' offers {offered.get(line)} instead of {words}")
    typed = typed_in_bash()
    if typed != ["mdmanage", "--delete", "-n", "md2"]:
        faults.append(f"bash: a line completed on a terminal became {typed}")
    for fault in faults:
        print(fault)
    if not faults:
        print(f"completion: bash and zsh offer what they must for {len(wanted)} lines")
    return 1 if faults else 0


sys.exit(main())
