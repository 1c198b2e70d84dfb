#!/usr/bin/env python3
"""Manual pages and completions of the programs, made of what their --help prints.

    from_help.py COMMAND... --help          the help text in the order that help2man needs; other options are passed on
    from_help.py completions FOLDER PROGRAM [RUNNER...]      FOLDER/{bash,zsh,fish}/...; RUNNER runs a foreign PROGRAM
"""

import dataclasses
import pathlib
import re
import subprocess
import sys

# What an option takes, beyond what its placeholder says: words, or the pattern of file names. The words must stand in the
# option's help.
WORDS = {
    "extracttextures": "all",
    "hashes": "frames draws",
    "frame-end": "auto swap flush finish fence readback marker",
    "gpucounters": "list",
    "loglevel": "none error warning notice diagnostic trace",
    "logzone": "all",
    "pace": "recorded",
    "perdrawscreenshotsfilter": "rtv dsv uav all",
    "screenshotformat": "bmp png dds",
    "timegpu": "frames passes draws",
}
FILES = {"results": "*.json", "writehashes": "*.glcap", "json": "*.json", "csv": "*.csv", "o": "*.glcap"}
CAPTURES = "*.glcap"
# What playback-record ctl takes.
CONTROLS = "start stop snapshot status --pid --help"


@dataclasses.dataclass
class Option:
    name: str  # with its hyphens
    value: str  # the placeholder; empty: none
    help: str

    @property
    def bare(self):
        return self.name.lstrip("-")

    @property
    def words(self):
        return WORDS.get(self.bare, "")

    @property
    def files(self):
        """Pattern of file names; empty: no file."""
        return FILES.get(self.bare, "*") if self.value == "FILE" else ""


def run(command, option):
    return subprocess.run([*command, option], check=True, text=True, stdout=subprocess.PIPE).stdout


def options(text):
    found = []
    for line in text.splitlines():
        if m := re.match(r"  (-{1,2}\w[\w-]*)(?:\[=[^ ]+)?(?: ([^ ]+))?(?:  +(.*))?$", line):
            found.append(Option(m[1], m[2] or "", m[3] or ""))
        elif found and line.startswith(" " * 20):
            found[-1].help = f"{found[-1].help} {line.strip()}".strip()
    for option in found:
        missing = [word for word in option.words.split() if not re.search(rf"\b{word}\b", option.help)]
        if missing:
            sys.exit(f"from_help.py: the help of {option.name} does not mention {', '.join(missing)}")
    return found


def manual(text):
    """Options under one heading, after them the examples, each a paragraph of its own; exit statuses are a section."""
    if status := re.search(r"^Exit status: ((?:.+\n)+)\n*", text, re.M):
        text = f"{text.replace(status[0], '')}\n*Exit status*\n\n{status[1][0].upper()}{status[1][1:]}"
    examples = re.search(r"^Examples:\n((?:  .*\n)+)\n*", text, re.M)
    if examples:
        text = text.replace(examples[0], "")
    if not re.search(r"^Options:$", text, re.M):
        text = re.sub(r"^(?=\w[\w ]*:\n  -)", "Options:\n", text, count=1, flags=re.M)
    if examples:
        text += "\nExamples:\n\n" + "\n".join(
            # Indented, help2man would take one without an explanation for more words of the one before.
            f"{line if '  ' in line.strip() else line.strip()}\n" for line in examples[1].splitlines())
    return text


