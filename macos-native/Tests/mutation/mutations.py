"""Small wrong changes of a source text, as a careless hand might make them: where each can be made and what it writes there."""
from __future__ import annotations

import ast
import itertools
import re
from collections.abc import Iterator
from typing import NamedTuple


class Mutation(NamedTuple):
    """Writes `replacement` in place of the characters from `start` to `end`."""

    kind: str
    start: int
    end: int
    replacement: str

    def applied_to(self, text: str) -> str:
        return text[:self.start] + self.replacement + text[self.end:]

    def line(self, text: str) -> int:
        """The number of the first line that it changes, counted from 1."""
        return text.count("\n", 0, self.start) + 1

    def lines_before_and_after(self, text: str) -> tuple[list[str], list[str]]:
        """The whole lines that it touches, without what indents them: as they are, and as it leaves them."""
        first = text.rfind("\n", 0, self.start) + 1
        last = text.find("\n", self.end)
        before = text[first:last]
        after = text[first:self.start] + self.replacement + text[self.end:last]
        return ([line.strip() for line in before.splitlines()], [line.strip() for line in after.splitlines()])


COMPARISONS = {"==": ("!=",), "!=": ("==",), "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<")}
LOGIC = {"&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+="}
TRUTH = {"true": "false", "false": "true"}
NO_CALL = re.compile(r"(return|if|for|while|switch|throw|using|const|auto|static|case|delete|sizeof|Q_\w+|static_assert)\b")
CALL_OR_ASSIGNMENT = re.compile(r"[*]?[A-Za-z_][\w:.\[\]]*(->[\w:.\[\]]+)*(\(| [-+|&]?= )")


def cpp_mutations(text: str) -> list[Mutation]:
    """Every mutation of a C++ source. It reads the text as our formatter leaves it: binary operators between blanks."""
    code = without_comments_and_texts(text)
    found: list[Mutation] = []
    for match in re.finditer(r"(?<= )(==|!=|<=|>=|<|>|&&|\|\||\+=|-=|[-+*/%])(?= )", code):
        found.extend(_of_operator(match.group(), *match.span()))
    for match in re.finditer(r"(?<![\w.'\"])\d+(?![\w.'])", code):
        found.append(Mutation("constant", *match.span(), str(int(match.group()) + 1)))
    for match in re.finditer(r"(?<![\w.'\"])\d+\.\d+", code):
        found.append(Mutation("constant", *match.span(), str(float(match.group()) + 1)))
    for match in re.finditer(r"\b(true|false)\b", code):
        found.append(Mutation("constant", *match.span(), TRUTH[match.group()]))
    for match in re.finditer(r"(?<=[\s(])!(?=[\w(:])", code):
        found.append(Mutation("condition", *match.span(), ""))
    found.extend(_negated_conditions(code))
    found.extend(_lines_gone(code))
    return _finished(found, text)


KEPT = "\0"  # stands for what a mutation replaces


def _finished(found: list[Mutation], text: str) -> list[Mutation]:
    """In the order of the text, with the text that a replacement keeps."""
    complete = {each._replace(replacement=each.replacement.replace(KEPT, text[each.start:each.end])) for each in found}
    return sorted(complete, key=lambda mutation: (mutation.start, mutation.end, mutation.replacement))


def _of_operator(operator: str, start: int, end: int) -> Iterator[Mutation]:
    if operator in COMPARISONS:
        for other in COMPARISONS[operator]:
            yield Mutation("comparison", start, end, other)
    elif operator in LOGIC:
        yield Mutation("logic", start, end, LOGIC[operator])
    else:
        yield Mutation("arithmetic", start, end, ARITHMETIC[operator])


def _blank(text: str) -> str:
    return re.sub(r"[^\n]", " ", text)


def without_what_linux_leaves_out(text: str) -> str:
    """The text with blanks for the code that is compiled on other systems only; as long as before."""
    def blank(match: re.Match[str]) -> str:
        condition, code, otherwise = match.groups()
        return condition + (code + _blank(otherwise) if "__linux__" in condition else _blank(code) + otherwise)

    return re.sub(r"(^#ifdef (?:Q_OS_MACOS|__linux__))(.*?)(^#else.*?|)(?=^#endif)", blank, text, flags=re.DOTALL | re.MULTILINE)


