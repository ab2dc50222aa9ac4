"""mutate.py [OPTION...] PATH...: turns the conditions of the sources below PATH round, one by one, and tells what no test sees.

A mutant is a condition turned round ("opposite") or a bound moved by one ("bound": < becomes <=, and so on). The tree is built
once with all of them in it, each test runs once to tell which of them it reaches, and then each mutant is at work in the tests
that reach it until one fails. The result is 0 when each mutant that survives, or that no test reaches, is listed with its
reason in accepted.txt.
"""

import argparse
import concurrent.futures
import json
import os
import random
import subprocess
import sys
import threading
import time
from collections import defaultdict
from pathlib import Path

from suite import PASSED, SKIPPED, TOO_LONG, Suite
from tree import Tree, forget, reaches

HERE = Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
BUILD = PROJECT / "build" / "mutate"
CAUGHT, SURVIVED, UNREACHED = "caught", "survived", "not reached"


def arguments():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.split("\n\n")[1])
    parser.add_argument("paths", nargs="+", metavar="PATH", help="file or folder of src/")
    parser.add_argument("--functions", default="", metavar="TEXT,...", help="only functions whose name holds one of these")
    parser.add_argument("--programs", default="", metavar="NAME,...", help="build and run only these programs of tests")
    parser.add_argument("--sample", type=int, metavar="N", help="only N mutants, drawn by a seed that is printed")
    parser.add_argument("--seed", type=int, default=None)
    parser.add_argument("--survivors", action="store_true", help="only those that no test caught in the last run")
    parser.add_argument("--tests", type=int, default=200, metavar="N", help="at most so many tests for a mutant (200)")
    parser.add_argument("--seconds", type=float, default=240, metavar="N", help="at most so long for a mutant (240)")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--fresh", action="store_true", help="forget what former runs have learned")
    return parser.parse_args()


# ---- what is known of the tests ----


class Reach:
    """What each test reaches: build/mutate/tests.json and a file for each in build/mutate/reached."""

    def __init__(self, suite, tree, mutants):
        self.suite, self.tree, self.mutants = suite, tree, mutants
        self.memory = BUILD / "tests.json"
        self.known = json.loads(self.memory.read_text()) if self.memory.exists() else {}
        self.folder = BUILD / "reached"
        self.folder.mkdir(exist_ok=True)

    def stamp(self, test):
        numbers = [(name, one["first"], one["hash"]) for name, one in sorted(self.tree.files.items())]
        return f"{test.stamp()} {self.tree.hash_of(HERE / 'mutant.h')} {hash_text(json.dumps(numbers))}"

    def is_known(self, test):
        entry = self.known.get(test.name, {})
        return entry.get("stamp") == self.stamp(test) and entry["outcome"] in (PASSED, SKIPPED)

    def learn(self, jobs):
        todo = [one for one in self.suite.tests.values() if not self.is_known(one)]
        if not todo:
            return
        print(f"== what {len(todo)} tests reach", flush=True)
        start = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            for done, (test, entry) in enumerate(zip(todo, pool.map(self.ask, todo))):
                self.known[test.name] = entry
                if done % 200 == 199:
                    print(f"   {done + 1} of {len(todo)}, {time.monotonic() - start:.0f} s", flush=True)
                    self.save()
        self.save()

    def ask(self, test):
        name = hash_text(test.name)[:24]
        path = self.folder / name
        path.write_bytes(bytes(self.tree.count()))
        outcome, seconds = self.suite.run(test, {"QMIO_MUTANTS_REACHED": str(path)}, test.limit)
        return {"stamp": self.stamp(test), "outcome": outcome, "seconds": seconds, "file": name}

    def save(self):
        self.memory.write_text(json.dumps(self.known))

    def by_mutant(self):
        """{number: [names of tests]}, cheap and particular ones first, and not all of one program."""
        found = defaultdict(list)
        for name, one in self.known.items():
            if name not in self.suite.tests or one["outcome"] != PASSED:
                continue
            entered = (self.folder / one["file"]).read_bytes()
            reached = len(entered) - entered.count(0)
            for mutant in self.mutants:
                if mutant.number < len(entered) and reaches(mutant, entered[mutant.number]):
                    weight = self.weight(mutant, self.suite.tests[name], entered[mutant.number])
                    found[mutant.number].append((weight * one["seconds"] * (20 + reached), name))
        return {number: self.in_turn(sorted(tests)) for number, tests in found.items()}

    @staticmethod
    def weight(mutant, test, entered):
        """Tests of the same folder come first, and those that go both ways."""
        of_folder = f"tests/{mutant.file.split('/')[1]}" in test.folder
        return (1 if of_folder else 8) * (1 if entered == 3 else 3)

    def in_turn(self, tests):
        places = defaultdict(int)
        ranked = []
        for cost, name in tests:
            program = self.suite.tests[name].program()
            places[program] += 1
            ranked.append((cost * places[program], name))
        return [name for _, name in sorted(ranked)]

    def failed(self):
        return {name: one["outcome"] for name, one in self.known.items() if name in self.suite.tests and one["outcome"] not in (PASSED, SKIPPED)}


