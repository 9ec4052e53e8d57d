"""Finds the places in C++ sources that can be mutated. Uses the syntax tree of libclang."""

import dataclasses
import re

from clang.cindex import CursorKind, Diagnostic, Index

REPLACEMENTS = {
    b'==': [b'!='], b'!=': [b'=='],
    b'<': [b'<=', b'>='], b'>=': [b'>', b'<'],
    b'>': [b'>=', b'<='], b'<=': [b'<', b'>'],
    b'&&': [b'||'], b'||': [b'&&'],
    b'+': [b'-'], b'-': [b'+'],
    b'*': [b'/'], b'/': [b'*'], b'%': [b'*'],
    b'<<': [b'>>'], b'>>': [b'<<'],
    b'&': [b'|'], b'|': [b'&'],
    b'+=': [b'-='], b'-=': [b'+='],
    b'++': [b'--'], b'--': [b'++'],
}
OPERATOR = re.compile(rb'\s*(<<|>>|&&|\|\||[=!<>+-]=|[-<>+*/%&|])')
NUMBER = re.compile(rb"0[xXbB][0-9a-fA-F']+|[0-9][0-9']*(\.[0-9]+)?")
ASSIGNMENT = re.compile(rb'[\w.>-]+ =\s')
# Such as "Menu edit;", whose default constructor has no effect.
DEFAULT_CONSTRUCTED = re.compile(rb'[\w:<>]+ \w+;?')
END_OF_STATEMENT = re.compile(rb'\s*;')
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION}
WITH_BODY = {CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.FOR_STMT,
             CursorKind.CXX_FOR_RANGE_STMT}
JUMPS = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
# Functions whose result does not depend on the order of their two arguments.
SYMMETRICAL = {'equalIgnoringAsciiCase', 'hypot', 'max', 'min'}
# Values that "return {};" returns too: its mutant would equal the original.
EMPTY_VALUES = {b'{}', b'std::nullopt', b'""', b'false', b'0', b'nullptr'}


@dataclasses.dataclass(frozen=True)
class Mutant:
    """A replacement of bytes in a source file."""

    file: str
    start: int
    end: int
    replacement: bytes
    # The kind of the change, such as 'negation' or 'removed statement'.
    operator: str
    function: str
    line: int
    # The lines that change, before and after, joined and without comments.
    original: str
    mutated: str

    def entry_keys(self):
        """Returns the keys, in the form of read_equivalents in mutate.py, of the entries of
        equivalents.toml that would accept this mutant."""
        place = (self.file, self.function, self.original)
        return (*place, self.mutated, None), (*place, None, self.operator)


def find_mutants(root, files, parser_options):
    """Returns the mutants of the given files in the order of the text.

    All files are parsed as one translation unit, so that the system's headers are parsed
    once. Raises ValueError if that does not compile.
    """
    unit_name = str(root / 'mutate.cc')
    includes = ''.join(f'#include "{file}"\n' for file in files)
    unit = Index.create().parse(unit_name, args=[*parser_options, '-w'],
                                unsaved_files=[(unit_name, includes)])
    errors = [str(found) for found in unit.diagnostics if found.severity >= Diagnostic.Error]
    if errors:
        raise ValueError('\n'.join(errors))
    finders = {str(root / file): Finder(file, (root / file).read_bytes()) for file in files}
    for cursor in unit.cursor.get_children():
        if cursor.location.file and cursor.location.file.name in finders:
            finders[cursor.location.file.name].visit(cursor, '', b'')
    return [mutant for finder in finders.values() for mutant in finder.mutants()]


