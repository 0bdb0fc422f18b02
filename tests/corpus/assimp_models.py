#!/usr/bin/env python3
"""Takes every file of a folder of 3D models through q7-send and q7-inspect.

What Assimp reads must become a valid stream with as many triangles as Assimp counts, and a list of
materials that is well-formed XML. What Assimp refuses must give one line on standard error, exit
status 1 and no file. No process may die by a signal or take longer than the time limit.
"""

import argparse
import collections
import concurrent.futures
import json
import pathlib
import resource
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

SKIPPED = 77

MEMORY_LIMIT = 4 << 30
NEEDS_MEMORY_LIMIT = {
    "OutOfMemory.off": "its header announces 16 GB, which Assimp tries to fill when it can",
}


class Fault(Exception):
    """What is wrong with the way in which one file was treated."""


Outcome = collections.namedtuple("Outcome", "kind triangles instances bytes")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--send", required=True, help="the program q7-send")
    parser.add_argument("--inspect", required=True, help="the program q7-inspect")
    parser.add_argument("--count", required=True, help="the program count_triangles")
    parser.add_argument("--models", required=True, type=pathlib.Path, help="the folder of models")
    parser.add_argument("--jobs", type=int, default=2, help="files at the same time")
    parser.add_argument("--limit", type=float, default=60, help="seconds for one process")
    parser.add_argument(
        "--sanitized",
        action="store_true",
        help="the programs run under sanitizers, which do not bear a memory limit",
    )
    return parser.parse_args()


def run(limit, *command):
    words = [str(word) for word in command]
    name = pathlib.Path(words[0]).name
    try:
        return subprocess.run(words, capture_output=True, timeout=limit)
    except subprocess.TimeoutExpired:
        raise Fault(f"{name} ran for more than {limit:g} seconds") from None


def survived(result):
    """The result, unless the process died by a signal."""
    if result.returncode < 0:
        name = pathlib.Path(result.args[0]).name
        raise Fault(f"{name} died by signal {-result.returncode}: {text(result.stderr)}")
    return result


def text(output):
    return output.decode("utf-8", "backslashreplace").strip()


def count_triangles(arguments, model):
    """The count, or None when Assimp refuses the file; and whether Assimp crashes on it."""
    result = run(arguments.limit, arguments.count, model)
    return int(result.stdout) if result.returncode == 0 else None, result.returncode < 0


def check_refusal(model, result, folder):
    if result.returncode != 1:
        raise Fault(f"Assimp refuses it, but q7-send exits with {result.returncode}")
    lines = text(result.stderr).splitlines()
    if len(lines) != 1 or not lines[0].startswith(f"q7-send: {model}: "):
        raise Fault(f"not one error line that names the file: {lines}")
    left = [path.name for path in folder.iterdir()]
    if left:
        raise Fault(f"refused, but these files are there: {left}")


def check_stream(arguments, stream, expected):
    verdict = survived(run(arguments.limit, arguments.inspect, "--validate", stream))
    if verdict.returncode != 0:
        raise Fault(f"the stream is not valid: {text(verdict.stderr)} {text(verdict.stdout)}")
    shown = survived(run(arguments.limit, arguments.inspect, "--json", stream))
    if shown.returncode != 0:
        raise Fault(f"the stream cannot be shown: {text(shown.stderr)}")
    content = json.loads(shown.stdout)
    if content["placedTriangles"] != expected:
        raise Fault(f"{content['placedTriangles']} triangles, but Assimp counts {expected}")
    return content


def check_materials(path, content):
    try:
        root = xml.etree.ElementTree.parse(path).getroot()
    except xml.etree.ElementTree.ParseError as error:
        raise Fault(f"the list of materials is not well-formed: {error}") from None
    listed = [element.findtext("id") for element in root]
    streamed = [material["name"] for material in content["materials"]]
    if listed != streamed:
        raise Fault(f"materials {listed} in the list, but {streamed} in the stream")


def take_through(arguments, model):
    expected, crashed = count_triangles(arguments, model)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        stream, materials = folder / "out.q7mesh", folder / "out.xml"
        sent = survived(
            run(arguments.limit, arguments.send, model, "--stream", stream, "--materials", materials)
        )
        if expected is None:
            check_refusal(model, sent, folder)
            return Outcome("crashed" if crashed else "refused", 0, 0, 0)
        if sent.returncode != 0 or sent.stderr:
            raise Fault(f"Assimp reads it, but q7-send says: {text(sent.stderr)}")
        content = check_stream(arguments, stream, expected)
        check_materials(materials, content)
        left = {path.name for path in folder.iterdir()} - {stream.name, materials.name}
        if left:
            raise Fault(f"these files were left behind: {sorted(left)}")
        return Outcome("sent", expected, len(content["instances"]), content["size"])


def limit_memory():
    """For the processes started from here on."""
    hard = resource.getrlimit(resource.RLIMIT_AS)[1]
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, hard))


def without_memory_eaters(models):
    for model in models:
        reason = NEEDS_MEMORY_LIMIT.get(model.name)
        if reason is not None:
            print(f"{model} is left out: {reason}")
    return [model for model in models if model.name not in NEEDS_MEMORY_LIMIT]


def outcome_or_fault(arguments, model):
    try:
        return take_through(arguments, model)
    except Fault as fault:
        return fault


def print_totals(outcomes):
    kinds = collections.Counter(outcome.kind for outcome in outcomes)
    sent = [outcome for outcome in outcomes if outcome.kind == "sent"]
    print(
        f"{kinds['sent']} files sent: {sum(o.triangles for o in sent)} triangles, "
        f"{sum(o.instances for o in sent)} instances, {sum(o.bytes for o in sent)} bytes of streams; "
        f"{sum(o.triangles == 0 for o in sent)} of them without triangles"
    )
    print(f"{kinds['refused']} files refused by Assimp, {kinds['crashed']} that crash it")


def main():
    arguments = parse_arguments()
    models = sorted(path for path in arguments.models.rglob("*") if path.is_file())
    if not models:
        print(f"skipped: no models in {arguments.models}")
        return SKIPPED
    if arguments.sanitized:
        models = without_memory_eaters(models)
    else:
        limit_memory()
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        results = list(pool.map(lambda model: outcome_or_fault(arguments, model), models))
    faults = [(m, r) for m, r in zip(models, results) if isinstance(r, Fault)]
    for model, fault in faults:
        print(f"{model}: {fault}", file=sys.stderr)
    outcomes = [result for result in results if isinstance(result, Outcome)]
    print_totals(outcomes)
    if not any(outcome.kind == "sent" for outcome in outcomes):
        print("nothing was sent", file=sys.stderr)
        return 1
    print(f"{len(models)} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
