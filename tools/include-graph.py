#!/usr/bin/env python3
"""Module include graph of the sources, and the circles in it.

Reads the `#include "..."` lines of every .h/.cpp under the given folders (default: framework,
lumtoolkit, src), joins a header and its source into one module (named after the file without
its extension), and prints each module with the project modules it includes, then every circle:
a set of modules that all reach each other through includes. The exit status is 1 when there is
a circle, so a check can run it.

    tools/include-graph.py                  # the whole tree
    tools/include-graph.py framework        # one folder
    tools/include-graph.py --dot > g.dot    # Graphviz input
"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')
SOURCE_ENDINGS = ('.h', '.cpp')


def read_modules(roots):
    """Map each module name to (folder, set of included project headers' module names)."""
    files = {}
    for root in roots:
        for folder, _dirs, names in os.walk(root):
            for name in names:
                if name.endswith(SOURCE_ENDINGS):
                    files[os.path.join(folder, name)] = os.path.splitext(name)[0]
    known = set(files.values())
    modules = {}
    for path, module in sorted(files.items()):
        deps = modules.setdefault(module, set())
        with open(path, encoding='utf-8') as source:
            for line in source:
                match = INCLUDE.match(line)
                if match:
                    target = os.path.splitext(os.path.basename(match.group(1)))[0]
                    if target in known and target != module:
                        deps.add(target)
    return modules


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
    roots = [a for a in argv if a != '--dot'] or ['framework', 'lumtoolkit', 'src']
    modules = read_modules(roots)
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
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
