#!/usr/bin/env python3
"""Module include graph of the sources, its circles, the platform seam and the "Depends on" lines.

Reads the `#include "..."` lines of every .h/.cpp under the given folders (default: framework,
lumtoolkit, src), joins a header and its sources into one module (named after the file without
its extension; the desktop's and the browser's file of a platform module are one module), and
prints each module with the project modules it includes, then every circle: a set of modules that
all reach each other through includes. It also lists every include from framework/core into
framework/platforms other than the platform's interface headers (PLATFORM_INTERFACE), which are
all the portable framework may call. The exit status is 1 when there is a circle or such an
include, so a check can run it.

With --depends-on it checks instead that every module's "Depends on:" line (in its header's
opening comment, or its source's when it has no header; a source that has a line of its own is
checked too) names exactly the project modules the module includes: the names outside
parentheses count, the explanations inside them do not. Exit status 1 when one does not.

    tools/include-graph.py                  # the whole tree
    tools/include-graph.py framework        # one folder
    tools/include-graph.py --dot > g.dot    # Graphviz input
    tools/include-graph.py --depends-on     # the "Depends on" lines
"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')
SOURCE_ENDINGS = ('.h', '.cpp')
CORE = os.path.join('framework', 'core')
PLATFORMS = os.path.join('framework', 'platforms')
# The platform layer's interface: the headers the portable framework may include
PLATFORM_INTERFACE = {'wrapper.h', 'wrapper_file.h', 'wrapper_image.h', 'wrapper_music.h',
                      'wrapper_system.h'}
DEPENDS = 'Depends on:'
NAME = re.compile(r'[A-Za-z0-9_-]+')


def source_files(roots):
    """Map each .h/.cpp path under the roots to its module name."""
    files = {}
    for root in roots:
        for folder, _dirs, names in os.walk(root):
            for name in names:
                if name.endswith(SOURCE_ENDINGS):
                    files[os.path.join(folder, name)] = os.path.splitext(name)[0]
    return files


def includes(path):
    """The quoted includes of a file, as written."""
    with open(path, encoding='utf-8') as source:
        return [m.group(1) for m in map(INCLUDE.match, source) if m]


def read_modules(roots):
    """Map each module name to the set of project modules it includes."""
    files = source_files(roots)
    known = set(files.values())
    modules = {}
    for path, module in sorted(files.items()):
        deps = modules.setdefault(module, set())
        for included in includes(path):
            target = os.path.splitext(os.path.basename(included))[0]
            if target in known and target != module:
                deps.add(target)
    return modules


def under(path, folder):
    return os.path.normpath(path).split(os.sep)[-3:-1] == folder.split(os.sep) or \
        (os.sep + folder + os.sep) in (os.sep + os.path.normpath(path))


def seam_breaches(roots):
    """Includes from framework/core into framework/platforms beyond the platform's interface."""
    files = source_files(roots)
    by_name = {}
    for path in files:
        by_name.setdefault(os.path.basename(path), []).append(path)
    found = []
    for path in sorted(files):
        if not under(path, CORE):
            continue
        for included in includes(path):
            name = os.path.basename(included)
            targets = by_name.get(name, [])
            if any(under(t, PLATFORMS) for t in targets) and name not in PLATFORM_INTERFACE:
                found.append(f'{path} includes {included}')
    return found


def depends_line(path):
    """The text of the "Depends on:" line of a file's opening comment, or None."""
    text = []
    with open(path, encoding='utf-8') as source:
        for line in source:
            if not line.startswith('//'):
                break
            body = line[2:].strip()
            if text:
                if not body or body.startswith('[') or body.startswith('Index of'):
                    break
                text.append(body)
            elif body.startswith(DEPENDS):
                text.append(body[len(DEPENDS):])
    return ' '.join(text) if text else None


def without_parentheses(text):
    out, depth = [], 0
    for ch in text:
        if ch == '(':
            depth += 1
        elif ch == ')':
            depth = max(depth - 1, 0)
        elif depth == 0:
            out.append(ch)
    return ''.join(out)


def named_modules(line):
    """The module names a "Depends on" line gives: the first word of each item of its list
    (items end at a comma, a semicolon, a full stop or an "and"), explanations in parentheses
    left out."""
    items = re.split(r'[,;]|\.\s|\.$|\band\b', without_parentheses(line))
    return {words[0] for words in (NAME.findall(item) for item in items) if words}


def depends_mismatches(roots):
    """Modules whose "Depends on" lines name other modules than they include."""
    files = source_files(roots)
    modules = read_modules(roots)
    known = set(modules)
    found = []
    for module in sorted(modules):
        paths = sorted(p for p, m in files.items() if m == module)
        headers = [p for p in paths if p.endswith('.h')]
        lines = {p: depends_line(p) for p in paths}
        if not any(lines[p] is not None for p in (headers or paths)):
            found.append(f'{module}: no "{DEPENDS}" line in {", ".join(headers or paths)}')
            continue
        for path, line in lines.items():
            if line is None:
                continue
            named = named_modules(line) & known
            named.discard(module)
            missing = sorted(modules[module] - named)
            extra = sorted(named - modules[module])
            if missing or extra:
                found.append(f'{path}: "{DEPENDS}" leaves out {" ".join(missing) or "nothing"}, '
                             f'names without including {" ".join(extra) or "nothing"}')
    return found


def circles(modules):
    """The strongly connected components with more than one module (Tarjan's algorithm)."""
    index, low, on_stack, stack, found = {}, {}, set(), [], []

    def visit(module):
        index[module] = low[module] = len(index)
        stack.append(module)
        on_stack.add(module)
        for dep in sorted(modules.get(module, ())):
            if dep not in index:
                visit(dep)
                low[module] = min(low[module], low[dep])
            elif dep in on_stack:
                low[module] = min(low[module], index[dep])
        if low[module] == index[module]:
            component = []
            while True:
                top = stack.pop()
                on_stack.discard(top)
                component.append(top)
                if top == module:
                    break
            if len(component) > 1:
                found.append(sorted(component))

    for module in sorted(modules):
        if module not in index:
            visit(module)
    return found


def main(argv):
    dot = '--dot' in argv
    roots = [a for a in argv if not a.startswith('--')] or ['framework', 'lumtoolkit', 'src']
    if '--depends-on' in argv:
        found = depends_mismatches(roots)
        for line in found:
            print(line)
        print(f'{len(found)} "{DEPENDS}" lines wrong' if found else f'every "{DEPENDS}" line right')
        return 1 if found else 0
    modules = read_modules(roots)
    breaches = seam_breaches(roots)
    found = circles(modules)
    if dot:
        print('digraph includes {')
        for module, deps in sorted(modules.items()):
            for dep in sorted(deps):
                print(f'  "{module}" -> "{dep}";')
        print('}')
    else:
        for module, deps in sorted(modules.items()):
            print(f'{module}: {" ".join(sorted(deps))}')
        if found:
            for component in found:
                print(f'circle of {len(component)}: {" ".join(component)}')
        else:
            print('no circles')
        for line in breaches:
            print(f'past the platform interface: {line}')
    return 1 if found or breaches else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
