"""The tests as ctest knows them, run one by one in a place of their own."""

import json
import os
import re
import subprocess
import time
from dataclasses import dataclass, field
from pathlib import Path

# Mutants unlink, write and kill: each test has processes, shared memory and /tmp of its own, and can write in the build's
# folder alone. It does not run as process 1, which signals do not end.
ISOLATED = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
PLACE = """
mount -t tmpfs none /dev/shm && mount --bind "$1" "$1" && mount -o remount,bind,ro / || exit 99
case $1 in /tmp/*) ;; *) mount -t tmpfs none /tmp || exit 99 ;; esac
cd "$2" && shift 2 || exit 99
ulimit -c 0 -v 12000000 -f 16000000
"$@"
exit $?
"""

PASSED, FAILED, SKIPPED, TOO_LONG = "passed", "failed", "skipped", "took too long"


@dataclass
class Test:
    name: str
    command: list
    folder: str
    limit: float
    environment: dict = field(default_factory=dict)
    needs: list = field(default_factory=list)
    skip_code: int | None = None
    skip_text: list = field(default_factory=list)

    def program(self):
        return os.path.basename(self.command[0])

    def stamp(self):
        """Changes when the test's own program does."""
        try:
            status = os.stat(self.command[0])
        except OSError:
            return ""
        return f"{status.st_mtime_ns} {status.st_size}"


def read_test(entry):
    properties = {one["name"]: one["value"] for one in entry["properties"]}
    return Test(
        name=entry["name"],
        command=entry["command"],
        folder=properties.get("WORKING_DIRECTORY", "."),
        limit=float(properties.get("TIMEOUT", 600)),
        environment=dict(one.split("=", 1) for one in properties.get("ENVIRONMENT", [])),
        needs=properties.get("FIXTURES_REQUIRED", []) + properties.get("FIXTURES_SETUP", []) + properties.get("RESOURCE_LOCK", []),
        skip_code=properties.get("SKIP_RETURN_CODE"),
        skip_text=properties.get("SKIP_REGULAR_EXPRESSION", []),
    )


class Suite:
    def __init__(self, build, programs):
        self.build = Path(build)
        listed = subprocess.run(["ctest", "--show-only=json-v1"], cwd=build, check=True, capture_output=True).stdout
        entries = [one for one in json.loads(listed)["tests"] if one.get("command")]
        tests = [read_test(one) for one in entries]
        self.tests = {one.name: one for one in tests if set(one.needs) <= {"media"} and one.name != "make_media"}
        if programs:
            self.tests = {name: one for name, one in self.tests.items() if one.program() in programs}
        self.preparation = next((one for one in tests if one.name == "make_media"), None)
        self.prefix = self.find_prefix()

    def find_prefix(self):
        for prefix in (ISOLATED, [ISOLATED[0], "--user", "--map-root-user", *ISOLATED[1:]]):
            words = [*prefix, "sh", "-c", PLACE, "sh", str(self.build)]
            if subprocess.run([*words, "/", "true"], capture_output=True, check=False).returncode == 0:
                return words
        raise SystemExit("mutate: this system gives tests no processes of their own (unshare), and mutants may kill any")

    def run(self, test, variables, limit):
        """(outcome, seconds)"""
        scratch = self.build / "scratch" / str(time.monotonic_ns())
        scratch.mkdir(parents=True)
        environment = {**os.environ, **test.environment, **variables, "TMPDIR": str(scratch)}
        start = time.monotonic()
        try:
            done = subprocess.run([*self.prefix, test.folder, *test.command], env=environment, timeout=limit,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            outcome = self.judge(test, done)
        except subprocess.TimeoutExpired:
            outcome = TOO_LONG
        finally:
            subprocess.run(["rm", "-rf", str(scratch)], check=False)
        return outcome, time.monotonic() - start

    @staticmethod
    def judge(test, done):
        output = done.stdout.decode(errors="replace")
        if done.returncode == test.skip_code or any(re.search(one, output) for one in test.skip_text):
            return SKIPPED
        return PASSED if done.returncode == 0 else FAILED
