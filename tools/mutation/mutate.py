"""Says which faults in the engine its tests notice: mutate.py ROOT WORK [--folder NAME]... [--again]

ROOT is the repository, WORK a folder for a mutated copy of it. In the copy, every point of the
engine that can be broken is guarded by a number, so that one build holds all the mutants; the
environment variable FENWRIGHT_MUTANT names the one that a run of the tests is to be broken by. What
cannot be guarded (a constant that the compiler needs) is compiled by itself.

A first run without a mutant writes which test passes which points. Then every mutant is tried by the
tests that pass it. It is noticed when a test fails, crashes or hangs. A mutant that no test passes
is a survivor. One that does not compile is no mutant.

equivalent.txt names mutants that are the same program, with the reason. They are counted apart.

--folder NAME    mutants of this folder of src/ alone
--again          of the last run's mutants, those that were not noticed
"""

import argparse
import bisect
import collections
import concurrent.futures
import json
import os
import re
import resource
import shlex
import shutil
import subprocess
import sys
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

from clang import cindex
from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

FOLDERS = ["core", "link", "image", "fuse", "ops", "update"]
TARGETS = [folder + "_test" for folder in FOLDERS]
HERE = Path(__file__).parent

# Numbers of a file's mutants: a change in one file leaves the others' as they are.
NUMBERS_PER_FILE = 1000

OPERATORS = {
    "<": ("Less", "<="),
    "<=": ("LessEqual", "<"),
    ">": ("Greater", ">="),
    ">=": ("GreaterEqual", ">"),
    "==": ("Equal", "!="),
    "!=": ("NotEqual", "=="),
    "+": ("Plus", "-"),
    "-": ("Minus", "+"),
    "*": ("Times", "+"),
    "/": ("Over", "*"),
    "%": ("Modulo", "+"),
    "&": ("And", "|"),
    "|": ("Or", "&"),
    "^": ("Xor", "&"),
    "<<": ("ShiftLeft", ">>"),
    ">>": ("ShiftRight", "<<"),
}
COMPARISONS = {"<", "<=", ">", ">=", "==", "!="}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
CHARACTER_SETS = {"find_first_of", "find_last_of", "find_first_not_of", "find_last_not_of"}

FUNCTIONS = {
    Kind.FUNCTION_DECL,
    Kind.CXX_METHOD,
    Kind.CONSTRUCTOR,
    Kind.DESTRUCTOR,
    Kind.CONVERSION_FUNCTION,
    Kind.FUNCTION_TEMPLATE,
}
TRANSPARENT = {Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR}
NUMBERS = {Kind.INTEGER_LITERAL, Kind.FLOATING_LITERAL, Kind.CHARACTER_LITERAL}
LITERALS = NUMBERS | {Kind.STRING_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR}
ARITHMETIC = {
    TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG,
    TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG,
    TypeKind.LONGLONG, TypeKind.FLOAT, TypeKind.DOUBLE,
}  # fmt: skip


@dataclass
class Mutant:
    """A point of a file, and how it is broken there."""

    file: str
    offset: int
    end: int
    line: int
    kind: str
    original: str
    line_text: str
    mutated: str = ""  # what stands at the point when the mutant is compiled by itself
    number: int = -1
    occurrence: int = 0
    guarded: bool = True

    @property
    def folder(self) -> str:
        return self.file.split("/")[1]

    @property
    def what(self) -> str:
        return f"{self.kind} {self.original}".strip()

    def __str__(self) -> str:
        return f"{self.file}:{self.line}: {self.what} | {self.line_text}"

    @property
    def key(self) -> str:
        return f"{self.file} | {self.what} | {self.line_text} | {self.occurrence}"


@dataclass
class Source:
    """A file of the engine, its mutants and the edits that guard them."""

    file: str
    text: bytes
    index: int
    mutants: list[Mutant] = field(default_factory=list)
    # (offset, rank, depth, text): rank 0 closes, 1 replaces, 2 opens
    edits: list[tuple] = field(default_factory=list)
    # Declarations that hold their whole initialiser: when one of their points cannot be guarded,
    # none is.
    constants: list[tuple[int, int]] = field(default_factory=list)

    def __post_init__(self):
        self.line_starts = [0] + [m.end() for m in re.finditer(b"\n", self.text)]

    def line_of(self, offset: int) -> int:
        return bisect.bisect_right(self.line_starts, offset)

    def line_text(self, line: int) -> str:
        return self.text.split(b"\n")[line - 1].decode().strip()

    def part(self, start: int, end: int) -> str:
        return self.text[start:end].decode()


