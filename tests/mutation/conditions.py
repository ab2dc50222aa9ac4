"""The conditions of C++ sources, found by libclang, and the sources with a mutant in place of each."""

from dataclasses import dataclass

OPPOSITE = "opposite"
BOUND = "bound"
BOUNDS = {"<": "less", "<=": "less_equal", ">": "greater", ">=": "greater_equal"}
COMPARISONS = {"==", "!=", *BOUNDS}


@dataclass
class Condition:
    """Bytes `start` to `end` of a file; `sign` is where a bound's operator stands, with its text."""

    function: str
    start: int
    end: int
    line: int
    text: str
    kind: str = "value"  # "variable": one that the condition declares, named by `text`
    sign: tuple | None = None

    def mutants(self):
        return [OPPOSITE, BOUND] if self.sign else [OPPOSITE]


def rewritten(source, conditions, first):
    """The bytes of `source` with its conditions numbered from `first`, an opposite before the bound of the same."""
    before, after, replaced = {}, {}, {}
    number = first
    numbered = []
    for one in conditions:
        numbered.append((one, number))
        number += len(one.mutants())
    for one, number in sorted(numbered, key=lambda pair: (pair[0].start, -pair[0].end)):
        if one.kind != "variable":
            bound = f"::qmio_mutants::{BOUNDS[one.sign[1]]}({number + 1}, " if one.sign else ""
            before.setdefault(one.start, []).append(f"::qmio_mutants::is({number}, static_cast<bool>({bound}")
        if one.sign:
            replaced[one.sign[0]] = (len(one.sign[1]), ",")
    for one, number in sorted(numbered, key=lambda pair: (pair[0].end, -pair[0].start)):
        closing = "))" + ")" * bool(one.sign)
        if one.kind == "variable":
            closing = f"; ::qmio_mutants::is({number}, static_cast<bool>({one.text}))"
        after.setdefault(one.end, []).append(closing)
    pieces, at = [], 0
    for place in sorted({*before, *after, *replaced}):
        pieces.append(source[at:place])
        at = place
        pieces += [text.encode() for text in after.get(place, []) + before.get(place, [])]
        if place in replaced:
            length, text = replaced[place]
            pieces.append(text.encode())
            at = place + length
    return b"".join([*pieces, source[at:]])


