"""Finds mutants in C++ sources and writes copies of the sources in which all of them are compiled in.

Clang's own syntax trees say what an expression is and where it stands; the text around it stays as it
is, on the same lines. Every mutant is a change that a test should notice:

  less      < becomes <=, <= becomes <, > becomes >=, >= becomes >
  negate    a comparison, a condition or a truth value that is returned becomes its opposite
  drop      one side of && or || is left out; this also covers the exchange of the two
  operator  an operator of arithmetic or bits, also with assignment, becomes another one
  count     ++ becomes --, and the other way round (not where a `for` steps on: it would run for ever)
  constant  a number becomes larger or smaller by one; true becomes false, and the other way round
  remove    a statement that is an expression, `break`, `continue` or `return;` is left out
  result    a number that is returned becomes larger by one, a pointer that is returned becomes null

Left alone: what macros write (asserts among it), constants that the compiler needs, calls that give
memory back or ask for some in advance, because nothing but memory and speed depends on them, and the
last statement of functions that never return, because without it they do nothing that is defined.
"""

import re
from collections import namedtuple

from clang.cindex import CursorKind as K
from clang.cindex import Index, TypeKind

Mutant = namedtuple("Mutant", "number file line column kind change text whole")

MEMORY_CALLS = {"free", "reserve", "shrink_to_fit", "madvise", "operator delete",
                "posix_spawn_file_actions_destroy"}
CONSTANT_PLACES = {K.ENUM_CONSTANT_DECL, K.STATIC_ASSERT, K.TEMPLATE_NON_TYPE_PARAMETER,
                   K.TEMPLATE_TYPE_PARAMETER}
LESS = {"<": ("less", "<="), "<=": ("notGreater", "<"), ">": ("greater", ">="), ">=": ("notLess", ">")}
ARITHMETIC = {"+": ("sum", "-"), "-": ("difference", "+"), "*": ("product", "+"), "/": ("quotient", "*"),
              "%": ("rest", "*"), "&": ("common", "|"), "|": ("united", "&"), "^": ("either", "|"),
              "<<": ("shiftedLeft", ">>"), ">>": ("shiftedRight", "<<")}
ASSIGNMENT = {"+=": ("increase", "-="), "-=": ("decrease", "+="), "*=": ("multiply", "+="),
              "/=": ("divide", "*="), "%=": ("reduce", "*="), "&=": ("intersect", "|="),
              "|=": ("unite", "&="), "^=": ("exclude", "|="), "<<=": ("shiftLeft", ">>="),
              ">>=": ("shiftRight", "<<=")}
COUNT = {("++", True): ("countUp", "--"), ("--", True): ("countDown", "++"),
         ("++", False): ("countedUp", "--"), ("--", False): ("countedDown", "++")}
NUMBERS = {TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG,
           TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT,
           TypeKind.LONG, TypeKind.LONGLONG, TypeKind.FLOAT, TypeKind.DOUBLE, TypeKind.LONGDOUBLE}
FUNCTIONS = {K.FUNCTION_DECL, K.CXX_METHOD, K.CONSTRUCTOR, K.DESTRUCTOR, K.CONVERSION_FUNCTION,
             K.FUNCTION_TEMPLATE, K.LAMBDA_EXPR}


def is_number(kind):
    return kind in NUMBERS


def bare(cursor):
    """The expression without parentheses and conversions that nobody has written."""
    while cursor.kind in (K.PAREN_EXPR, K.UNEXPOSED_EXPR):
        inner = list(cursor.get_children())
        if len(inner) != 1:
            break
        cursor = inner[0]
    return cursor