def begin(cursor) -> int:
    return cursor.extent.start.offset


def end(cursor) -> int:
    return cursor.extent.end.offset


def children(cursor) -> list:
    return [child for child in cursor.get_children() if end(child) > begin(child)]


def bare(cursor):
    """The expression without what stands for nothing in the text."""
    while cursor.kind in TRANSPARENT:
        inner = [c for c in children(cursor) if c.kind.is_expression()]
        if len(inner) != 1:
            break
        cursor = inner[0]
    return cursor


def without_comments(text: str) -> str:
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S).strip()


class Finder:
    """Finds the mutants of one file in its syntax tree."""

    def __init__(self, source: Source):
        self.source = source
        self.result = None  # of the function around

    def add(self, cursor, kind, original, mutated, opening, closing="", depth=0, span=None):
        start, stop = span or (begin(cursor), end(cursor))
        line = self.source.line_of(start)
        mutant = Mutant(
            file=self.source.file,
            offset=start,
            end=stop,
            line=line,
            kind=kind,
            original=" ".join(original.split()),
            line_text=self.source.line_text(line),
            mutated=mutated,
        )
        mutant.number = self.source.index * NUMBERS_PER_FILE + len(self.source.mutants)
        self.source.mutants.append(mutant)
        number = mutant.number
        if opening is None:
            mutant.guarded = False
            return mutant
        # Of the same start, the outer one opens first; of the same end, the inner one closes first.
        if opening:
            self.source.edits.append((start, 2, depth, opening.replace("#", str(number)), mutant))
        if closing:
            self.source.edits.append((stop, 0, -depth, closing.replace("#", str(number)), mutant))
        return mutant

    def replace(self, mutant, start, stop, text):
        self.source.edits.append((start, 1, stop, text, mutant))

    def text_of(self, cursor) -> str:
        return self.source.part(begin(cursor), end(cursor))

    # --- Declarations --------------------------------------------------------------------------

    def visit(self, cursor, parent, depth):
        kind = cursor.kind
        handler = getattr(self, "visit_" + kind.name, None)
        if handler:
            handler(cursor, parent, depth)
        elif kind in FUNCTIONS:
            self.visit_function(cursor, depth)
        elif kind in NUMBERS:
            self.visit_number(cursor, parent, depth)
        else:
            self.descend(cursor, depth)

    def descend(self, cursor, depth, skipped=()):
        for child in children(cursor):
            if child not in skipped:
                self.visit(child, cursor, depth + 1)

    def visit_function(self, cursor, depth):
        outer = self.result
        self.result = cursor.result_type
        body = [c for c in children(cursor) if c.kind == Kind.COMPOUND_STMT]
        tokens = self.source.part(begin(cursor), begin(body[0]) if body else end(cursor))
        before = self.source.text[: begin(cursor)].decode().rstrip()
        self.never_returns = "[[noreturn]]" in tokens or before.endswith("[[noreturn]]")
        returns_value = cursor.result_type.kind not in (TypeKind.VOID, TypeKind.INVALID)
        for child in children(cursor):
            if child.kind == Kind.COMPOUND_STMT:
                last = children(child)[-1:] if returns_value or self.never_returns else []
                self.visit_block(child, depth + 1, unmovable=last)
            elif begin(child) > cursor.location.offset or child.kind.is_expression():
                if child.kind not in (Kind.TYPE_REF, Kind.TEMPLATE_REF, Kind.NAMESPACE_REF):
                    if begin(child) > cursor.location.offset:
                        self.visit(child, cursor, depth + 1)
        self.result = outer

    def visit_LAMBDA_EXPR(self, cursor, parent, depth):
        outer = self.result
        self.result = None
        for child in children(cursor):
            if child.kind == Kind.COMPOUND_STMT:
                last = children(child)[-1:]
                value = last and last[0].kind == Kind.RETURN_STMT and children(last[0])
                self.visit_block(child, depth + 1, unmovable=last if value else [])
            elif child.kind != Kind.PARM_DECL:
                self.visit(child, cursor, depth + 1)
        self.result = outer

    def visit_variable(self, cursor, parent, depth):
        text = self.source.text
        if re.search(rb"\bconstexpr\b", text[begin(cursor) : cursor.location.offset]):
            self.source.constants.append((begin(cursor), end(cursor)))
        characters = cursor.type.get_canonical().kind == TypeKind.CONSTANTARRAY and (
            cursor.type.get_canonical().element_type.kind == TypeKind.CHAR_S
        )
        for child in children(cursor):
            if begin(child) <= cursor.location.offset:
                continue  # part of the type
            if text[: begin(child)].rstrip().endswith(b"["):
                continue  # the size of an array
            if characters and bare(child).kind == Kind.STRING_LITERAL:
                self.visit_characters(bare(child), depth)
            else:
                self.visit(child, cursor, depth + 1)

    visit_VAR_DECL = visit_variable
    visit_FIELD_DECL = visit_variable
    visit_PARM_DECL = visit_variable

    def visit_STATIC_ASSERT(self, cursor, parent, depth):
        pass

    def visit_TEMPLATE_TYPE_PARAMETER(self, cursor, parent, depth):
        pass

    visit_ENUM_DECL = visit_STATIC_ASSERT
    visit_TYPE_ALIAS_DECL = visit_STATIC_ASSERT
    visit_USING_DECLARATION = visit_STATIC_ASSERT

    # --- Constants -----------------------------------------------------------------------------

    def visit_number(self, cursor, parent, depth):
        text = self.text_of(cursor)
        if cursor.kind == Kind.CHARACTER_LITERAL:
            mutated = f"static_cast<char>({text} + 1)"
            kind = "character"
        else:
            mutated = f"({text} + 1)"
            kind = "number"
        self.add(cursor, kind, text, mutated, f"(mutation::On(#) ? {mutated} : ", ")", depth)

    def visit_CXX_BOOL_LITERAL_EXPR(self, cursor, parent, depth):
        text = self.text_of(cursor)
        mutated = "false" if text == "true" else "true"
        self.add(cursor, "value", text, mutated, f"(mutation::On(#) ? {mutated} : ", ")", depth)

    def changed_text(self, cursor, emptied=False) -> str:
        parts = re.findall(r'"(?:[^"\\]|\\.)*"', self.text_of(cursor))
        empty = all(part == '""' for part in parts)
        if emptied and not empty:
            return '""'
        return " ".join(parts) + ' "~"'

    def visit_STRING_LITERAL(self, cursor, parent, depth):
        mutated = self.changed_text(cursor, self.emptied)
        self.add(
            cursor, "text", self.text_of(cursor), mutated, f"(mutation::On(#) ? {mutated} : ", ")", depth
        )

    emptied = False

    def visit_characters(self, cursor, depth):
        """The initialiser of an array of characters."""
        self.add(cursor, "text", self.text_of(cursor), self.changed_text(cursor), None)

    def visit_DECL_REF_EXPR(self, cursor, parent, depth):
        target = cursor.referenced
        if target is None or target.kind != Kind.ENUM_CONSTANT_DECL:
            self.descend(cursor, depth)
            return
        names = [c.spelling for c in target.semantic_parent.get_children()]
        text = self.text_of(cursor)
        if len(names) < 2 or not text.endswith(target.spelling):
            return
        other = names[(names.index(target.spelling) + 1) % len(names)]
        mutated = text[: len(text) - len(target.spelling)] + other
        self.add(cursor, "name", text, mutated, f"(mutation::On(#) ? {mutated} : ", ")", depth)

    # --- Expressions ---------------------------------------------------------------------------

    def operator(self, left, right) -> str:
        return without_comments(self.source.part(end(left), begin(right)))

    def visit_BINARY_OPERATOR(self, cursor, parent, depth):
        parts = children(cursor)
        if len(parts) != 2:
            return self.descend(cursor, depth)
        operator = self.operator(*parts)
        if operator in ("&&", "||"):
            return self.visit_logical(cursor, parts, operator, depth)
        arithmetic = all(p.type.get_canonical().kind in ARITHMETIC for p in parts)
        if operator in COMPARISONS or (operator in OPERATORS and arithmetic):
            self.add_operator(cursor, parts, operator, depth)
        self.descend(cursor, depth)

    def add_operator(self, cursor, parts, operator, depth):
        name, mutated = OPERATORS[operator]
        left, right = parts
        span = (begin(left), end(right))
        whole = f"{self.text_of(left)} {mutated} {self.text_of(right)}"
        mutant = self.add(
            cursor, "operator", operator, f"({whole})", f"mutation::{name}(#, ", ")", depth, span
        )
        start = end(left) + self.source.text[end(left) : begin(right)].index(operator.encode())
        self.replace(mutant, start, start + len(operator), ",")

    def visit_logical(self, cursor, parts, operator, depth):
        for part in parts:
            inner = part
            nested = inner.kind == Kind.BINARY_OPERATOR and len(children(inner)) == 2
            if nested and self.operator(*children(inner)) == operator:
                continue
            if bare(part).kind == Kind.CXX_BOOL_LITERAL_EXPR:
                continue
            text = self.text_of(part)
            if operator == "&&":
                self.add(part, "dropped of &&:", text, "true", "(mutation::On(#) || (", "))", depth)
            else:
                self.add(part, "dropped of ||:", text, "false", "(!mutation::On(#) && (", "))", depth)
        self.descend(cursor, depth)

    def visit_UNARY_OPERATOR(self, cursor, parent, depth):
        text = self.text_of(cursor)
        if text.startswith("!") and parent.kind in (
            Kind.VAR_DECL, Kind.CALL_EXPR, Kind.INIT_LIST_EXPR, Kind.BINARY_OPERATOR
        ):  # fmt: skip
            if parent.kind != Kind.BINARY_OPERATOR or self.is_assignment(parent):
                self.add(cursor, "without !:", text, text[1:], "(mutation::On(#) != (", "))", depth)
        self.descend(cursor, depth)

    def is_assignment(self, cursor) -> bool:
        parts = children(cursor)
        return len(parts) == 2 and self.operator(*parts) in ASSIGNMENTS

    def visit_CALL_EXPR(self, cursor, parent, depth):
        parts = children(cursor)
        if cursor.spelling in ("operator==", "operator!=", "operator<", "operator<=", "operator>",
                               "operator>=", "operator<=>") and len(parts) == 3:  # fmt: skip
            operator = self.operator(parts[0], parts[2])
            if operator in COMPARISONS:
                self.add_operator(cursor, [parts[0], parts[2]], operator, depth)
        outer = self.emptied
        self.emptied = cursor.spelling in CHARACTER_SETS
        self.descend(cursor, depth)
        self.emptied = outer

    def visit_CONDITIONAL_OPERATOR(self, cursor, parent, depth):
        condition = children(cursor)[0]
        self.add_condition(condition, depth, always=True)
        self.descend(cursor, depth)

    def add_condition(self, condition, depth, always):
        if bare(condition).kind == Kind.CXX_BOOL_LITERAL_EXPR:
            return
        text = self.text_of(condition)
        if always:
            self.add(condition, "always:", text, "true", "(mutation::On(#) || (", "))", depth)
        self.add(condition, "never:", text, "false", "(!mutation::On(#) && (", "))", depth)

    # --- Statements ----------------------------------------------------------------------------

    def visit_COMPOUND_STMT(self, cursor, parent, depth):
        self.visit_block(cursor, depth)

    def visit_block(self, cursor, depth, unmovable=(), droppable=True):
        for child in children(cursor):
            if droppable and child not in unmovable:
                self.add_drop(child, depth)
            self.visit(child, cursor, depth + 1)

    def visit_body(self, body, parent, depth, droppable):
        """What an if, a loop or a case does. A single statement of an if is dropped by "never"."""
        if body.kind == Kind.COMPOUND_STMT:
            single = len(children(body)) == 1
            self.visit_block(body, depth + 1, droppable=droppable or not single)
        else:
            if droppable:
                self.add_drop(body, depth)
            self.visit(body, parent, depth + 1)

    def add_drop(self, cursor, depth):
        inner = bare(cursor)
        text = self.text_of(cursor)
        dropped = (
            inner.kind in (Kind.CALL_EXPR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.CXX_THROW_EXPR,
                           Kind.CONTINUE_STMT)
            or (cursor.kind == Kind.UNEXPOSED_EXPR and inner.kind not in LITERALS)
            or (inner.kind == Kind.BINARY_OPERATOR and self.is_assignment(inner))
            or (inner.kind == Kind.UNARY_OPERATOR and re.match(r"\+\+|--", text))
            or (inner.kind == Kind.RETURN_STMT and not children(inner))
        )  # fmt: skip
        if dropped:
            self.add(
                cursor, "dropped:", text, "if (true) {} else " + text,
                "if (mutation::On(#)) {} else ", depth=depth,
            )  # fmt: skip

    def visit_IF_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        if parts[0].kind == Kind.DECL_STMT:
            self.visit(parts[0], cursor, depth + 1)
            parts = parts[1:]
        if parts[0].kind == Kind.VAR_DECL:
            variable = parts[0]
            self.add(
                variable, "never:", self.text_of(variable), self.text_of(variable) + "; false",
                "", f"; !mutation::On(#) && static_cast<bool>({variable.spelling})", depth,
            )  # fmt: skip
            self.visit(variable, cursor, depth + 1)
            bodies = parts[2:]
        else:
            self.add_condition(parts[0], depth, always=True)
            self.visit(parts[0], cursor, depth + 1)
            bodies = parts[1:]
        for body in bodies:
            self.visit_body(body, cursor, depth, droppable=len(bodies) > 1)

    def visit_WHILE_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        self.add_condition(parts[0], depth, always=False)
        self.visit(parts[0], cursor, depth + 1)
        self.visit_body(parts[-1], cursor, depth, droppable=True)

    def visit_DO_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        self.add_condition(parts[-1], depth, always=False)
        self.visit(parts[-1], cursor, depth + 1)
        self.visit_body(parts[0], cursor, depth, droppable=True)

    def visit_FOR_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        body = parts[-1]
        for part in parts[:-1]:
            before = self.source.part(begin(cursor), begin(part))
            if re.sub(r'"[^"]*"', "", before).count(";") == 1:
                self.add_condition(part, depth, always=False)
            self.visit(part, cursor, depth + 1)
        self.visit_body(body, cursor, depth, droppable=True)

    def visit_CXX_FOR_RANGE_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        for part in parts[:-1]:
            if part.kind == Kind.VAR_DECL:
                continue
            self.visit(part, cursor, depth + 1)
        self.visit_body(parts[-1], cursor, depth, droppable=True)

    def visit_CASE_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        label = bare(parts[0])
        if label.kind in NUMBERS:
            text = self.text_of(label)
            self.add(label, "case", text, f"({text} + 1)", None)
        body = parts[-1]
        if body.kind not in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            self.add_drop(body, depth)
        self.visit(body, cursor, depth + 1)

    def visit_DEFAULT_STMT(self, cursor, parent, depth):
        self.add_drop(children(cursor)[-1], depth)
        self.descend(cursor, depth)

    def visit_RETURN_STMT(self, cursor, parent, depth):
        parts = children(cursor)
        if parts:
            self.add_return(parts[0], depth)
        self.descend(cursor, depth)

    def add_return(self, value, depth):
        inner = bare(value)
        if self.result is not None and self.result.kind in (
            TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE
        ):  # fmt: skip
            return
        if inner.kind in LITERALS or inner.kind in (Kind.CONDITIONAL_OPERATOR, Kind.INIT_LIST_EXPR):
            return
        if inner.kind == Kind.DECL_REF_EXPR and inner.referenced is not None:
            if inner.referenced.kind == Kind.ENUM_CONSTANT_DECL:
                return
        parts = children(inner)
        if inner.kind == Kind.BINARY_OPERATOR and len(parts) == 2:
            if self.operator(*parts) in COMPARISONS:
                return  # the operator's own mutant
        if inner.kind == Kind.CALL_EXPR and inner.spelling in ("operator==", "operator!="):
            return
        canonical = value.type.get_canonical()
        spelling = canonical.spelling.replace("const ", "")
        text = self.text_of(value)
        if text.startswith("{") or "std::nullopt" in text or text == "nullptr":
            return
        if (
            canonical.kind in ARITHMETIC
            or canonical.kind == TypeKind.POINTER
            or spelling.startswith(("std::optional<", "std::basic_string"))
        ):
            opening, closing = "mutation::Changed(#, ", ")"
            if self.result is not None and "auto" not in self.result.spelling:
                opening, closing = f"{opening}static_cast<{self.result.spelling}>(", "))"
            self.add(value, "returned:", text, text, opening, closing, depth)


