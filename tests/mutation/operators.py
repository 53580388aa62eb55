# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Makes mutants of C++ source: copies with one small change each."""

import dataclasses
import hashlib
import re

SWAPPED = {
    '&&': ('logic', '||'), '||': ('logic', '&&'),
    '==': ('comparison', '!='), '!=': ('comparison', '=='),
    '<': ('comparison', '<='), '<=': ('comparison', '<'),
    '>': ('comparison', '>='), '>=': ('comparison', '>'),
    '+': ('arithmetic', '-'), '-': ('arithmetic', '+'),
}
# Blanks around an operator tell it from a template's brackets, a reference and a sign.
BINARY = re.compile(r'(?<=\s)(&&|\|\||[=!<>]=|<|>|\+|-)(?=\s)')
CONDITION = re.compile(r'\b(?:if|while) (\()')
STRING = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
NUMBER = re.compile(r'(?<![\w.\'])(\d+)(?=[uUlL]*\b(?![.\']))')
TRUTH = re.compile(r'\b(true|false)\b')
RETURN = re.compile(r'\breturn ([^;{}]+);')
CALL = re.compile(r'(?<=[;{}\n])\s*\n\s+((?:[A-Za-z_]\w*(?:::|\.|->))*[A-Za-z_]\w*\()')
ASSIGNMENT = re.compile(r'\n\s+((?:\*?[A-Za-z_][\w.]*(?:->\w+)* [-+|&]?= [^;{}]+|\+\+\w+);)')
ARGUMENT = r'[A-Za-z_][\w.:]*(?:\(\))?'
ARGUMENTS = re.compile(rf'(?<=[(,] )({ARGUMENT}), ({ARGUMENT})(?=[,)])|'
                       rf'(?<=\()({ARGUMENT}), ({ARGUMENT})(?=[,)])')
SYMMETRIC = re.compile(r'\b(?:std::max|std::min|qMax|qMin)\(\Z')
NO_STATEMENT = re.compile(r'(?:return|if|for|while|switch|delete|static_assert|sizeof|Q_[A-Z_]+)\b')


@dataclasses.dataclass(frozen=True)
class Mutant:
    """A change of the text between two positions of a file."""
    name: str  # of the file
    operator: str
    start: int
    end: int
    replacement: str
    description: str  # the line before and after, which stays the same when other lines change

    def apply(self, text):
        return text[:self.start] + self.replacement + text[self.end:]

    def key(self):
        return f'{self.name}: {self.operator}: {self.description}'

    def rank(self):
        """A number from 0 to 1, the same in each run."""
        return int(hashlib.sha256(self.key().encode()).hexdigest()[:8], 16) / 0xffffffff


def without_comments(text):
    """The text with blanks instead of comments and of the preprocessor's lines."""
    blank = lambda match: re.sub(r'[^\n]', ' ', match.group(0))
    keep = lambda match: match.group(0) if match.group(1) else blank(match)
    text = re.sub(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*|/\*.*?\*/', keep, text, flags=re.DOTALL)
    return re.sub(r'^\s*(?:#|extern "C"|static_assert|Q_ASSERT).*$', blank, text,
                  flags=re.MULTILINE)


def without_strings(text):
    """The same with blanks inside string literals."""
    return STRING.sub(lambda match: '"' + ' ' * len(match.group(1)) + '"', text)


def closing(text, start):
    """The position of the bracket that closes the one at the start."""
    depth = 0
    for position in range(start, len(text)):
        depth += {'(': 1, ')': -1}.get(text[position], 0)
        if depth == 0:
            return position
    return len(text)


def changes(text):
    """All changes, each an operator, two positions and what stands between them then."""
    visible = without_comments(text)
    code = without_strings(visible)
    for match in CONDITION.finditer(code):
        start, end = match.start(1) + 1, closing(code, match.start(1))
        inside = code[start:end]
        start += inside.rfind(';') + 1  # behind what is declared there
        inside = code[start:end]
        declares = re.search(r'[^=!<>]=[^=]', inside)
        # The comparison itself is changed below.
        compares = re.search(r'[=!]=', inside) and not re.search(r'&&|\|\|', inside)
        if not declares and not compares:
            yield 'condition', start, end, f' !({text[start:end].strip()})'.lstrip(' ')
    for match in BINARY.finditer(code):
        operator, other = SWAPPED[match.group(1)]
        yield operator, match.start(1), match.end(1), other
    for match in STRING.finditer(visible):
        yield 'string', match.end(1), match.end(1), 'x'
    for match in NUMBER.finditer(code):
        yield 'number', match.start(1), match.end(1), str(int(match.group(1)) + 1)
    for match in TRUTH.finditer(code):
        other = 'false' if match.group(1) == 'true' else 'true'
        yield 'truth', match.start(1), match.end(1), other
    for match in RETURN.finditer(code):
        if match.group(1) not in ('0', 'false', 'nullptr', 'true', '*this'):
            yield 'return', match.start(1), match.end(1), '{}'
    for match in CALL.finditer(code):
        start = match.start(1)
        end = closing(code, match.end(1) - 1) + 1
        if code[end:end + 1] == ';' and not NO_STATEMENT.match(code, start):
            yield 'call', start, end, ''
    for match in ASSIGNMENT.finditer(code):
        yield 'assignment', match.start(1), match.end(1), ';'
    for match in ARGUMENTS.finditer(code):
        first = 1 if match.group(1) else 3
        one, two = match.group(first), match.group(first + 1)
        if one != two and not SYMMETRIC.search(code, 0, match.start(first)):
            yield 'arguments', match.start(first), match.end(first + 1), f'{two}, {one}'


def mutants(name, text):
    """The mutants of a file, in the order of their places."""
    seen = {}
    for operator, start, end, replacement in sorted(changes(text)):
        first = text.rfind('\n', 0, start) + 1
        last = text.find('\n', end)
        line = lambda part: ' '.join(part.split())
        description = (f'{line(text[first:last])} -> '
                       f'{line(text[first:start] + replacement + text[end:last])}')
        seen[description] = seen.get(description, 0) + 1
        if seen[description] > 1:
            description += f' (number {seen[description]})'
        yield Mutant(name, operator, start, end, replacement, description)
