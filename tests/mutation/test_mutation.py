"""test_mutation.py Rewriting|Finding|Listing: what ./dev mutate makes of a source."""

import importlib.util
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from conditions import Condition, Finder, rewritten
from mutate import read_accepted

HERE = Path(__file__).resolve().parent

SOURCE = b"""
#include <string>
#include <string_view>
#include <tuple>
#define IS_EVEN(x) ((x) % 2 == 0)
#define LESSER(a, b) ((a) < (b) ? (a) : (b))
struct Box {
    int* held;
    bool is_full() const { return held != nullptr; }
};
template <bool kDeep>
int count(int from, int to, const Box& box) {
    static_assert(sizeof(int) == 4);
    constexpr bool kFew = sizeof(int) < 8;
    int sum = kFew;
    const std::string word = "a";
    if (word == std::string_view("b") || std::tuple(1, from) > std::tuple(1, to))
        return 0;
    for (int at = from; at < to; ++at)
        sum += !IS_EVEN(at) && !(box.is_full() || at >= 7) ? LESSER(at, 3) : 0;
    while (sum > 100)
        sum -= 7;
    if constexpr (kDeep)
        sum = -sum;
    if (int* held = box.held)
        sum += *held;
    if (const int half = sum / 2; half)
        return half;
    do
        ++sum;
    while (sum <= 3);
    return sum;
}
"""
MAIN = b"""
#include <cstdio>
int main() {
    int one = 1;
    std::printf("%d %d %d\\n", count<true>(0, 9, Box{}), count<false>(0, 5, Box{}), count<false>(2, 5, Box{&one}));
}
"""


def numbered(conditions):
    numbers, number = {}, 0
    for one in conditions:
        for kind in one.mutants():
            numbers[kind, one.text] = number
            number += 1
    return numbers


class Rewriting(unittest.TestCase):
    def test_nested_conditions_and_bounds_stay_in_their_places(self):
        source = b"return a < b && !c;"
        found = [Condition("f", 7, 12, 1, "a < b", "value", (9, "<")), Condition("f", 17, 18, 1, "c")]
        wanted = b"return ::qmio_mutants::is(4, static_cast<bool>(::qmio_mutants::less(5, a , b))) && !::qmio_mutants::is(6, static_cast<bool>(c));"
        self.assertEqual(rewritten(source, found, 4), wanted)

    def test_a_variable_is_tested_behind_its_declaration(self):
        found = [Condition("f", 4, 16, 1, "p", "variable")]
        self.assertEqual(rewritten(b"if (auto p = f())", found, 3), b"if (auto p = f(); ::qmio_mutants::is(3, static_cast<bool>(p)))")


class Finding(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.path = Path(self.folder.name, "source.cpp")
        self.path.write_bytes(SOURCE)
        finder = Finder(lambda name: name == str(self.path))
        finder.walk(str(self.path), ["-std=c++20"])
        self.found = finder.found[str(self.path)]

    def tearDown(self):
        self.folder.cleanup()

    def test_every_condition_is_found_once(self):
        swapped = ['word == std::string_view("b")', "std::tuple(1, from) > std::tuple(1, to)"]
        wanted = ["held != nullptr", *swapped, "at < to", "IS_EVEN(at)", "box.is_full()", "at >= 7", "sum > 100", "held", "half", "sum <= 3"]
        self.assertEqual([one.text for one in self.found], wanted)
        self.assertEqual([one.text for one in self.found if one.sign], ["at < to", "at >= 7", "sum > 100", "sum <= 3"])

    def test_each_mutant_changes_what_is_computed(self):
        program = Path(self.folder.name, "program")
        made = Path(self.folder.name, "made.cpp")
        made.write_bytes(b'#include "mutant.h"\n' + rewritten(SOURCE, self.found, 0) + MAIN)
        subprocess.run(["c++", "-std=c++20", f"-I{HERE}", str(made), "-o", str(program)], check=True)
        numbers = numbered(self.found)
        usual = self.output(program, 999)
        without = subprocess.run(["c++", "-std=c++20", "-xc++", "-", "-o", str(program) + "0"], input=SOURCE + MAIN, check=True)
        self.assertEqual(without.returncode, 0)
        self.assertEqual(usual, subprocess.run([str(program) + "0"], capture_output=True, check=True).stdout)
        for mutant in (("bound", "at < to"), ("opposite", "IS_EVEN(at)"), ("opposite", "box.is_full()"), ("bound", "at >= 7")):
            self.assertNotEqual(self.output(program, numbers[mutant]), usual, mutant)

    @staticmethod
    def output(program, number):
        environment = {"QMIO_MUTANT": str(number)}
        return subprocess.run([str(program)], env=environment, capture_output=True, check=False, timeout=20).stdout


class Listing(unittest.TestCase):
    def test_the_list_of_the_accepted_can_be_read(self):
        for key, reason in read_accepted(HERE / "accepted.txt").items():
            self.assertTrue((HERE.parent.parent / key[0]).is_file(), key[0])
            self.assertIn(key[2], ("opposite", "bound"))
            self.assertTrue(reason)


if __name__ == "__main__":
    if "Finding" in sys.argv and importlib.util.find_spec("clang") is None:
        sys.exit(77)
    unittest.main()