class Engine:
    """The engine's files with all their mutants."""

    def __init__(self, root: Path, arguments: list[str]):
        self.root = root
        self.sources: dict[str, Source] = {}
        files = sorted(
            file.relative_to(root).as_posix()
            for folder in FOLDERS
            for file in (root / "src" / folder).iterdir()
            if file.suffix in (".cpp", ".h")
        )
        for index, file in enumerate(files):
            self.sources[file] = Source(file, (root / file).read_bytes(), index)
        self.seen: set[str] = set()
        for file in files:
            if file.endswith(".cpp"):
                self.parse(file, arguments)
        # Headers that no source includes.
        for file in files:
            if file not in self.seen:
                self.parse(file, arguments)
        for source in self.sources.values():
            if len(source.mutants) >= NUMBERS_PER_FILE:
                sys.exit(f"{source.file}: too many mutants")
            counts: collections.Counter = collections.Counter()
            for mutant in source.mutants:
                key = (mutant.what, mutant.line_text)
                mutant.occurrence = counts[key]
                counts[key] += 1

    def parse(self, file: str, arguments: list[str]):
        unit = cindex.Index.create().parse(str(self.root / file), args=["-xc++", *arguments])
        problems = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if problems:
            sys.exit(f"{file}: {problems[0]}")
        included: set[str] = set()
        for cursor in unit.cursor.get_children():
            if cursor.location.file is None:
                continue
            name = os.path.relpath(cursor.location.file.name, self.root)
            if name in self.sources and name not in self.seen:
                included.add(name)
                Finder(self.sources[name]).visit(cursor, unit.cursor, 0)
        self.seen |= included | {file}

    @property
    def mutants(self) -> list[Mutant]:
        return [m for source in self.sources.values() for m in source.mutants]