class File:
    """One file: its text, and what is to be inserted where."""

    def __init__(self, path):
        self.path = path
        with open(path, "rb") as source:
            self.text = source.read()
        self.before, self.after, self.gaps = [], [], []
        self.seen = set()
        self.macros = list(self.calls_of_macros())
        self.never_return = set(re.findall(r"\[\[noreturn\]\] void (\w+)", self.text.decode()))

    def line(self, number):
        return self.text.split(b"\n")[number - 1].decode().strip()

    def calls_of_macros(self):
        """Where assertions and other calls of names in capitals stand."""
        for call in re.finditer(rb"\b(assert|static_assert|[A-Z][A-Z0-9_]{2,})\s*\(", self.text):
            end, depth = call.end(), 1
            while depth and end < len(self.text):
                depth += {b"(": 1, b")": -1}.get(self.text[end:end + 1], 0)
                end += 1
            yield call.start(), end

    def wrap(self, start, end, depth, prefix, suffix):
        self.before.append((start, depth, prefix))
        self.after.append((end, depth, suffix))

    def replace(self, start, end, text):
        self.gaps.append((start, end, text + "\n" * self.text[start:end].count(b"\n")))

    def result(self):
        """Inner suffixes stand before outer ones, outer prefixes before inner ones."""
        marks = [(end, 0, -depth, len(self.after) - i, suffix)
                 for i, (end, depth, suffix) in enumerate(self.after)]
        marks += [(start, 1, depth, i, prefix) for i, (start, depth, prefix) in enumerate(self.before)]
        gaps = sorted(self.gaps)
        out, place = [], 0
        for at, _, _, _, text in sorted(marks):
            place = self.copy(out, place, at, gaps)
            out.append(text.encode())
        self.copy(out, place, len(self.text), gaps)
        return b"".join(out)

    def copy(self, out, place, to, gaps):
        while gaps and gaps[0][1] <= to:
            start, end, text = gaps.pop(0)
            out += [self.text[place:start], text.encode()]
            place = end
        out.append(self.text[place:to])
        return to