def hash_text(text):
    import hashlib

    return hashlib.sha256(text.encode()).hexdigest()


# ---- the mutants at work ----


class Trial:
    def __init__(self, suite, reach, options):
        self.suite, self.reach, self.options = suite, reach, options
        self.tests = reach.by_mutant()
        self.catchers = defaultdict(lambda: defaultdict(int))  # what caught others of the same function goes first
        self.lock = threading.Lock()

    def ordered(self, mutant):
        tests = self.tests.get(mutant.number, [])
        with self.lock:
            caught = dict(self.catchers[mutant.file, mutant.function])
        return sorted(tests, key=lambda name: -caught.get(name, 0))

    def play(self, mutant):
        tests = self.ordered(mutant)
        start, tried = time.monotonic(), 0
        for name in tests[: self.options.tests]:
            if time.monotonic() - start > self.options.seconds:
                break
            tried += 1
            limit = 4 + 6 * self.reach.known[name]["seconds"]
            outcome, _ = self.suite.run(self.suite.tests[name], {"QMIO_MUTANT": str(mutant.number)}, limit)
            if outcome not in (PASSED, SKIPPED):
                with self.lock:
                    self.catchers[mutant.file, mutant.function][name] += outcome != TOO_LONG
                return {"outcome": CAUGHT, "by": name + (" (no end)" if outcome == TOO_LONG else "")}
        if not tests:
            return {"outcome": UNREACHED, "by": ""}
        return {"outcome": SURVIVED, "by": f"{tried} of {len(tests)} tests that reach it"}


# ---- what is accepted ----


def read_accepted(path):
    """{key: reason} of blocks of three lines: "FILE FUNCTION KIND", the condition, the reason."""
    accepted = {}
    lines = [line.rstrip() for line in path.read_text().splitlines() if not line.startswith("#")]
    for block in "\n".join(lines).split("\n\n"):
        words = [line.strip() for line in block.strip().split("\n", 2)]
        if words == [""]:
            continue
        if len(words) != 3 or len(words[0].split()) < 3:
            raise SystemExit(f"mutate: {path.name}: not three lines: {block.strip()}")
        head = words[0].split()
        accepted[head[0], " ".join(head[1:-1]), head[-1], words[1]] = " ".join(words[2].split())
    return accepted


def describe(mutant, result, accepted):
    state = result["outcome"] + (f" by {result['by']}" if result["outcome"] == CAUGHT else "")
    if result["outcome"] == SURVIVED:
        state += f" {result['by']}"
    reason = accepted.get(mutant.key())
    if reason and result["outcome"] != CAUGHT:
        state += f"; listed: {reason}"
    return f"{mutant.file}:{mutant.line}\t{mutant.function}\t{mutant.kind}\t{mutant.text}\t{state}"