def guarded_text(source: Source) -> bytes:
    """The file with every guard in its place, line by line as it was."""
    text = source.text
    edits = [e[:4] for e in source.edits if e[4].guarded]
    plain = [
        (start, stop)
        for start, stop in source.constants
        if any(not m.guarded and start <= m.offset < stop for m in source.mutants)
    ]
    header = source.file.endswith(".h")
    code = re.sub(
        rb'//[^\n]*|"(?:[^"\\\n]|\\.)*"', lambda m: b" " * len(m.group()), text
    )
    for word in re.finditer(rb"\bconstexpr\b", code):
        if any(start <= word.start() < stop for start, stop in plain):
            continue
        if code[: word.start()].rstrip().endswith(b"if"):
            continue
        is_constant = any(start <= word.start() < stop for start, stop in source.constants)
        before = code[: word.start()].split(b"\n")[-1].strip()
        if is_constant:
            new = b"const"
            if re.match(rb"\s+const\b", code[word.end() :]):
                new = b""
            if header and before == b"static":
                new = b"inline " + new
        else:
            new = b"inline" if header and before != b"inline" else b""
        edits.append((word.start(), 1, word.end(), new.decode()))
    pieces, at = [], 0
    for edit in sorted(edits, key=lambda e: (e[0], e[1], e[2])):
        start, rank, stop, new = edit
        pieces.append(text[at:start])
        pieces.append(new.encode())
        at = stop if rank == 1 else start
    pieces.append(text[at:])
    return b"".join(pieces)