class Instrumenter:
    def __init__(self, wanted, dropped):
        self.wanted, self.dropped = wanted, dropped
        self.files, self.mutants = {}, []
        self.index = Index.create()

    def read(self, source, arguments):
        """Takes the mutants of a source, and of those headers that no source before it has included."""
        unit = self.index.parse(source, args=arguments)
        wrong = [d for d in unit.diagnostics if d.severity >= d.Error]
        if wrong:
            raise SystemExit(f"{source}: {wrong[0]}")
        fresh = set()
        for cursor in unit.cursor.get_children():
            name = cursor.location.file.name if cursor.location.file else None
            if name is None or not self.wanted(name) or (name in self.files and name not in fresh):
                continue
            if name not in fresh:
                fresh.add(name)
                self.files[name] = File(name)
            self.walk(cursor, self.files[name], 0, [cursor.semantic_parent])

    # --- The walk ---

    def walk(self, cursor, file, depth, parents):
        if cursor.kind in CONSTANT_PLACES or not self.is_in(cursor, file):
            return
        if cursor.kind in (K.VAR_DECL, K.FIELD_DECL) and self.is_constant(cursor, parents):
            return
        children = list(cursor.get_children())
        self.look_at(cursor, children, file, depth, parents)
        for i, child in enumerate(children):
            if cursor.kind == K.CASE_STMT and i == 0:
                continue
            self.walk(child, file, depth + 1, parents + [cursor])

    @staticmethod
    def is_constant(cursor, parents):
        if cursor.kind == K.FIELD_DECL:
            return cursor.is_bitfield()
        if not any(p.kind in FUNCTIONS for p in parents if p):
            return True  # most have their values before anything runs
        words = [t.spelling for t in cursor.get_tokens()]
        if "constexpr" in words[:4]:
            return True
        literals = (K.INTEGER_LITERAL, K.CXX_BOOL_LITERAL_EXPR)
        if "static" in words[:2] and "const" in words[:3] and \
                any(bare(c).kind == K.INIT_LIST_EXPR for c in cursor.get_children()):
            return True
        return "const" in words[:3] and any(bare(c).kind in literals for c in cursor.get_children())

    @staticmethod
    def is_in(cursor, file):
        start, end = cursor.extent.start, cursor.extent.end
        if not start.file or start.file.name != file.path:
            return False
        return not any(a <= start.offset < b and cursor.kind != K.COMPOUND_STMT or
                       a < end.offset <= b and cursor.kind.is_expression() for a, b in file.macros)

    def look_at(self, cursor, children, file, depth, parents):
        at = (cursor.extent.start.offset, cursor.extent.end.offset, cursor.kind)
        if at in file.seen or at[0] >= at[1]:
            return
        file.seen.add(at)
        if cursor.kind in (K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self.binary(cursor, children[0], children[1], file, depth)
        elif cursor.kind == K.CALL_EXPR and cursor.spelling.startswith("operator") and len(children) == 3:
            self.call_of_operator(cursor, children, file, depth)
        elif cursor.kind == K.UNARY_OPERATOR and len(children) == 1:
            self.unary(cursor, children[0], file, depth, parents)
        elif cursor.kind == K.INTEGER_LITERAL:
            self.number(cursor, file, depth, parents)
        elif cursor.kind == K.CXX_BOOL_LITERAL_EXPR:
            self.truth(cursor, file, depth, parents)
        elif cursor.kind == K.RETURN_STMT:
            self.result(cursor, children, file, depth, parents)
        elif cursor.kind in (K.BREAK_STMT, K.CONTINUE_STMT):
            self.leave_out(cursor, file, depth)
        self.conditions(cursor, children, file, depth)
        self.statements(cursor, children, file, depth, parents[-1])

    # --- Kinds of mutants ---

    def add(self, cursor, file, kind, change):
        """The number of a new mutant, or None when it would not compile."""
        start = cursor.extent.start
        if (file.path, file.line(start.line)) in self.dropped:
            return None
        text = " ".join(file.text[start.offset:cursor.extent.end.offset].decode().split())
        mutant = Mutant(len(self.mutants), file.path, start.line, start.column, kind, change, text[:160],
                        file.line(start.line))
        self.mutants.append(mutant)
        return mutant.number

    def function(self, cursor, left, right, file, depth, kind, name, change):
        number = self.add(cursor, file, kind, change)
        if number is None:
            return
        file.wrap(cursor.extent.start.offset, cursor.extent.end.offset, depth * 4 + 1,
                  f"vesk_mutants::{name}({number}, ", ")")
        file.replace(left.extent.end.offset, right.extent.start.offset, ", ")

    def negation(self, cursor, file, depth, change="!"):
        number = self.add(cursor, file, "negate", change)
        if number is not None:
            file.wrap(cursor.extent.start.offset, cursor.extent.end.offset, depth * 4,
                      f"(vesk_mutants::acts({number}) != static_cast<bool>(", "))")

    @staticmethod
    def operator_between(left, right, file):
        gap = file.text[left.extent.end.offset:right.extent.start.offset].decode()
        gap = re.sub(r"//.*", "", gap).strip()
        return gap if re.fullmatch(r"[-+*/%&|^<>=!]+", gap) else None

    def binary(self, cursor, left, right, file, depth):
        if left.extent.end.offset > right.extent.start.offset:
            return
        sign = self.operator_between(left, right, file)
        types = (bare(left).type.get_canonical().kind, bare(right).type.get_canonical().kind)
        plain = all(is_number(t) or t in (TypeKind.POINTER, TypeKind.BOOL) for t in types)
        self.by_sign(cursor, left, right, sign, plain, file, depth)

    def call_of_operator(self, cursor, children, file, depth):
        left, right = children[0], children[2]
        middle = children[1].extent
        if not left.extent.end.offset <= middle.start.offset <= right.extent.start.offset:
            return
        sign = self.operator_between(left, right, file)
        times = all("Time" == bare(c).type.get_canonical().spelling.split("::")[-1] for c in (left, right))
        self.by_sign(cursor, left, right, sign, times, file, depth)

    def by_sign(self, cursor, left, right, sign, plain, file, depth):
        if sign in ("&&", "||") and cursor.kind == K.BINARY_OPERATOR:
            for side in (left, right):
                number = self.add(side, file, "drop", sign)
                if number is not None:
                    yes = f"vesk_mutants::acts({number})"
                    file.wrap(side.extent.start.offset, side.extent.end.offset, depth * 4 + 2,
                              f"({yes} || (" if sign == "&&" else f"(!{yes} && (", "))")
        elif sign in ("==", "!="):
            self.negation(cursor, file, depth, "!=" if sign == "==" else "==")
        elif sign in LESS:
            if plain:
                self.function(cursor, left, right, file, depth, "less", *LESS[sign])
            self.negation(cursor, file, depth)
        elif plain and sign in ARITHMETIC:
            if sign == "+" and bare(left).type.get_canonical().kind == TypeKind.POINTER and \
                    bare(right).type.get_canonical().kind == TypeKind.POINTER:
                return
            if sign == "-" and bare(right).type.get_canonical().kind == TypeKind.POINTER:
                return
            self.function(cursor, left, right, file, depth, "operator", *ARITHMETIC[sign])
        elif plain and sign in ASSIGNMENT:
            self.function(cursor, left, right, file, depth, "operator", *ASSIGNMENT[sign])

    def unary(self, cursor, operand, file, depth, parents):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        first, last = operand.extent.start.offset, operand.extent.end.offset
        prefix = file.text[start:first].decode().strip()
        suffix = file.text[last:end].decode().strip()
        sign = prefix or suffix
        kind = bare(operand).type.get_canonical().kind
        if sign not in ("++", "--") or not (is_number(kind) or kind == TypeKind.POINTER):
            return
        parent = parents[-1]
        if parent.kind == K.FOR_STMT and list(parent.get_children())[-1].extent.start.offset > end:
            return
        name, change = COUNT[sign, bool(prefix)]
        number = self.add(cursor, file, "count", change)
        if number is None:
            return
        file.replace(start, first, "") if prefix else file.replace(last, end, "")
        file.wrap(start, end, depth * 4 + 1, f"vesk_mutants::{name}({number}, ", ")")

    def number(self, cursor, file, depth, parents):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        text = file.text[start:end].decode()
        parent = parents[-1]
        pointer = parent.type.get_canonical().kind in (TypeKind.POINTER, TypeKind.MEMBERPOINTER)
        if self.is_in_type(cursor, file, parent) or not re.fullmatch(r"[0-9a-fA-FxXuUlL']+", text):
            return
        if pointer and parent.kind == K.UNEXPOSED_EXPR:
            return
        for change in ("+ 1",) if re.fullmatch(r"0[uUlL]*", text) else ("+ 1", "- 1"):
            number = self.add(cursor, file, "constant", change)
            if number is not None:
                file.wrap(start, end, depth * 4, f"(vesk_mutants::acts({number}) ? {text} {change} : ", ")")

    @staticmethod
    def is_in_type(literal, file, parent):
        """Whether it stands in the type of what is declared."""
        left = file.text[:literal.extent.start.offset].rstrip()[-1:]
        return parent.kind.is_declaration() and left not in (b"=", b"{", b"(")

    def truth(self, cursor, file, depth, parents):
        if self.is_in_type(cursor, file, parents[-1]):
            return
        number = self.add(cursor, file, "constant", "!")
        if number is not None:
            file.wrap(cursor.extent.start.offset, cursor.extent.end.offset, depth * 4,
                      f"(vesk_mutants::acts({number}) != ", ")")

    def result(self, cursor, children, file, depth, parents):
        if not children:
            self.leave_out(cursor, file, depth)
            return
        value = children[0]
        around = next(p for p in reversed(parents) if p.kind in FUNCTIONS)
        kind = bare(value).type.get_canonical().kind
        if bare(value).kind in (K.INTEGER_LITERAL, K.CXX_BOOL_LITERAL_EXPR, K.CXX_NULL_PTR_LITERAL_EXPR):
            return
        lambda_result = around.kind == K.LAMBDA_EXPR
        returned = TypeKind.INVALID if lambda_result else around.result_type.get_canonical().kind
        if kind == TypeKind.BOOL and (lambda_result or returned == TypeKind.BOOL):
            if not self.is_mutated_already(value):
                self.negation(value, file, depth + 1)
        elif is_number(kind) and is_number(returned) and bare(value).kind != K.BINARY_OPERATOR:
            number = self.add(value, file, "result", "+ 1")
            if number is not None:
                file.wrap(value.extent.start.offset, value.extent.end.offset, depth * 4 + 4,
                          "(", f") + (vesk_mutants::acts({number}) ? 1 : 0)")
        elif kind == TypeKind.POINTER and returned == TypeKind.POINTER:
            number = self.add(value, file, "result", "nullptr")
            if number is not None:
                file.wrap(value.extent.start.offset, value.extent.end.offset, depth * 4 + 4,
                          f"vesk_mutants::acts({number}) ? nullptr : (", ")")

    @staticmethod
    def is_mutated_already(value):
        value = bare(value)
        if value.kind == K.CXX_BOOL_LITERAL_EXPR:
            return True
        if value.kind == K.CALL_EXPR:
            return re.fullmatch(r"operator(==|!=|<|>|<=|>=)", value.spelling or "") is not None
        if value.kind != K.BINARY_OPERATOR:
            return False
        children = list(value.get_children())
        return value.type.get_canonical().kind == TypeKind.BOOL and len(children) == 2

    def leave_out(self, cursor, file, depth):
        end = file.text.find(b";", cursor.extent.end.offset)
        if end < 0 or file.text[cursor.extent.end.offset:end].strip():
            return
        number = self.add(cursor, file, "remove", "")
        if number is not None:
            file.wrap(cursor.extent.start.offset, end + 1, depth * 4,
                      f"{{ if (!vesk_mutants::acts({number})) ", "}")

    def conditions(self, cursor, children, file, depth):
        place = {K.IF_STMT: b"if", K.WHILE_STMT: b"while", K.DO_STMT: b"while"}
        if cursor.kind in place:
            for child in children:
                left = file.text[:child.extent.start.offset].rstrip()
                if child.kind.is_expression() and left.endswith(b"(") and \
                        left[:-1].rstrip().endswith(place[cursor.kind]):
                    self.condition(child, file, depth + 1)
        elif cursor.kind == K.CONDITIONAL_OPERATOR and len(children) == 3:
            self.condition(children[0], file, depth + 1)

    def condition(self, child, file, depth):
        if self.is_in(child, file) and not self.is_mutated_already(child):
            self.negation(child, file, depth)

    def statements(self, cursor, children, file, depth, parent):
        if cursor.kind == K.COMPOUND_STMT:
            ends = parent and parent.kind in FUNCTIONS and parent.spelling in file.never_return
            bodies = children[:-1] if ends else children
        elif cursor.kind in (K.IF_STMT, K.WHILE_STMT, K.FOR_STMT, K.CXX_FOR_RANGE_STMT, K.CASE_STMT,
                             K.DEFAULT_STMT):
            bodies = children[1:] if cursor.kind == K.IF_STMT else children[-1:]
        else:
            return
        for body in bodies:
            if body.kind.is_expression() and self.is_in(body, file) and self.ends_statement(body, file):
                self.statement(body, file, depth + 1)

    @staticmethod
    def ends_statement(body, file):
        right = file.text[body.extent.end.offset:].lstrip()[:1]
        left = file.text[:body.extent.start.offset].rstrip()
        return right == b";" and (left[-1:] in (b"{", b"}", b";", b")", b":") or left.endswith(b"else") or
                                  left.split(b"\n")[-1].lstrip().startswith(b"//"))

    def statement(self, body, file, depth):
        inner = bare(body)
        if inner.kind == K.CXX_DELETE_EXPR or inner.spelling in MEMORY_CALLS:
            return
        if body.type.get_canonical().kind == TypeKind.VOID and inner.kind not in (
                K.CALL_EXPR, K.UNEXPOSED_EXPR, K.CXX_THROW_EXPR):
            return
        number = self.add(body, file, "remove", "")
        if number is not None:
            file.wrap(body.extent.start.offset, body.extent.end.offset, depth * 4 - 3,
                      f"(vesk_mutants::acts({number}) ? static_cast<void>(0) : static_cast<void>(", "))")
