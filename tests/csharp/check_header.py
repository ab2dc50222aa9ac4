"""check_header.py QMIO_H QMIO_CS: every call that the C# file declares is one of the header, with the same parameters."""

import re
import sys

# What a parameter or result of C may be in C#.
ALLOWED = {
    "int": {"int"},
    "int64_t": {"long"},
    "long long": {"long"},
    "uint32_t": {"uint"},
    "MediaHandle*": {"MediaHandle", "IntPtr"},
    "char*": {"byte[]"},
    "const char*": {"string"},
    "void*": {"byte[]", "IntPtr"},
    "uint8_t*": {"byte[]", "IntPtr"},
    "const uint8_t*": {"byte[]", "IntPtr"},
    "imio_picture*": {"ref Picture"},
    "AVPacket*": {"IntPtr"},
}
TYPES = {"int32_t": "int", "uint32_t": "uint", "uint64_t": "ulong", "uint8_t*": "IntPtr"}


def parameters(text):
    """[(type, name)] of a list of parameters, in either language."""
    text = re.sub(r"\[[A-Z][^\]]*\]\s*", "", text)
    if text.strip() in ("", "void"):
        return []
    found = (re.fullmatch(r"(.*?[\s*\]])(\w+)", one.strip(), re.S) for one in text.split(","))
    return [one.groups() if one else ("an array", "") for one in found]


def signatures(text, pattern):
    return {
        name: (" ".join(result.split()), [(" ".join(kind.split()), word) for kind, word in parameters(rest)])
        for result, name, rest in re.findall(pattern, text)
    }


def without_comments(text):
    return re.sub(r"/\*.*?\*/|//[^\n]*", "", text, flags=re.S)


def fields_of(header, sharp):
    """The fields of the picture record in both, arrays taken apart."""
    body = re.search(r"struct imio_picture \{(.*?)\}", header, re.S).group(1)
    wanted = []
    for kind, name, count in re.findall(r"(\w+\*?) (\w+)(?:\[(\d+)\])?;", body):
        wanted += [TYPES[kind]] * int(count or 1)
    body = re.search(r"struct Picture\s*\{(.*?)\}", sharp, re.S).group(1)
    given = []
    for kind, names in re.findall(r"public (\w+) ([^;]+);", body):
        given += [kind] * len(names.split(","))
    return wanted, given


def main():
    header, sharp = (without_comments(open(name, encoding="utf-8").read()) for name in sys.argv[1:])
    declared = signatures(header, r"QMIO_API ([\w\s*]+?)\b((?:qmio|imio)_\w+)\(([^;]*?)\);")
    used = signatures(sharp, r"static extern (\w+) (\w+)\((.*?)\);")
    wrong = []
    for name, (result, given) in used.items():
        if name not in declared:
            wrong.append("%s is no call of the header" % name)
            continue
        c_result, c_parameters = declared[name]
        pairs = [(c_result, result, "the result")] + [
            (c_kind, kind, word) for (c_kind, _), (kind, word) in zip(c_parameters, given)
        ]
        if len(c_parameters) != len(given):
            wrong.append("%s has %d parameters, not %d" % (name, len(c_parameters), len(given)))
        wrong += ["%s: %s is %s, not %s" % (name, what, c, kind) for c, kind, what in pairs if kind not in ALLOWED.get(c, ())]
        wrong += ["%s: %s is called %s" % (name, b, a) for (_, a), (_, b) in zip(c_parameters, given) if a != b]
    if len(used) < 30:
        wrong.append("only %d calls were found" % len(used))
    wanted, given = fields_of(header, sharp)
    if wanted != given:
        wrong.append("the record of a picture differs: %s, %s" % (wanted, given))
    print("\n".join(wrong) or "%d calls are as the header declares them" % len(used))
    return 1 if wrong else 0


sys.exit(main())