class Finder:
    """Collects the mutants of one file."""

    def __init__(self, file, source):
        self.file = file
        self.source = source
        self.found = {}

    def mutants(self):
        return [self.found[place] for place in sorted(self.found)]

    def text(self, cursor):
        return self.source[cursor.extent.start.offset:cursor.extent.end.offset]

    def add(self, operator, function, start, end, replacement):
        if self.source[start:end] == replacement:
            return
        first = self.source.rfind(b'\n', 0, start) + 1
        last = self.source.find(b'\n', end)
        before, after = self.source[first:start], self.source[end:last]
        original, mutated = (one_line(before + changed + after)
                             for changed in (self.source[start:end], replacement))
        line = self.source.count(b'\n', 0, start) + 1
        mutant = Mutant(self.file, start, end, replacement, operator, function, line,
                        original, mutated)
        # An implicit conversion is a node of its own with the same text: it gives the same mutant.
        self.found.setdefault((start, end, replacement), mutant)

    def visit(self, cursor, function, early_return):
        """Collects the mutants of a node and of the nodes below it.

        `function` is the name of the enclosing function, `early_return` the statement that
        leaves it at once.
        """
        kind = cursor.kind
        if kind in FUNCTIONS:
            function = cursor.spelling
            has_value = cursor.result_type.spelling != 'void' and kind not in (
                CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR)
            early_return = b'return {};' if has_value else b'return;'
        elif kind == CursorKind.LAMBDA_EXPR:
            has_value = re.search(rb'return\s+[^;]', self.text(cursor))
            early_return = b'return {};' if has_value else b'return;'
        self.mutate_constant(cursor, function)
        self.mutate_operator(cursor, function)
        self.mutate_condition(cursor, function)
        self.swap_arguments(cursor, function)
        self.mutate_statements(cursor, function, early_return)
        for child in cursor.get_children():
            self.visit(child, function, early_return)

    def mutate_constant(self, cursor, function):
        text, start, end = self.text(cursor), cursor.extent.start.offset, cursor.extent.end.offset
        if text[:1].isdigit() and cursor.kind.is_expression():
            number = NUMBER.match(text)
            digits = number.group().replace(b"'", b'')
            is_octal = digits.isdigit() and digits.startswith(b'0')
            value = float(digits) if number.group(1) else int(digits, 8 if is_octal else 0)
            for changed in (value + 1, value - 1):
                self.add('number', function, start, start + number.end(), str(changed).encode())
        elif cursor.kind == CursorKind.STRING_LITERAL and text.startswith(b'"'):
            self.add('string', function, start, end, b'""')
            self.add('string', function, start, end, text[:-1] + b'~"')
        elif cursor.kind == CursorKind.CHARACTER_LITERAL:
            self.add('character', function, start, end, b"'~'")
        elif text in (b'true', b'false'):
            self.add('boolean', function, start, end, b'false' if text == b'true' else b'true')
        elif cursor.kind == CursorKind.DECL_REF_EXPR and cursor.referenced and (
                cursor.referenced.kind == CursorKind.ENUM_CONSTANT_DECL):
            names = [sibling.spelling.encode()
                     for sibling in cursor.referenced.semantic_parent.get_children()]
            name = cursor.spelling.encode()
            if text.endswith(name):
                following = names[(names.index(name) + 1) % len(names)]
                self.add('enumerator', function, end - len(name), end, following)

    def mutate_operator(self, cursor, function):
        text, start = self.text(cursor), cursor.extent.start.offset
        if cursor.kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            found = OPERATOR.match(self.source, next(cursor.get_children()).extent.end.offset)
            if not found:
                return
            text, start = found.group(1), found.start(1)
        elif cursor.kind == CursorKind.UNARY_OPERATOR:
            # In C++20, "a != b" can be "!(a == b)" in the tree.
            if text.startswith(b'!') and not text.startswith(b'!='):
                self.add('negation', function, start, start + 1, b'')
            if text.endswith((b'++', b'--')):
                start += len(text) - 2
            text = self.source[start:start + 2]
            if text not in (b'++', b'--'):
                return
        elif cursor.kind == CursorKind.DECL_REF_EXPR and cursor.spelling.startswith('operator'):
            # An overloaded operator. A unary "*", which has no operand before it, is left out.
            if not re.search(rb'[\w)\]}"]\s*$', self.source[:start]):
                return
        else:
            return
        for replacement in REPLACEMENTS.get(text, []):
            self.add('operator', function, start, start + len(text), replacement)

    def mutate_condition(self, cursor, function):
        children = list(cursor.get_children())
        if cursor.kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT):
            # A condition that declares a variable cannot be negated.
            if any(child.kind == CursorKind.VAR_DECL for child in children):
                return
            conditions = [child for child in children
                          if child.kind.is_expression() and not self.is_body(child)]
        elif cursor.kind == CursorKind.CONDITIONAL_OPERATOR:
            conditions = children[:1]
        elif cursor.kind == CursorKind.RETURN_STMT:
            conditions = [child for child in children if child.type.spelling == 'bool']
        else:
            return
        for condition in conditions:
            text = self.text(condition)
            # mutate_operator removes the negation, and mutate_constant replaces the constants.
            if text.startswith(b'!') or text in (b'true', b'false'):
                continue
            self.add('negation', function, condition.extent.start.offset,
                     condition.extent.end.offset, b'!(' + text + b')')

    def swap_arguments(self, cursor, function):
        if cursor.kind == CursorKind.CALL_EXPR and not cursor.spelling.startswith('operator'):
            if cursor.spelling in SYMMETRICAL:
                return
            arguments = list(cursor.get_arguments())
        elif cursor.kind == CursorKind.INIT_LIST_EXPR:
            arguments = list(cursor.get_children())
        else:
            return
        for one, other in zip(arguments, arguments[1:]):
            # A default argument has no text, and the arguments from one macro have the same place.
            if (one and other and self.text(one) and self.text(other)
                    and value_type(one) == value_type(other)
                    and one.extent.end.offset <= other.extent.start.offset):
                between = self.source[one.extent.end.offset:other.extent.start.offset]
                self.add('swapped arguments', function, one.extent.start.offset,
                         other.extent.end.offset, self.text(other) + between + self.text(one))

    def mutate_statements(self, cursor, function, early_return):
        children = list(cursor.get_children())
        if cursor.kind == CursorKind.COMPOUND_STMT:
            for statement in children:
                self.remove(statement, function)
                start = statement.extent.start.offset
                if statement.kind != CursorKind.RETURN_STMT:
                    self.add('early return', function, start, start, early_return + b' ')
            for one, other in zip(children, children[1:]):
                self.swap_statements(one, other, function)
        elif cursor.kind in WITH_BODY:
            for child in children:
                if child.kind != CursorKind.COMPOUND_STMT and self.is_body(child):
                    self.remove(child, function)
        elif cursor.kind == CursorKind.RETURN_STMT and children:
            value = children[0]
            if early_return == b'return {};' and self.text(value) not in EMPTY_VALUES:
                self.add('empty value', function, value.extent.start.offset,
                         value.extent.end.offset, b'{}')

    def is_body(self, child):
        """Returns whether a node follows ")" or "else", as the body of an if or a loop does."""
        before = self.source[:child.extent.start.offset].rstrip()
        return before.endswith((b')', b'else'))

    def statement_end(self, statement):
        """Returns the offset after the semicolon, which the nodes of expressions do not cover."""
        end = statement.extent.end.offset
        found = END_OF_STATEMENT.match(self.source, end)
        return found.end() if found and self.source[end - 1:end] != b';' else end

    def remove(self, statement, function):
        # Without the declaration, the other uses of the name do not compile.
        if statement.kind == CursorKind.DECL_STMT and any(
                self.source.count(variable.spelling.encode()) > 1
                for variable in statement.get_children()):
            return
        start, end = statement.extent.start.offset, self.statement_end(statement)
        # Without its last return, a function has undefined behaviour.
        is_last = self.source[end:].lstrip().startswith(b'}')
        if statement.kind == CursorKind.RETURN_STMT and is_last and not self.is_body(statement):
            return
        self.add('removed statement', function, start, end, b';')

    def swap_statements(self, one, other, function):
        # Leaves out swaps that do not compile or teach nothing. The statement after a declaration
        # mostly uses its variable. A statement that is moved behind a jump is never reached, as if
        # removed. Nothing observes the order of two assignments, or when a variable without an
        # initializer is declared.
        if one.kind == CursorKind.DECL_STMT or other.kind in JUMPS:
            return
        if other.kind == CursorKind.DECL_STMT and DEFAULT_CONSTRUCTED.fullmatch(self.text(other)):
            return
        if ASSIGNMENT.match(self.text(one)) and ASSIGNMENT.match(self.text(other)):
            return
        start, one_end = one.extent.start.offset, self.statement_end(one)
        other_start, end = other.extent.start.offset, self.statement_end(other)
        between = self.source[one_end:other_start]
        self.add('swapped statements', function, start, end,
                 self.source[other_start:end] + between + self.source[start:one_end])


def one_line(text):
    """Returns a piece of source on one line, without comment lines."""
    return ' '.join(re.sub(r'(?m)^\s*//.*', '', text.decode()).split())


def value_type(cursor):
    """Returns the type of an argument. All string literals count as one type."""
    spelling = cursor.type.get_canonical().spelling.replace('const ', '').rstrip('& ')
    return re.sub(r'^char\[\d+\]$', 'char *', spelling)