class Finder:
    """Walks translation units; `found` has the conditions of each file that `is_wanted` says yes to."""

    def __init__(self, is_wanted):
        import clang.cindex

        self.clang = clang.cindex
        self.kinds = clang.cindex.CursorKind
        self.is_wanted = is_wanted
        self.index = clang.cindex.Index.create()
        self.found = {}
        self.functions = {
            self.kinds.FUNCTION_DECL,
            self.kinds.CXX_METHOD,
            self.kinds.CONSTRUCTOR,
            self.kinds.DESTRUCTOR,
            self.kinds.CONVERSION_FUNCTION,
            self.kinds.FUNCTION_TEMPLATE,
        }
        self.classes = {self.kinds.CLASS_DECL, self.kinds.STRUCT_DECL, self.kinds.CLASS_TEMPLATE}

    def walk(self, path, arguments):
        """The files of this unit that were walked; raises OSError where it does not compile."""
        record = self.clang.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD
        try:
            unit = self.index.parse(path, arguments, options=record)
        except self.clang.TranslationUnitLoadError as error:
            raise OSError(f"{path}: {error}") from error
        for message in unit.diagnostics:
            if message.severity >= self.clang.Diagnostic.Error:
                raise OSError(f"{message.location.file}:{message.location.line}: {message.spelling}")
        self.sources, self.macros, self.seen = {}, {}, {}
        tops = [one for one in unit.cursor.get_children() if self.name_of(one)]
        for one in tops:
            if one.kind == self.kinds.MACRO_INSTANTIATION:
                self.macros.setdefault(self.name_of(one), []).append(self.span(one))
        for one in tops:
            if one.kind not in (self.kinds.MACRO_INSTANTIATION, self.kinds.MACRO_DEFINITION, self.kinds.INCLUSION_DIRECTIVE):
                self.visit(one, None, "")
        new = {name: self.seen.get(name, {}) for name in self.walked_files(unit)}
        for name, spans in new.items():
            self.found.setdefault(name, sorted(spans.values(), key=lambda one: (one.start, -one.end)))
        return set(new)

    def walked_files(self, unit):
        names = {unit.spelling, *(one.include.name for one in unit.get_includes())}
        return {name for name in names if self.is_wanted(name)}

    def name_of(self, cursor):
        file = cursor.location.file
        return file.name if file and self.is_wanted(file.name) else None

    @staticmethod
    def span(cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def source(self, name):
        if name not in self.sources:
            with open(name, "rb") as file:
                self.sources[name] = file.read()
        return self.sources[name]

    def text(self, cursor):
        start, end = self.span(cursor)
        return self.source(cursor.location.file.name)[start:end].decode()

    # ---- the tree ----

    def visit(self, cursor, parent, function):
        if self.name_of(cursor) is None or self.is_constant(cursor):
            return
        function = self.function_of(cursor, function)
        children = list(cursor.get_children())
        for one in self.tested_by(cursor, children):
            self.enter(one, cursor, function)
        for one in children:
            self.visit(one, cursor, function)

    def function_of(self, cursor, outer):
        if cursor.kind not in self.functions:
            return outer
        owner = cursor.semantic_parent
        prefix = owner.spelling + "::" if owner is not None and owner.kind in self.classes else ""
        return prefix + cursor.spelling

    def is_constant(self, cursor):
        if cursor.kind == self.kinds.STATIC_ASSERT:
            return True
        if cursor.kind != self.kinds.VAR_DECL:
            return False
        return "constexpr" in self.text(cursor).split("=")[0].split("{")[0].split()

    def tested_by(self, cursor, children):
        """What `cursor` takes as true or false."""
        kinds = self.kinds
        if cursor.kind == kinds.IF_STMT:
            return [] if self.text(cursor).split("(")[0].split() == ["if", "constexpr"] else self.condition_of(cursor, children)
        if cursor.kind == kinds.WHILE_STMT:
            return [] if children[0].kind == kinds.VAR_DECL else children[:1]
        if cursor.kind == kinds.DO_STMT:
            return children[-1:]
        if cursor.kind == kinds.FOR_STMT:
            return self.middle_of(cursor, children)
        if cursor.kind == kinds.CONDITIONAL_OPERATOR:
            return children[:1]
        if cursor.kind == kinds.BINARY_OPERATOR and self.sign_of(cursor, children)[1] in ("&&", "||"):
            return children
        if cursor.kind == kinds.UNARY_OPERATOR and self.text(cursor).startswith("!"):
            return children
        is_rewritten = cursor.kind == kinds.UNEXPOSED_EXPR and len(children) == 1 and self.is_made_up(children[0])
        is_comparison = self.is_comparison(children[0] if is_rewritten else cursor, children)
        return [cursor] if is_comparison else []

    def is_made_up(self, cursor):
        """Part of a comparison that the compiler makes of <=>, or of one with its sides exchanged, and without a text."""
        start, end = self.span(cursor)
        return start >= end or self.text(cursor).rstrip()[-1:] in tuple("=<>!&|")

    def condition_of(self, cursor, children):
        if children[0].kind == self.kinds.VAR_DECL:
            has_more = len(children) > 1 and children[1].kind == self.kinds.DECL_STMT
            return [] if has_more and self.span(children[1])[0] < self.span(children[0])[0] else children[:1]
        return [one for one in children if one.kind.is_expression()][:1]

    def middle_of(self, cursor, children):
        depth, signs = 0, []
        for token in cursor.get_tokens():
            depth += {"(": 1, "{": 1, "[": 1, ")": -1, "}": -1, "]": -1}.get(token.spelling, 0)
            if depth == 1 and token.spelling == ";":
                signs.append(token.extent.start.offset)
            if depth == 0 and signs:
                break
        inside = [one for one in children if signs[0] < self.span(one)[0] < signs[1]]
        return [one for one in inside if one.kind.is_expression()]

    def is_comparison(self, cursor, children):
        if cursor.kind == self.kinds.BINARY_OPERATOR:
            return self.sign_of(cursor, children)[1] in COMPARISONS
        is_call = cursor.kind == self.kinds.CALL_EXPR and cursor.spelling.startswith("operator")
        return is_call and cursor.spelling[8:] in COMPARISONS

    def sign_of(self, cursor, children):
        """Place and text of a binary operator, which libclang does not tell."""
        if len(children) != 2 or self.name_of(cursor) is None:
            return 0, ""
        start, end = self.span(children[0])[1], self.span(children[1])[0]
        between = self.source(cursor.location.file.name)[start:end].decode()
        sign = "".join(line.split("//")[0] for line in between.splitlines()).strip() if start < end else ""
        return start + between.find(sign), sign

    # ---- what becomes a mutant ----

    def enter(self, cursor, tester, function):
        name = self.name_of(cursor)
        if name is None:
            return
        if cursor.kind == self.kinds.VAR_DECL:
            self.add(name, cursor, function, cursor.spelling, "variable", None)
            return
        inner = self.plain(cursor)
        children = list(inner.get_children())
        sign = self.sign_of(inner, children) if inner.kind == self.kinds.BINARY_OPERATOR else (0, "")
        if sign[1] in ("&&", "||") or self.is_of_macro(name, inner, tester):
            return
        has_bound = sign[1] in BOUNDS and all(self.is_plain_type(one) for one in children)
        self.add(name, inner, function, self.text(inner), "value", sign if has_bound else None)

    def plain(self, cursor):
        """Without parentheses, implicit conversions and negations, none of which make another mutant."""
        while True:
            children = list(cursor.get_children())
            wraps = cursor.kind in (self.kinds.PAREN_EXPR, self.kinds.UNEXPOSED_EXPR) and len(children) == 1
            negates = cursor.kind == self.kinds.UNARY_OPERATOR and self.text(cursor).startswith("!")
            if not (negates or wraps) or (wraps and not children[0].kind.is_expression()):
                return cursor
            if cursor.kind == self.kinds.UNEXPOSED_EXPR and self.span(children[0]) != self.span(cursor):
                return cursor
            cursor = children[0]

    def is_of_macro(self, name, cursor, tester):
        """Inside of a macro, or the whole of one that is not tested as a whole."""
        start, end = self.span(cursor)
        for macro_start, macro_end in self.macros.get(name, []):
            if (start, end) == (macro_start, macro_end):
                return self.span(tester) == (start, end)
            if macro_start <= start and end <= macro_end:
                return True
        return False

    def is_plain_type(self, cursor):
        kinds = self.clang.TypeKind
        kind = cursor.type.get_canonical().kind
        return kind in (kinds.POINTER, kinds.ENUM) or kinds.BOOL.value <= kind.value <= kinds.LONGDOUBLE.value

    def add(self, name, cursor, function, text, kind, sign):
        start, end = self.span(cursor)
        if self.is_made_up(cursor):
            return
        line = cursor.extent.start.line
        one = Condition(function, start, end, line, " ".join(text.split()), kind, sign)
        self.seen.setdefault(name, {}).setdefault((start, end), one)