def report(mutants, results, accepted):
    """The table; the number of those that are neither caught nor listed."""
    rows = [describe(one, results[result_key(one)], accepted) for one in mutants]
    (BUILD / "report.txt").write_text("\n".join(rows) + "\n")
    open_ones, counts, listed = [], defaultdict(int), 0
    for mutant, row in zip(mutants, rows):
        outcome = results[result_key(mutant)]["outcome"]
        counts[outcome] += 1
        is_listed = outcome != CAUGHT and mutant.key() in accepted
        listed += is_listed
        if outcome != CAUGHT and not is_listed:
            open_ones.append(row)
    print("\n".join(open_ones))
    held = {one.key() for one in mutants if results[result_key(one)]["outcome"] != CAUGHT}
    for key in sorted(set(accepted) & ({one.key() for one in mutants} - held)):
        print("listed, but caught by now: " + " ".join(key))
    print(f"{len(mutants)} mutants: {counts[CAUGHT]} caught, {listed} listed, {len(open_ones)} open; all in {BUILD / 'report.txt'}")
    return len(open_ones)


def result_key(mutant):
    return f"{mutant.number} {' '.join(mutant.key())}"


# ---- all of it ----


def build(options):
    tree = Tree(PROJECT, BUILD)
    tree.prepare()
    print("== configure", flush=True)
    subprocess.run(["cmake", "--preset", "mutate", "-Wno-dev"], cwd=PROJECT, check=True, stdout=subprocess.DEVNULL)
    print("== find the conditions", flush=True)
    tree.find(options.jobs)
    tree.instrument()
    print("== build", flush=True)
    command = ["cmake", "--build", "--preset", "mutate", "-j", str(options.jobs)]
    if options.programs:
        command += ["--target", "reference_frames", *options.programs.split(",")]
    subprocess.run(command, cwd=PROJECT, check=True)
    return tree


def chosen(mutants, options, results):
    wanted = [str((Path(os.getcwd()) / path).resolve().relative_to(PROJECT)) for path in options.paths]
    for path in wanted:
        if not any(one.file == path or one.file.startswith(path + "/") for one in mutants):
            raise SystemExit(f"mutate: there is no condition of the Linux library in {path}")
    taken = [one for one in mutants if any(one.file == path or one.file.startswith(path + "/") for path in wanted)]
    if options.functions:
        parts = options.functions.split(",")
        taken = [one for one in taken if any(part in one.function for part in parts)]
    if options.survivors:
        taken = [one for one in taken if results.get(result_key(one), {}).get("outcome") != CAUGHT]
    if options.sample and options.sample < len(taken):
        seed = options.seed if options.seed is not None else random.SystemRandom().randrange(10**6)
        print(f"seed {seed}")
        taken = sorted(random.Random(seed).sample(taken, options.sample), key=lambda one: one.number)
    return taken


def play_all(mutants, trial, results, jobs, memory):
    print(f"== {len(mutants)} mutants", flush=True)
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        playing = {pool.submit(trial.play, one): one for one in mutants}
        for each in concurrent.futures.as_completed(playing):
            mutant, result = playing[each], each.result()
            results[result_key(mutant)] = result
            if result["outcome"] != CAUGHT:
                print(f"   {mutant.file}:{mutant.line} {mutant.kind} {mutant.text}: {result['outcome']} {result['by']}", flush=True)
            memory.write_text(json.dumps(results))
    memory.write_text(json.dumps(results))


def main():
    options = arguments()
    if options.fresh:
        forget(BUILD)
    BUILD.mkdir(parents=True, exist_ok=True)
    tree = build(options)
    mutants = list(tree.mutants())
    memory = BUILD / "results.json"
    results = json.loads(memory.read_text()) if memory.exists() else {}
    taken = chosen(mutants, options, results)
    suite = Suite(BUILD, options.programs.split(",") if options.programs else [])
    if suite.preparation:
        subprocess.run(suite.preparation.command, cwd=suite.preparation.folder, check=True)
    reach = Reach(suite, tree, mutants)
    reach.learn(options.jobs)
    for name, outcome in sorted(reach.failed().items()):
        print(f"left out, {outcome} without any mutant: {name}")
    play_all(taken, Trial(suite, reach, options), results, options.jobs, memory)
    return 1 if report(taken, results, read_accepted(HERE / "accepted.txt")) else 0


if __name__ == "__main__":
    sys.exit(main())
