"""Runs every command that a document shows, and compares what it prints with what the document says.

    commands.py BUILD_FOLDER [DOCUMENT...]

A document's commands run in their order, from the top of a copy of the repository in which
build/linux is BUILD_FOLDER. A block of sh holds commands, one a line; a block of console holds lines
of "$ COMMAND" with their output behind them, in which "..." stands for anything.

- q7-standin runs until the end of its document, or until the next one is started.
- .../NAME is the file NAME of the package assimp-testmodels.
- What ELSEWHERE names is not run here.

Of commands within the text, `q7-send MODEL --live` for one, the options must be known to the program.
"""

import argparse
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, field
from functools import cache
from pathlib import Path

from markdown import TOP, Block, Document, documents, tracked

# Commands that are not run here: an expression for the whole command, why, and the tests that run it
# instead, if any do.
ELSEWHERE = [
    (
        r"scripts/test\.sh( --\w+)?",
        "it is the test run itself",
        ["script_test", "script_tally"],
    ),
    (
        r"scripts/setup\.sh( --\w+)?",
        "it installs packages; the test run begins with it",
        ["script_setup"],
    ),
    (
        r"scripts/bench\.sh( .*)?",
        "it lasts for an hour; each benchmark runs with tiny inputs in the test run",
        ["script_bench", "script_report"],
    ),
    (
        r"python3 (scripts/checks|tests/docs)/\w+\.py.*",
        "each is a test of its own",
        ["check_layers", "check_format", "check_tidy", "docs_links", "docs_blocks"],
    ),
    (
        r"Q7_WRITE_GOLDEN=1 build/linux/bin/q7plugin_tests",
        "it would write into the repository; without the variable the files are compared",
        ["q7plugin_tests"],
    ),
    (
        r"cmake --preset [\w-]+( && cmake --build --preset [\w-]+.*)?|cmake --build --preset [\w-]+.*",
        "the test run configures and builds its presets with these",
        [],
    ),
    (
        r"ctest --preset [\w-]+( -[CR] \w+)*",
        "the test run runs the tests of its presets with it",
        [],
    ),
    (
        r"cpack --config build/(linux|windows)/CPackConfig\.cmake",
        "it packs the build itself; a test packs it elsewhere",
        ["packages_install"],
    ),
    (
        r"python3 -m venv --system-site-packages build/venv|build/venv/bin/pip install bindings/python",
        "it changes the machine; a test installs into a folder of its own",
        ["python_bindings"],
    ),
    (
        r"LD_PRELOAD=.*",
        "it needs the build of linux-asan, in which process_freed_transform runs it",
        [],
    ),
    (
        r"blender -b .*measure\.py.*",
        "it needs Blender and lasts for minutes; scripts/test.sh --host runs the add-on in it",
        [],
    ),
]

# Programs whose output holds lines that look like commands: they have the rest of their block.
SHOWS_COMMANDS = {"scripts/demo.sh"}
# For a script that installs and builds first: there is nothing to install, and all is built.
DONE_ALREADY = {"scripts/demo.sh": ("scripts/setup.sh", "bin/cmake")}

# Commands that change nothing, and so can look again for what q7-standin has received.
LOOKS = re.compile(r"(cat|head|ls|(\S*/)?q7-inspect) ")

TIME_LIMIT = 60
MASKS = [
    (r"\d+(\\\.\d+)?\\ ([kMG]?B/s|ms|s)(?![a-z])", r"[\\d.]+\\ (?:[kMG]?B/s|ms|s)"),
    (r"^(\\ )+\d+\\\.\d{3}\\ \\ ", r" +\\d+\\.\\d{3}  "),
    (r"[0-9A-F]{32}", r"[0-9A-F]{32}"),
]


@dataclass
class Command:
    line: int
    text: str
    output: list[str] | None = None  # None where the document does not show it


@dataclass
class Result:
    faults: list[str] = field(default_factory=list)
    run: int = 0
    elsewhere: int = 0


def commands_of(block: Block) -> list[Command]:
    if block.language == "sh":
        return joined([(n, line) for n, line in numbered(block) if not line.startswith("#")])
    found: list[Command] = []
    for number, line in numbered(block):
        keeps_all = found and found[-1].text in SHOWS_COMMANDS
        if line.startswith("$ ") and not keeps_all:
            found.append(Command(number, line[2:], []))
        elif found and found[-1].output == [] and found[-1].text.endswith("\\"):
            found[-1].text = found[-1].text[:-1] + line.strip()
        elif found:
            found[-1].output.append(line)
    return found