def bash(program, listed):
    function = "_" + program.replace("-", "_")
    cases = []
    for o in (o for o in listed if o.value):
        if o.words:
            action = f"COMPREPLY=($(compgen -W '{o.words}' -- \"$cur\"))"
        elif o.value == "DIR":
            action = "_filedir -d"
        elif o.files:
            action = "_filedir" + ("" if o.files == "*" else f" '{o.files[2:]}'")
        else:
            action = ":"
        cases.append(f"    -{o.bare} | --{o.bare})\n        {action}\n        return\n        ;;\n")
    names = " ".join(o.name for o in listed)
    values = " | ".join(f"-{o.bare} | --{o.bare}" for o in listed if o.value)
    command = f"""    if [[ ${{words[1]}} == ctl ]] && ((cword > 1)); then
        COMPREPLY=($(compgen -W '{CONTROLS}' -- "$cur"))
        return
    fi
    local i
    for ((i = 1; i < cword; i++)); do
        case ${{words[i]}} in
        {values}) ((i++)) ;;
        --) ((i++)) && break ;;
        -*) ;;
        *) break ;;
        esac
    done
    if ((i < cword)) || {{ ((i == cword)) && [[ $prev == -- || $cur != -* ]]; }}; then
        _command_offset "$i"
        return
    fi
""" if program == "playback-record" else ""
    rest = "" if command else f"    else\n        _filedir '{CAPTURES[2:]}'\n"
    return f"""# Completion for {program}, made of its help text.

{function}()
{{
    local cur prev words cword
    _init_completion || return
{command}    case $prev in
{''.join(cases)}    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W '{names}' -- "$cur"))
{rest}    fi
}} &&
    complete -F {function} {program}
"""


def zsh(program, listed):
    def quoted(text):
        return re.sub(r"([\[\]:\\])", r"\\\1", text).replace("'", "'\\''")

    lines = []
    for o in listed:
        action = f"({o.words})" if o.words else "_files -/" if o.value == "DIR" else \
            f'_files -g "{o.files}"' if o.files else " "
        lines.append(f"'{o.name}[{quoted(o.help)}]" + (f":{quoted(o.value)}:{action}'" if o.value else "'"))
    lines += ["'(-):command:_command_names -e'", "'*::arguments:_normal'"] if program == "playback-record" else \
        [f"""'*:capture:_files -g "{CAPTURES}"'"""]
    controls = f"if ((CURRENT > 2)) && [[ $words[2] == ctl ]]; then\n    compadd {CONTROLS}\n    return\nfi\n" \
        if program == "playback-record" else ""
    return f"#compdef {program}\n# Made of the help text of {program}.\n\n{controls}_arguments -S : \\\n    " + " \\\n    ".join(lines) + "\n"


def fish(program, listed):
    def quoted(text):
        return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"

    def suffix(pattern):
        return f"-k -x -a '(__fish_complete_suffix {pattern[1:]})'"

    lines = [f"# Made of the help text of {program}."]
    if program == "playback-record":
        # What begins with two hyphens must not come first.
        takers = " ".join(hyphens + o.bare for hyphens in ("-", "--") for o in listed if o.value)
        lines.append(f"complete -c {program} -x -a '(__fish_complete_subcommand {takers})'")
        lines.append(f"complete -c {program} -n '__fish_seen_subcommand_from ctl' -x -a '{CONTROLS}'")
    else:
        lines.append(f"complete -c {program} {suffix(CAPTURES)}")
    for o in listed:
        value = f"-x -a {quoted(o.words)}" if o.words else "-x -a '(__fish_complete_directories)'" if o.value == "DIR" else \
            "-r -F" if o.files == "*" else suffix(o.files) if o.files else "-x" if o.value else ""
        form = "-l" if o.name.startswith("--") else "-s" if len(o.bare) == 1 else "-o"
        lines.append(f"complete -c {program} {form} {o.bare} {value} -d {quoted(o.help)}".replace("  ", " "))
    return "\n".join(lines) + "\n"


def completions(folder, program, text):
    listed = options(text)
    for name, shell in ((f"bash/{program}", bash), (f"zsh/_{program}", zsh), (f"fish/{program}.fish", fish)):
        path = pathlib.Path(folder, name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(shell(program, listed))


def main(args):
    if args[0] == "completions":
        folder, program, *command = args[1:]
        completions(folder, pathlib.Path(program).name, run([*command, program], "--help"))
    else:
        *command, option = args
        text = run(command, option)
        sys.stdout.write(manual(text) if option == "--help" else text)


main(sys.argv[1:])
