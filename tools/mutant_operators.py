"""What tools/mutants breaks: each operator yields every mutant of a source that it can make."""
import re

TOKEN = re.compile(r'''//[^\n]*|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'|\d[\w.']*|[A-Za-z_]\w*'''
                   r'''|[-+*/%&|]=|<=|>=|==|!=|&&|\|\||\+\+|--|->|::|.''')
SWAPS = {'<': '<=', '<=': '<', '>': '>=', '>=': '>', '==': '!=', '!=': '==', '&&': '||', '||': '&&', '+': '-',
         '-': '+', '*': '/', '/': '*', '%': '*', '&': '|', '|': '&', '+=': '-=', '-=': '+=', '*=': '/=', '/=': '*=',
         '++': '--', '--': '++', 'true': 'false', 'false': 'true'}
ALSO_WITHOUT_SPACES = {'++', '--', 'true', 'false'}  # other tokens are operators only between spaces
LEVELS = {'LSC_LOGE': 'LSC_LOGW', 'LSC_LOGW': 'LSC_LOGI', 'LSC_LOGI': 'LSC_LOGW', 'LSC_LOGD': 'LSC_LOGI',
          'LSC_LOGI_NONZERO': 'LSC_LOGI_DETAIL', 'LSC_LOGI_DETAIL': 'LSC_LOGI_NONZERO', 'LSC_LOGW_FOR': 'LSC_LOGI_FOR',
          'LSC_LOGI_FOR': 'LSC_LOGW_FOR', 'LSC_LOGI_NONZERO_FOR': 'LSC_LOGI_DETAIL_FOR',
          'LSC_LOGI_DETAIL_FOR': 'LSC_LOGI_NONZERO_FOR'}
DECLARED = re.compile(r'([\w:]+(?:<[\w:, ]+>)?[&*]?)(?: const)?[&*]? (?:const )?(\w+)(?=[,;){]| [=:])')
PARAMETER = re.compile(r'.*[\w>&*] \w+')
KINDS = {'call': re.compile(r'[\w.:\[\]()*>-]+\(.*\);$'),
         'assignment': re.compile(r'[\w.:\[\]()*>-]+ [-+*/|&]?= .*;$'),
         'exit': re.compile(r'(if \(.*\) )?(return|continue|break)\b.*;$')}
SKIPPED = re.compile(r'\s*(#|//|static_assert|using )|.*(LSC_(REQUIRES|EXCLUDES|GUARDED_BY)\(|__attribute__)')
INDEX = re.compile(r'(?<=\w)\[[^\]\[]*[a-z][^\]\[]*\]')


class Mutant:
    """Puts `lines` in the place of those from `first` to before `end`, counted from 0."""

    def __init__(self, source, first, end, lines, description):
        self.path = source.path
        self.first, self.end, self.lines = first, end, lines
        # Without the line number: stays the same while other lines change. all_mutants numbers those that are alike.
        text = ' '.join(line.strip() for line in source.lines[first:end])
        self.name = f'{self.path}: {text}  =>  {description}'

    def __str__(self):
        return self.name.replace(': ', f':{self.first + 1}: ', 1)


class Source:
    """A file, which of its lines are code that is not of a macro, and the members of the folder's classes."""

    def __init__(self, path, lines, members):
        self.path, self.lines, self.members = path, lines, members
        self.is_code = []
        in_macro = False
        for line in self.lines:
            self.is_code.append(not in_macro and not SKIPPED.match(line))
            in_macro = line.endswith('\\')

    def statements(self):
        """(first, end) of every statement that has lines to itself."""
        first = 0
        for number, line in enumerate(self.lines):
            code = line.split('  //')[0].rstrip()
            if not self.is_code[number] or not code or code[-1] in '{}:' or code.endswith('};'):
                first = number + 1
            elif code[-1] == ';':
                yield first, number + 1
                first = number + 1


def sources_of(root, folder):
    """The folder's sources; types of members by their names."""
    lines = {str(path.relative_to(root)): path.read_text().splitlines()
             for path in sorted((root / folder).rglob('*')) if path.suffix in ('.h', '.cpp')}
    declared = [DECLARED.search(line) for path in lines if path.endswith('.h') for line in lines[path]]
    members = {match[2]: match[1] for match in declared if match and re.match('m[A-Z]', match[2])}
    return [Source(path, lines[path], members) for path in lines]


def numbers_beside(token):
    """The literals one less and one more than an integer; one unit of the last place more than a fraction."""
    match = re.fullmatch(r"(0x[0-9A-Fa-f]+|[\d']+)([uUlL]*)", token)
    if match:
        base = 16 if token.startswith('0x') else 10
        number = int(match[1].replace("'", ''), base)
        shown = (lambda value: hex(value)) if base == 16 else str
        return [shown(value) + match[2] for value in (number - 1, number + 1) if value >= 0]
    match = re.fullmatch(r'(\d+\.\d*?)(\d)([fF]?)', token)
    return [f'{match[1]}{(int(match[2]) + 1) % 10}{match[3]}'] if match else []