def numbered(block: Block) -> list[tuple[int, str]]:
    return list(enumerate(block.lines, block.line + 1))


def joined(lines: list[tuple[int, str]]) -> list[Command]:
    """Commands of lines, of which those that end with a backslash go on."""
    found: list[Command] = []
    goes_on = False
    for number, line in lines:
        if not line.strip():
            continue
        if goes_on:
            found[-1].text += line.strip()
        else:
            found.append(Command(number, line.strip()))
        goes_on = line.endswith("\\")
        found[-1].text = found[-1].text.removesuffix("\\")
    return found


def expression(lines: list[str]) -> str:
    """What output must match, line ends included."""
    text = ""
    for line in lines:
        if line.strip() == "...":
            text += r"(?:.*\n)*?"
            continue
        escaped = re.escape(line.rstrip()).replace(r"\.\.\.", ".*?")
        for pattern, replacement in MASKS:
            escaped = re.sub(pattern, replacement, escaped)
        text += escaped + r" *\n"
    return text


def output_fault(expected: list[str], output: str) -> str | None:
    lines = list(expected)
    while lines and not lines[-1].strip():
        lines.pop()
    if re.fullmatch(expression(lines), output.rstrip("\n") + "\n" if output.strip() else ""):
        return None
    said = "\n".join("    | " + line for line in output.splitlines())
    return f"prints something else than the document shows:\n{said}"


def model_file(name: str) -> str:
    listing = subprocess.run(
        ["dpkg-query", "--listfiles", "assimp-testmodels"], capture_output=True, text=True
    )
    for file in listing.stdout.splitlines():
        if file.endswith("/" + name):
            return file
    raise ValueError(f"assimp-testmodels has no {name}")