class Copy:
    """The mutated copy of the repository, and its build."""

    def __init__(self, root: Path, work: Path):
        self.root = root
        self.tree = work / "tree"
        self.build = work / "build"
        self.work = work

    def write(self, path: str, text: bytes):
        target = self.tree / path
        if target.exists() and target.read_bytes() == text:
            return
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(text)

    def copy_repository(self, engine: Engine):
        names = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=self.root, check=True, capture_output=True,
        ).stdout.decode().split("\0")  # fmt: skip
        wanted = {name for name in names if name and (self.root / name).is_file()}
        for name in wanted - set(engine.sources):
            text = (self.root / name).read_bytes()
            if name == "CMakeLists.txt":
                recorder = "${PROJECT_SOURCE_DIR}/tools/mutation/recorder.cpp"
                for target in TARGETS:
                    text += f"\ntarget_sources({target} PRIVATE {recorder})".encode()
                text += b"\n"
            self.write(name, text)
        for file in list(self.tree.rglob("*")):
            if file.is_file() and file.relative_to(self.tree).as_posix() not in wanted:
                file.unlink()

    def write_engine(self, engine: Engine):
        for source in engine.sources.values():
            self.write(source.file, guarded_text(source))

    def configure(self):
        hook = self.tree / "tools/mutation/mutation.cmake"
        subprocess.run(
            ["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
             "-DCMAKE_CXX_FLAGS=-O1 -w -Wno-narrowing", f"-DCMAKE_PROJECT_INCLUDE={hook}",
             "-DFENWRIGHT_WERROR=OFF", "-DFENWRIGHT_MANUAL=OFF"],
            check=True, stdout=subprocess.DEVNULL,
        )  # fmt: skip

    def compile(self, keep_going=False) -> str:
        """What the compiler says when the build fails; else ""."""
        command = ["ninja", "-C", self.build, *(["-k", "0"] if keep_going else []), *TARGETS]
        result = subprocess.run(command, capture_output=True, text=True, errors="replace")
        return "" if result.returncode == 0 else result.stdout + result.stderr

    def compile_guarded(self, engine: Engine):
        """Takes the guards away where the compiler does not accept them."""
        for _ in range(20):
            self.write_engine(engine)
            problems = self.compile(keep_going=True)
            if not problems:
                return
            if not self.take_guards_away(engine, problems):
                sys.exit("the mutated copy does not build:\n" + problems[-6000:])
        sys.exit("the mutated copy does not build")

    def take_guards_away(self, engine: Engine, problems: str) -> bool:
        taken = 0
        for name, line in set(re.findall(r"(src/\w+/\w+\.\w+):(\d+):\d+: ", problems)):
            source = engine.sources.get(name)
            if source is None:
                continue
            number = int(line)
            spans = [
                (start, stop)
                for start, stop in source.constants
                if source.line_of(start) <= number <= source.line_of(stop)
            ]
            for mutant in source.mutants:
                inside = any(start <= mutant.offset < stop for start, stop in spans)
                if mutant.guarded and (inside or mutant.line == number):
                    mutant.guarded = False
                    taken += 1
        return taken > 0


