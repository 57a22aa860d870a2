# SPDX-License-Identifier: MIT
"""The completions of bash and zsh: the same table, in front of what each shell does with it."""
import pathlib
import re

TEMPLATES = pathlib.Path(__file__).resolve().parent
FILES = {"bash": "completions/zavbox", "zsh": "completions/_zavbox"}

# What is completed where the kind of the argument does not say enough: by command, mode and option
# ("" for what stands behind the options). A new name is the user's to choose.
LIVE = {
    ("diskmanage", "hotspare", "a"): "free_channel",
    ("diskmanage", "hotspare", "r"): "spare_channel",
    ("mdmanage", "create", "n"): "",
    ("mdmanage", "create", ""): "free_channels",
    ("mdmanage", "a", "a"): "free_channel",
    ("mdmanage", "r", "r"): "faulty_channel",
    ("vgmanage", "create", "n"): "",
    ("lvmanage", "create", "n"): "",
    ("lvmanage", "display", "n"): "pool_path",
    ("fsmanage", "create", "n"): "",
    ("netmanage", "create", "n"): "",
    ("sharemanage", "create", "n"): "",
    ("sharemanage", "restore", "n"): "pool",
}
NOTHING = {"size", "comment"}  # nothing there to choose from


def spellings(option):
    letter, name = option["letter"], option["name"]
    return ([f"--{name}"] if name else []) + [f"-{letter}"]


def preferred(option):
    return spellings(option)[0]


def options_of_mode(mode, options):
    """The other options that the usage shows with a mode."""
    shown = " ".join(mode["ways"])
    letters = set(re.findall(r"(?<![\w-])-(\w)\b", shown))
    names = set(re.findall(r"--([\w-]+)", shown))
    return [o for o in options if o["role"] == "detail" and (o["letter"] in letters or o["name"] in names)]


def kind(command, mode, option):
    if option is None:
        key, usual = (command, mode["name"] or mode["letter"], ""), mode["operand"]
    else:
        key, usual = (command, mode["name"] or mode["letter"], option["letter"]), option["argument"]
    found = LIVE.get(key, usual)
    return "" if found in NOTHING else found


def described(page, option):
    """The first sentence of the option's entry in the page."""
    plain = re.sub(r"\\f[BIRP]", "", page).replace("\\-", "-")
    head = re.escape(f"-{option['letter']}")
    found = re.search(rf"^\.TP\n{head}[ ,\n][^\n]*\n?((?:.+\n)*?)(?=\.TP|\.PP|\.SH)", plain, re.MULTILINE)
    words = re.sub(r"^\.\w+ ", "", found[1], flags=re.MULTILINE).replace("\n", " ") if found else ""
    words = re.sub(r"^With [^:]*: ", "", words).replace("\\e", "\\")
    first = re.split(r"[.:](?: |$)", words.replace('"', ""))[0]
    return first[:1].upper() + first[1:].strip()


def commands(tables, pages):
    """By command: its options, and by mode what goes with it."""
    result = {}
    for command in tables["commands"]:
        name, options = command["name"], [o for o in command["options"] if o["role"] != "only_shown"]
        modes = []
        for mode in (o for o in options if o["role"] == "mode"):
            with_it = options_of_mode(mode, options)
            takes_own = [mode] if mode["argument"] else []
            # Two options that name one thing, such as the channels of --hotspare -a and -r, stay apart.
            kinds = {o["letter"]: kind(name, mode, o) for o in with_it + takes_own}
            modes.append({"option": mode, "with": with_it, "kinds": kinds, "operand": kind(name, mode, None)})
        summary = re.search(rf"^{name} \\- (.*)$", pages[name], re.MULTILINE)[1]
        texts = {o["letter"]: described(pages[name], o) for o in options}
        result[name] = {"options": options, "modes": modes, "summary": summary, "texts": texts}
    return result


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


def case(name, rows):
    """A shell function that prints what belongs to its arguments."""
    lines = [f"{name}() {{", '    case "$*" in']
    lines += [f"    {pattern}) printf '%s\\n' {value} ;;" for pattern, value in rows]
    lines += ["    *) return 1 ;;"]
    return "\n".join(lines + ["    esac", "}"])


def patterns(command, mode):
    return "|".join(quoted(f"{command} {spelling}") for spelling in spellings(mode["option"]))


def functions(options):
    modes, with_mode, arguments, operands = [], [], [], []
    for command, entry in options.items():
        modes.append((quoted(command), quoted(" ".join(["--help"] + [preferred(m["option"]) for m in entry["modes"]]))))
        takers = [s[1:] for o in entry["options"] if o["argument"] for s in spellings(o) if len(s) == 2]
        arguments.append((quoted(f"{command} takers"), quoted(" ".join(f"-{t}" for t in takers))))
        for mode in entry["modes"]:
            offered = " ".join(preferred(o) for o in mode["with"])
            with_mode.append((patterns(command, mode), quoted(offered)))
            for letter, what in mode["kinds"].items():
                if what:
                    found = "|".join(quoted(f"{command} {head} -{letter}") for head in spellings(mode["option"]))
                    arguments.append((found, what))
            if mode["operand"]:
                operands.append((patterns(command, mode), mode["operand"]))
    made = [
        case("_zavbox_modes", modes),
        case("_zavbox_with", with_mode),
        case("_zavbox_kind", arguments),
        case("_zavbox_operand", operands),
    ]
    return "\n\n".join(made)


def descriptions(options):
    """For zsh, which shows them beside the options."""
    rows = [(quoted(command), quoted(entry["summary"])) for command, entry in options.items()]
    for command, entry in options.items():
        for option in entry["options"]:
            text = entry["texts"][option["letter"]]
            if text:
                rows.append((quoted(f"{command} {preferred(option)}"), quoted(text)))
    return case("_zavbox_text", rows)


def script(shell, options):
    template = (TEMPLATES / f"completion.{shell}").read_text()
    common = (TEMPLATES / "completion.common").read_text().split("\n", 1)[1]  # without its licence line
    made = functions(options)
    if shell == "zsh":
        made += "\n\n" + descriptions(options)
    template = template.replace("# @TABLES@\n", made + "\n").replace("# @COMMON@\n", common)
    return template.replace("@COMMANDS@", " ".join(options))
