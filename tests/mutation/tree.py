"""The instrumented tree: the sources with a mutant in place of each condition, and the numbers of the mutants."""

import hashlib
import json
import multiprocessing
import os
import re
import shlex
import shutil
from dataclasses import asdict, dataclass
from pathlib import Path

from conditions import BOUND, Condition, Finder, rewritten

FINDER = (Path(__file__).parent / "conditions.py").read_bytes()
# Warnings are for what people write, not for what is made of it.
QUIET = b"""
target_compile_options(qmio_objects PRIVATE -w)
target_compile_options(qmio_internal INTERFACE -w)
"""
SPARE = 16  # numbers that a file may grow by before others have to be compiled again


@dataclass(frozen=True)
class Mutant:
    number: int
    file: str
    line: int
    function: str
    kind: str
    text: str

    def key(self):
        return self.file, self.function, self.kind, self.text


def find_in(job):
    path, arguments, root = job
    finder = Finder(lambda name: name.startswith(root + "/"))
    finder.walk(path, arguments)
    return {name: [asdict(one) for one in found] for name, found in finder.found.items()}


class Tree:
    def __init__(self, project, build):
        self.project, self.build = Path(project), Path(build)
        self.source, self.copy = self.project / "src", self.build / "instrumented"
        self.memory = self.build / "conditions.json"
        self.files = json.loads(self.memory.read_text()) if self.memory.exists() else {}

    # ---- the copy ----

    def prepare(self):
        """Makes the copy complete, so that CMake can be asked how each source is compiled."""
        wanted = {path.relative_to(self.source) for path in self.source.rglob("*") if path.is_file()}
        if self.copy.exists():
            for path in [path for path in self.copy.rglob("*") if path.is_file()]:
                if path.relative_to(self.copy) not in wanted and path.name != "mutant.h":
                    path.unlink()
        for name in sorted(wanted):
            if name.suffix not in (".h", ".cpp") or not (self.copy / name).exists():
                self.put(name, (self.source / name).read_bytes())
        lists = (self.source / "CMakeLists.txt").read_bytes()
        self.put(Path("CMakeLists.txt"), lists + QUIET)
        self.put(Path("mutant.h"), (Path(__file__).parent / "mutant.h").read_bytes())

    def put(self, name, data):
        path = self.copy / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if not path.exists() or path.read_bytes() != data:
            path.write_bytes(data)

    # ---- finding ----

    def compiled(self):
        """[(source, arguments)] of the sources of the library, as they are compiled."""
        units = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            path = Path(entry["directory"], entry["file"]).resolve()
            if not path.is_relative_to(self.copy.resolve()):
                continue
            words = shlex.split(entry["command"].replace(str(self.copy), str(self.source)))
            taken = [one for one in words if re.match(r"-(I|D|std=)", one)]
            taken += [f"-isystem{words[at + 1]}" for at, one in enumerate(words) if one == "-isystem"]
            units[str(self.source / path.relative_to(self.copy.resolve()))] = taken
        return units

    def is_known(self, path):
        name = str(Path(path).relative_to(self.source))
        return self.files.get(name, {}).get("hash") == self.hash_of(path)

    @staticmethod
    def hash_of(path):
        return hashlib.sha256(FINDER + Path(path).read_bytes()).hexdigest()

    def find(self, jobs):
        units = self.compiled()
        self.search([(path, words) for path, words in units.items() if not self.is_known(path)], jobs)
        headers = [str(path) for path in self.source.rglob("*.h") if "win32" not in path.parts]
        any_words = next(iter(units.values()))
        self.search([(path, ["-xc++", *any_words]) for path in headers if not self.is_known(path)], jobs)
        present = {str(path.relative_to(self.source)) for path in self.source.rglob("*") if path.is_file()}
        self.files = {name: one for name, one in self.files.items() if name in present}
        self.memory.write_text(json.dumps(self.files))

    def search(self, units, jobs):
        work = [(path, words, str(self.source)) for path, words in units]
        with multiprocessing.Pool(jobs) as pool:
            for found in pool.imap_unordered(find_in, work):
                for path, conditions in found.items():
                    if not self.is_known(path):
                        self.learn(path, conditions)

    def learn(self, path, conditions):
        name = str(Path(path).relative_to(self.source))
        old = self.files.get(name, {"first": 0, "room": 0})
        count = sum(2 if one["sign"] else 1 for one in conditions)
        if count > old["room"]:
            old = {"first": self.count(), "room": count + SPARE}
        self.files[name] = {**old, "hash": self.hash_of(path), "conditions": conditions}

    def count(self):
        return max((one["first"] + one["room"] for one in self.files.values()), default=0)

    # ---- rewriting ----

    def instrument(self):
        for name, one in self.files.items():
            source = (self.source / name).read_bytes()
            conditions = [Condition(**each) for each in one["conditions"]]
            if conditions:
                start = f'#include "mutant.h"\n#line 1 "{self.source / name}"\n'.encode()
                source = start + rewritten(source, conditions, one["first"])
            self.put(Path(name), source)

    def mutants(self):
        for name in sorted(self.files):
            number = self.files[name]["first"]
            for each in self.files[name]["conditions"]:
                for kind in Condition(**each).mutants():
                    text = each["text"]
                    yield Mutant(number, f"src/{name}", each["line"], each["function"] or "-", kind, text)
                    number += 1


def reaches(mutant, entered):
    """Whether what a test entered says that the mutant makes a difference to it."""
    return (entered & 2 if mutant.kind == BOUND else entered) != 0


def forget(build):
    shutil.rmtree(Path(build) / "reached", ignore_errors=True)
    for name in ("conditions.json", "tests.json", "results.json"):
        if os.path.exists(Path(build) / name):
            os.remove(Path(build) / name)