class Tests:
    """The engine's test programs in the mutated copy."""

    def __init__(self, copy: Copy):
        self.copy = copy
        self.names: dict[str, list[str]] = {}
        self.reaching: dict[int, dict[str, set[str]]] = {}
        self.always: dict[int, set[str]] = {}
        self.seconds: dict[str, float] = {}

    def program(self, target: str) -> Path:
        return self.copy.build / "tests" / target.removesuffix("_test") / target

    def environment(self, folder: Path) -> dict[str, str]:
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        home = {name: str(folder) for name in ("TMPDIR", "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME")}
        return {**os.environ, **home}

    def learn(self):
        """Runs every test without a mutant, which has to pass."""
        for target in TARGETS:
            record = self.copy.work / f"{target}.reached"
            environment = self.environment(self.copy.work / "temporary" / "learn")
            environment["FENWRIGHT_MUTATION_REACHED"] = str(record)
            start = time.monotonic()
            result = subprocess.run(
                [self.program(target)], env=environment, cwd=self.copy.build, capture_output=True,
                text=True, errors="replace",
            )  # fmt: skip
            self.seconds[target] = time.monotonic() - start
            if result.returncode != 0:
                sys.exit(f"{target} fails without a mutant:\n{result.stdout[-3000:]}")
            for line in record.read_text().splitlines():
                name, _, numbers = line.split("\t")
                for number in map(int, numbers.split()):
                    if name:
                        tests = self.reaching.setdefault(number, {})
                        tests.setdefault(target, set()).add(name)
                    else:
                        self.always.setdefault(number, set()).add(target)

    def plan(self, mutant: Mutant) -> list[tuple[str, set[str] | None]]:
        """Programs and their tests (None: all), those of the mutant's folder first."""
        reaching = self.reaching.get(mutant.number, {})
        always = self.always.get(mutant.number, set())
        targets = sorted(
            TARGETS, key=lambda t: (t != mutant.folder + "_test", self.seconds.get(t, 0))
        )
        if not mutant.guarded:
            return [(target, None) for target in targets]
        return [
            (target, None if target in always else reaching[target])
            for target in targets
            if target in always or target in reaching
        ]

    def notices(self, mutant: Mutant, worker: str) -> bool:
        folder = self.copy.work / "temporary" / worker
        for target, names in self.plan(mutant):
            environment = self.environment(folder)
            arguments = [str(self.program(target)), "--gtest_fail_fast", "--gtest_brief=1"]
            if mutant.guarded:
                environment["FENWRIGHT_MUTANT"] = str(mutant.number)
            if names is not None:
                filter_file = folder / "filter"
                filter_file.write_text("--gtest_filter=" + ":".join(sorted(names)))
                arguments.append(f"--gtest_flagfile={filter_file}")
            if not self.passes(arguments, environment, self.seconds[target]):
                return True
        return False

    def passes(self, arguments, environment, seconds) -> bool:
        processor_seconds = int(4 + 5 * seconds)

        def limit():
            resource.setrlimit(resource.RLIMIT_CPU, (processor_seconds, processor_seconds))
            resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_FSIZE, (64 << 20, 64 << 20))

        try:
            result = subprocess.run(
                arguments, env=environment, cwd=self.copy.build, stdin=subprocess.DEVNULL,
                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                timeout=10 * processor_seconds, preexec_fn=limit,
            )  # fmt: skip
        except subprocess.TimeoutExpired:
            return False
        return result.returncode == 0