def mutants_of_tokens(source):
    """Other operators, numbers and levels; a constant in place of an index."""
    for number, line in enumerate(source.lines):
        if not source.is_code[number]:
            continue
        for start, token in ((match.start(), match[0]) for match in TOKEN.finditer(line)):
            end = start + len(token)
            alone = line[start - 1:start] == ' ' and line[end:end + 1] in (' ', '')
            index = INDEX.match(line, start)
            if token in SWAPS and (alone or token in ALSO_WITHOUT_SPACES):
                replacements = [SWAPS[token]]
            elif token == '!':
                replacements = ['']
            elif token in LEVELS:
                replacements = [LEVELS[token]]
            elif index:
                token, replacements = index[0], ['[0]']
            elif token[0].isdigit():
                replacements = numbers_beside(token)
            else:
                continue
            for replacement in replacements:
                description = f'{token} at column {start + 1} to {replacement or "nothing"}'
                changed = line[:start] + replacement + line[start + len(token):]
                yield Mutant(source, number, number + 1, [changed], description)


def mutants_of_strings(source):
    """The neighbouring string of an array whose strings stand on a line each."""
    texts = [re.fullmatch(r'\s+("[^"]*")(,|};)', line) for line in source.lines]
    for number, match in enumerate(texts):
        for neighbour in (texts[number - 1], texts[(number + 1) % len(texts)]):
            if match and neighbour:
                changed = source.lines[number].replace(match[1], neighbour[1])
                yield Mutant(source, number, number + 1, [changed], f'to {neighbour[1]}')


def mutants_of_names(source):
    """An argument or index that is a name, for another one of the same type: variables of the function, members, or
    constants of the file."""
    constants, variables = {}, {}
    for number, line in enumerate(source.lines):
        if not line.startswith(' '):
            variables = {}
        if not source.is_code[number]:
            continue
        for start, token in ((match.start(), match[0]) for match in TOKEN.finditer(line)):
            end = start + len(token)
            stands_alone = line[:start].endswith(('(', ', ', '[', '{')) and line[end:end + 1] in (',', ')', ']', '}')
            types = next((scope for scope in (variables, constants, source.members) if token in scope), {})
            for other in sorted(types) if stands_alone else ():
                if other != token and types[other] == types[token]:
                    changed = line[:start] + other + line[end:]
                    yield Mutant(source, number, number + 1, [changed], f'{token} at column {start + 1} to {other}')
        scope = constants if line.startswith('constexpr') else variables
        scope.update((match[2], match[1]) for match in DECLARED.finditer(line) if match[1] not in ('return', 'else'))


def calls(text):
    """(start, end) of the arguments of every call in the text."""
    open_calls = []
    for match in TOKEN.finditer(text):
        if match[0] in '([{':
            open_calls.append([match.end()])
        elif match[0] in ')]}' and open_calls:
            bounds = open_calls.pop() + [match.start() + 2]
            yield [(start, end - 2) for start, end in zip(bounds, bounds[1:])]
        elif match[0] == ',' and open_calls:
            open_calls[-1].append(match.end() + 1)


def mutants_of_arguments(source):
    """Two neighbouring arguments exchanged."""
    for first, end in source.statements():
        text = ' '.join(line.split('  //')[0].strip() for line in source.lines[first:end])
        for arguments in calls(text):
            for (start, middle), (following, stop) in zip(arguments, arguments[1:]):
                one, other = text[start:middle], text[following:stop]
                is_declaration = PARAMETER.fullmatch(one) or PARAMETER.fullmatch(other)
                if one != other and not one.startswith('"') and not is_declaration:
                    changed = text[:start] + other + text[middle:following] + one + text[stop:]
                    lines = [changed] + [''] * (end - first - 1)
                    yield Mutant(source, first, end, lines, f'{one} and {other} exchanged')


def mutants_of_statements(source):
    """Statements removed, doubled, or moved behind the next one."""
    statements = []
    for first, end in source.statements():
        text = ' '.join(line.split('  //')[0].strip() for line in source.lines[first:end])
        kind = next((kind for kind, pattern in KINDS.items() if pattern.match(text)), '')
        indentation = len(source.lines[first]) - len(source.lines[first].lstrip())
        statements.append((first, end, kind, indentation))
    for (first, end, kind, indentation), following in zip(statements, statements[1:] + [(0, 0, '', 0)]):
        lines = source.lines[first:end]
        if kind and not lines[0].lstrip().startswith(('return', 'break')):
            yield Mutant(source, first, end, [''] * len(lines), 'removed')
        if kind == 'call':
            yield Mutant(source, first, end, lines + lines, 'doubled')
        if following[0] == end and following[3] == indentation and (kind or following[2]):
            yield Mutant(source, first, following[1], source.lines[end:following[1]] + lines, 'exchanged')


OPERATORS = [mutants_of_tokens, mutants_of_strings, mutants_of_names, mutants_of_arguments, mutants_of_statements]