def without_comments_and_texts(text: str) -> str:
    """The text with blanks for its comments, its preprocessor's lines, what only other systems compile, and what its quotation
    marks hold; as long as before."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\'|^[ ]*#[^\n]*',
                         re.DOTALL | re.MULTILINE)

    def blank(match: re.Match[str]) -> str:
        found = match.group()
        if found[0] in "\"'":
            return found[0] + " " * (len(found) - 2) + found[-1]
        return _blank(found)

    return pattern.sub(blank, without_what_linux_leaves_out(text))


def _closing(code: str, opening: int) -> int:
    """Where the bracket closes that opens at `opening`."""
    depth = 0
    for index in range(opening, len(code)):
        if code[index] in "([{":
            depth += 1
        elif code[index] in ")]}":
            depth -= 1
            if depth == 0:
                return index
    return len(code)


def _statement_end(code: str, start: int) -> int | None:
    """Just past the semicolon that ends the statement at `start`; None when a bracket closes around it first."""
    index = start
    while index < len(code):
        if code[index] in "([{":
            index = _closing(code, index)
        elif code[index] in ")]}":
            return None
        elif code[index] == ";":
            return index + 1
        index += 1
    return None


def _negated_conditions(code: str) -> Iterator[Mutation]:
    for match in re.finditer(r"\bif \(", code):
        start, end = match.end(), _closing(code, match.end() - 1)
        condition = code[start:end]
        if ";" not in condition and not re.match(r"(const|auto)\b", condition):
            yield Mutation("condition", start, end, f"!({KEPT})")
    for match in re.finditer(r"\s+\? ", code):
        yield Mutation("condition", _condition_start(code, match.start()), match.start(), f"!({KEPT})")


def _condition_start(code: str, end: int) -> int:
    """Where the condition of a ternary begins, whose question mark follows `end`."""
    depth = 0
    for index in range(end - 1, 0, -1):
        if code[index] in ")]}":
            depth += 1
        elif code[index] in "([{":
            depth -= 1
            if depth < 0:
                return index + 1
        elif depth == 0 and (code[index] in ",;" or re.match(r" (=|:|\?|<<) |return ", code[index - 1:index + 6])):
            word = re.match(r"[,;]\s*|[=:?] |<< |eturn ", code[index:index + 6])
            return index + (word.end() if word else 1)
    return end


def _lines_gone(code: str) -> Iterator[Mutation]:
    for match in re.finditer(r"(?<=[;{})\w:])\n\s+(?=[*\w])", code):
        start = match.end()
        if code.startswith("return", start):
            yield from _changed_return(code, start)
        elif not NO_CALL.match(code, start) and CALL_OR_ASSIGNMENT.match(code, start):
            end = _statement_end(code, start)
            if end is not None:
                yield Mutation("line gone", start, end, ";")


def _changed_return(code: str, start: int) -> Iterator[Mutation]:
    end = _statement_end(code, start)
    if end is None:
        return
    value = code[start + len("return"):end - 1].strip()
    if not value:
        yield Mutation("line gone", start, end, ";")
    elif value not in ("{}", "false", "0", "nullptr", "std::nullopt") and not re.fullmatch(r"[\w:]+(\(\)|\{\})", value):
        yield Mutation("return value", start, end, "return {};")


PYTHON_OPERATORS = {
    ast.Eq: ("==", "!="), ast.NotEq: ("!=", "=="), ast.Lt: ("<", "<="), ast.LtE: ("<=", "<"), ast.Gt: (">", ">="),
    ast.GtE: (">=", ">"), ast.In: ("in", "not in"), ast.NotIn: ("not in", "in"), ast.Is: ("is", "is not"),
    ast.IsNot: ("is not", "is"), ast.And: ("and", "or"), ast.Or: ("or", "and"), ast.Add: ("+", "-"), ast.Sub: ("-", "+"),
    ast.Mult: ("*", "//"), ast.Div: ("/", "*"), ast.FloorDiv: ("//", "*"), ast.Mod: ("%", "*")}
PYTHON_KINDS = {ast.cmpop: "comparison", ast.boolop: "logic", ast.operator: "arithmetic"}


def python_mutations(text: str) -> list[Mutation]:
    """Every mutation of a Python source; annotations are left alone, for nothing runs them."""
    return _finished(_PythonMutations(text).found, text)


def _nodes_that_run(node: ast.AST) -> Iterator[ast.AST]:
    """A node and those in it, without the annotations and decorators of functions. What an f-string holds has no places of its own
    before Python 3.12."""
    if isinstance(node, ast.JoinedStr):
        return
    yield node
    for name, value in ast.iter_fields(node):
        if name not in ("annotation", "returns") and not (name == "decorator_list" and isinstance(node, ast.FunctionDef)):
            for child in value if isinstance(value, list) else [value]:
                if isinstance(child, ast.AST):
                    yield from _nodes_that_run(child)


class _PythonMutations:
    def __init__(self, text: str) -> None:
        self.found: list[Mutation] = []
        self._text = text
        self._lines = text.splitlines(keepends=True)
        self._line_starts = list(itertools.accumulate(map(len, self._lines), initial=0))
        for node in _nodes_that_run(ast.parse(text)):
            self._mutate(node)

    def _mutate(self, node: ast.AST) -> None:
        if isinstance(node, ast.Compare):
            for left, operator, right in zip([node.left, *node.comparators], node.ops, node.comparators):
                self._turn(operator, left, right)
        elif isinstance(node, ast.BoolOp):
            for left, right in zip(node.values, node.values[1:]):
                self._turn(node.op, left, right)
        elif isinstance(node, ast.BinOp):
            self._turn(node.op, node.left, node.right)
        elif isinstance(node, ast.Constant) and isinstance(node.value, (bool, int, float)):
            self._replace("constant", node, str(not node.value) if isinstance(node.value, bool) else repr(node.value + 1))
        elif isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.Not):
            self.found.append(Mutation("condition", self._start(node), self._start(node.operand), ""))
        elif isinstance(node, (ast.If, ast.IfExp)):
            self._replace("condition", node.test, f"not ({KEPT})")
        elif isinstance(node, ast.Return) and node.value and not (isinstance(node.value, ast.Constant) and node.value.value is None):
            self._replace("return value", node.value, "None")
        elif isinstance(node, ast.Raise) or (isinstance(node, ast.Expr) and isinstance(node.value, ast.Call)):
            self._replace("line gone", node, "pass")

    def _replace(self, kind: str, node: ast.expr | ast.stmt, replacement: str) -> None:
        self.found.append(Mutation(kind, self._start(node), self._end(node), replacement))

    def _turn(self, operator: ast.AST, left: ast.expr, right: ast.expr) -> None:
        if type(operator) not in PYTHON_OPERATORS:
            return
        word, other = PYTHON_OPERATORS[type(operator)]
        start = self._end(left)
        found = re.compile(r"[\s)]*(" + re.escape(word).replace(r"\ ", r"\s+") + r")[\s(]").match(self._text, start)
        if found and found.end() <= self._start(right) + 1:
            kind = next(kind for base, kind in PYTHON_KINDS.items() if isinstance(operator, base))
            self.found.append(Mutation(kind, *found.span(1), other))

    def _start(self, node: ast.expr | ast.stmt) -> int:
        return self._offset(node.lineno, node.col_offset)

    def _end(self, node: ast.expr | ast.stmt) -> int:
        assert node.end_lineno is not None and node.end_col_offset is not None
        return self._offset(node.end_lineno, node.end_col_offset)

    def _offset(self, line: int, column_in_bytes: int) -> int:
        column = len(self._lines[line - 1].encode()[:column_in_bytes].decode())
        return self._line_starts[line - 1] + column