def try_guarded(tests: Tests, mutants: list[Mutant], results: dict[str, str], save):
    done = 0
    lock = threading.Lock()

    def run(mutant: Mutant):
        nonlocal done
        noticed = bool(tests.plan(mutant)) and tests.notices(mutant, threading.current_thread().name)
        with lock:
            results[mutant.key] = "noticed" if noticed else "survived"
            done += 1
            if not noticed:
                print(f"survived: {mutant}", flush=True)
            if done % 200 == 0:
                print(f"{done} of {len(mutants)}", flush=True)
                save()

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count(), "worker") as pool:
        list(pool.map(run, mutants))


def try_compiled(copy: Copy, engine: Engine, tests: Tests, mutants, results):
    """One build for each."""
    for mutant in mutants:
        source = engine.sources[mutant.file]
        text = source.text
        broken = text[: mutant.offset] + mutant.mutated.encode() + text[mutant.end :]
        copy.write(mutant.file, broken)
        if copy.compile():
            results[mutant.key] = "not compiled"
        else:
            noticed = tests.notices(mutant, "compiled")
            results[mutant.key] = "noticed" if noticed else "survived"
        print(f"{results[mutant.key]}: {mutant}", flush=True)
        copy.write(mutant.file, guarded_text(source))
    if mutants and copy.compile():
        sys.exit("the mutated copy does not build again")