class Standin:
    """A q7-standin in the background."""

    def __init__(self, command: Command, text: str, top: Path, environment: dict) -> None:
        self.command = command
        self.output = tempfile.TemporaryFile("w+")
        ready = top / "standin-is-ready"
        ready.unlink(missing_ok=True)
        if "--ready-file" not in text:
            text += f" --ready-file {shlex.quote(str(ready))}"
        else:
            ready = top / shlex.split(text.split("--ready-file", 1)[1])[0]
        if "--exit-after" not in text:
            text += f" --exit-after {5 * TIME_LIMIT * 1000}"  # should nobody end it
        self.process = subprocess.Popen(
            shlex.split(text),
            cwd=top,
            env=environment,
            stdin=subprocess.DEVNULL,
            stdout=self.output,
            stderr=subprocess.STDOUT,
        )
        end = time.monotonic() + TIME_LIMIT
        while not (ready.exists() and ready.stat().st_size) and self.process.poll() is None:
            if time.monotonic() > end:
                self.process.kill()
                raise ValueError("q7-standin does not come up")
            time.sleep(0.05)

    def end(self) -> str | None:
        """Ends it; what is wrong with what it said, if anything is."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
        try:
            code = self.process.wait(TIME_LIMIT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = self.process.wait()
        self.output.seek(0)
        said = self.output.read()
        if code != 0:
            return f"exit code {code}:\n{said}"
        if self.command.output is None:
            return None
        return output_fault(self.command.output, said)


class Runner:
    """Runs the commands of one document in a copy of the repository."""

    def __init__(self, document: Document, build: Path, folder: Path, result: Result) -> None:
        self.document = document
        self.top = folder / "copy"
        self.programs = folder / "bin"
        self.result = result
        self.standin: Standin | None = None
        self.environment = dict(os.environ, HOME=str(folder / "home"), LC_ALL="C.UTF-8")
        self.environment["XDG_DATA_HOME"] = str(folder / "home" / "data")
        self.environment["PATH"] = f"{self.programs}:{os.environ['PATH']}"
        self.programs.mkdir()
        (folder / "home").mkdir()
        for name in tracked():
            (self.top / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(TOP / name, self.top / name)
        (self.top / "build").mkdir()
        (self.top / "build" / "linux").symlink_to(build)

    def fault(self, command: Command, text: str) -> None:
        self.result.faults.append(f"{self.document.name}:{command.line}: {command.text}\n  {text}")

    def run_all(self) -> None:
        for block in self.document.blocks:
            if block.language not in ("sh", "console"):
                continue
            for command in commands_of(block):
                try:
                    self.run(command)
                except (OSError, ValueError, subprocess.TimeoutExpired) as error:
                    self.fault(command, str(error))
        self.end_standin()

    def replace_programs(self, text: str) -> None:
        """Puts what the command does not need to do out of its way."""
        for file in self.programs.iterdir():
            file.unlink()
        for name in DONE_ALREADY.get(text, ()):
            stub = (self.programs.parent if name.startswith("bin/") else self.top) / name
            stub.write_text("#!/bin/sh\n")
            stub.chmod(0o755)

    def end_standin(self) -> None:
        standin, self.standin = self.standin, None
        if standin and (fault := standin.end()):
            self.fault(standin.command, fault)

    def run(self, command: Command) -> None:
        if any(re.fullmatch(pattern, command.text) for pattern, _, _ in ELSEWHERE):
            self.result.elsewhere += 1
            return
        self.result.run += 1
        text = re.sub(r"(?<=\s)\.\.\./(\S+)", lambda match: model_file(match[1]), command.text)
        if re.match(r"(\S*/)?q7-standin( |$)", text) and "--help" not in text:
            self.end_standin()
            self.standin = Standin(command, text, self.top, self.environment)
            return
        self.replace_programs(text)
        fault = self.fault_of(command, text)
        # What has been sent may still be on its way when its sender has ended.
        end = time.monotonic() + TIME_LIMIT
        while fault and self.standin and LOOKS.match(text) and time.monotonic() < end:
            time.sleep(0.1)
            fault = self.fault_of(command, text)
        if fault:
            self.fault(command, fault)

    def fault_of(self, command: Command, text: str) -> str | None:
        """Runs the command; what is wrong with what came of it, if anything is."""
        done = subprocess.run(
            ["bash", "-o", "pipefail", "-c", text],
            cwd=self.top,
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            errors="replace",
            timeout=TIME_LIMIT,
        )
        if done.returncode != 0:
            return f"exit code {done.returncode}:\n{done.stdout}"
        return None if command.output is None else output_fault(command.output, done.stdout)


def option_faults(document: Document, build: Path) -> list[str]:
    """Options in `code` of the text that the program or script does not have."""
    found = []
    for number, line in document.prose:
        for code in re.findall(r"`([^`]+)`", line):
            program, _, arguments = code.partition(" ")
            known = help_of(program, build)
            for option in re.findall(r"(?<![\w-])--[a-z][a-z-]*", arguments):
                if known is not None and not re.search(rf"(?<![\w-]){option}(?![\w-])", known):
                    found.append(f"{document.name}:{number}: {code}: there is no {option}")
    return found


@cache
def help_of(program: str, build: Path) -> str | None:
    """What tells the options of a tool or a script; nothing for other programs."""
    name = program.rsplit("/", 1)[-1]
    if name in ("q7-inspect", "q7-send", "q7-standin"):
        command = [build / "bin" / name, "--help"]
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout
    if program.startswith("scripts/") and (TOP / program).is_file():
        return (TOP / program).read_text(encoding="utf-8")
    return None


def elsewhere_faults(texts: list[str], build: Path) -> list[str]:
    """Rows of ELSEWHERE that name no command of any document, or a test that does not exist."""
    listing = subprocess.run(
        ["ctest", "--test-dir", build, "--show-only"], capture_output=True, text=True
    ).stdout
    tests = set(re.findall(r"Test +#\d+: (\S+)", listing))
    found = []
    for pattern, _, named in ELSEWHERE:
        if not any(re.fullmatch(pattern, text) for text in texts):
            found.append(f"ELSEWHERE: no document has a command of the form {pattern}")
        found += [f"ELSEWHERE: {pattern}: no test {name}" for name in named if name not in tests]
    return found


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    parser.add_argument("documents", nargs="*")
    options = parser.parse_args()
    result = Result()
    texts = []
    for document in documents():
        shown = [
            command.text
            for block in document.blocks
            if block.language in ("sh", "console")
            for command in commands_of(block)
        ]
        texts += shown
        result.faults += option_faults(document, options.build)
        if not shown or (options.documents and document.name not in options.documents):
            continue
        with tempfile.TemporaryDirectory(prefix="q7-docs-") as folder:
            Runner(document, options.build.resolve(), Path(folder), result).run_all()
        print(f"{document.name}: {len(shown)} commands")
    if not options.documents:
        result.faults += elsewhere_faults(texts, options.build)
    print("\n".join(result.faults))
    print(f"{result.run} commands run, {result.elsewhere} run elsewhere, {len(result.faults)} faults")
    return 1 if result.faults or not result.run else 0


if __name__ == "__main__":
    sys.exit(main())