def read_equivalents() -> collections.Counter:
    """How many mutants of a file, a kind and a line are the same program."""
    equivalents: collections.Counter = collections.Counter()
    for line in (HERE / "equivalent.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            file, what, text, _reason = line.split(" | ")
            equivalents[file, what, text] += 1
    return equivalents


def report(engine: Engine, results: dict[str, str], folders: list[str]) -> None:
    equivalents = read_equivalents()
    survivors = []
    rows = []
    for folder in folders:
        counts: collections.Counter = collections.Counter()
        for mutant in engine.mutants:
            if mutant.folder != folder or mutant.key not in results:
                continue
            result = results[mutant.key]
            name = (mutant.file, mutant.what, mutant.line_text)
            if result == "survived" and equivalents[name] > 0:
                result = "equivalent"
                equivalents[name] -= 1
            elif result == "survived":
                survivors.append(mutant)
            counts[result] += 1
        rows.append((folder, counts))
    print("\nSurvivors:")
    for mutant in survivors:
        print(mutant)
    for name, left in equivalents.items():
        if left > 0 and name[0].split("/")[1] in folders:
            print(f"equivalent.txt: no surviving mutant for {' | '.join(name)}")
    print(f"\n{'folder':10}{'noticed':>9}{'survived':>10}{'equivalent':>12}{'figure':>9}")
    total: collections.Counter = collections.Counter()
    for folder, counts in rows + [("all", total)]:
        total.update(counts if counts is not total else {})
        whole = counts["noticed"] + counts["survived"] + counts["equivalent"]
        figure = 100 * counts["noticed"] / whole if whole else 0
        print(
            f"{folder:10}{counts['noticed']:9}{counts['survived']:10}{counts['equivalent']:12}"
            f"{figure:8.1f}%"
        )
    print(f"not compiled: {total['not compiled']}")


def compiler_arguments(root: Path, generated: Path) -> list[str]:
    return ["-std=c++20", f"-I{root / 'src'}", f"-I{generated}"]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("root", type=Path)
    parser.add_argument("work", type=Path)
    parser.add_argument("--folder", action="append", choices=FOLDERS)
    parser.add_argument("--again", action="store_true")
    options = parser.parse_args()
    root, work = options.root.resolve(), options.work.resolve()
    folders = options.folder or FOLDERS
    work.mkdir(parents=True, exist_ok=True)

    generated = work / "generated"
    template = (root / "src/core/build_info.h.in").read_text()
    (generated / "core").mkdir(parents=True, exist_ok=True)
    (generated / "core/build_info.h").write_text(re.sub(r"@\w+@", "1", template))
    engine = Engine(root, compiler_arguments(root, generated))
    print(f"{len(engine.mutants)} mutants in {len(engine.sources)} files", flush=True)

    copy = Copy(root, work)
    copy.copy_repository(engine)
    copy.write_engine(engine)
    copy.configure()
    copy.compile_guarded(engine)
    print(f"built; {sum(not m.guarded for m in engine.mutants)} are compiled alone", flush=True)
    tests = Tests(copy)
    tests.learn()

    results_file = work / "results.json"
    results = json.loads(results_file.read_text()) if results_file.exists() else {}

    def save():
        results_file.write_text(json.dumps(results, indent=0, ensure_ascii=False))

    chosen = [m for folder in folders for m in engine.mutants if m.folder == folder]
    if options.again:
        chosen = [m for m in chosen if results.get(m.key) not in ("noticed", "not compiled")]
    try_guarded(tests, [m for m in chosen if m.guarded], results, save)
    save()
    try_compiled(copy, engine, tests, [m for m in chosen if not m.guarded], results)
    save()
    report(engine, results, folders)


if __name__ == "__main__":
    main()
