#!/usr/bin/env python3
"""Tests of tools/include-graph.py on copies of the sources: the tool passes the tree as it is,
and fails on each kind of fault put into a copy: a circle between two modules, an include from
the portable framework into the platform layer past its interface, and a "Depends on" line that
leaves out a module the module includes or names one it does not.

    tests/include_graph_test.py SOURCE_DIR
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else os.getcwd()
TOOL = os.path.join(SOURCE, 'tools', 'include-graph.py')
ROOTS = ('framework', 'lumtoolkit', 'src')


def run(tree, *args):
    result = subprocess.run([sys.executable, TOOL, *args], cwd=tree, capture_output=True, text=True)
    return result.returncode, result.stdout


def add_include(path, header):
    """Put an include of `header` after the file's first include."""
    with open(path, encoding='utf-8') as f:
        lines = f.readlines()
    at = next(i for i, line in enumerate(lines) if line.startswith('#include'))
    lines.insert(at + 1, f'#include "{header}"\n')
    with open(path, 'w', encoding='utf-8') as f:
        f.writelines(lines)


def replace(path, old, new):
    with open(path, encoding='utf-8') as f:
        text = f.read()
    assert old in text, (path, old)
    with open(path, 'w', encoding='utf-8') as f:
        f.write(text.replace(old, new, 1))


class IncludeGraph(unittest.TestCase):
    def setUp(self):
        self.tree = tempfile.mkdtemp(prefix='include-graph-test-')
        for root in ROOTS:
            shutil.copytree(os.path.join(SOURCE, root), os.path.join(self.tree, root))

    def tearDown(self):
        shutil.rmtree(self.tree)

    def path(self, *parts):
        return os.path.join(self.tree, *parts)

    def test_the_sources_as_they_are_pass_both_checks(self):
        status, out = run(self.tree)
        self.assertEqual(status, 0, out)
        self.assertIn('no circles', out)
        status, out = run(self.tree, '--depends-on')
        self.assertEqual(status, 0, out)

    def test_a_circle_of_two_modules_fails_and_is_named(self):
        # sine is a leaf; turtle includes it: sine including turtle closes a circle
        add_include(self.path('framework', 'core', 'sine.cpp'), 'turtle.h')
        status, out = run(self.tree)
        self.assertEqual(status, 1, out)
        self.assertIn('circle of 2: sine turtle', out)

    def test_a_longer_circle_through_the_toolkit_fails(self):
        # the Life engine including the game screen: life <- game
        add_include(self.path('src', 'life.cpp'), 'game.h')
        status, out = run(self.tree)
        self.assertEqual(status, 1, out)
        self.assertIn('circle of', out)
        self.assertIn('game', out.split('circle of', 1)[1])

    def test_the_portable_framework_past_the_platform_interface_fails(self):
        add_include(self.path('framework', 'core', 'file.cpp'), 'wrapper_host.h')
        status, out = run(self.tree)
        self.assertEqual(status, 1, out)
        self.assertIn('past the platform interface: framework/core/file.cpp includes wrapper_host.h', out)

    def test_the_platform_interface_itself_is_allowed(self):
        add_include(self.path('framework', 'core', 'rnd.cpp'), 'wrapper_system.h')
        status, out = run(self.tree)
        self.assertEqual(status, 0, out)

    def test_a_module_left_out_of_its_depends_on_line_fails(self):
        add_include(self.path('framework', 'core', 'rnd.cpp'), 'sine.h')
        status, out = run(self.tree, '--depends-on')
        self.assertEqual(status, 1, out)
        self.assertIn('framework/core/rnd.h: "Depends on:" leaves out sine', out)

    def test_a_module_named_but_not_included_fails(self):
        replace(self.path('framework', 'core', 'turtle.h'), 'Depends on: sine (rotation terms).',
                'Depends on: sine (rotation terms), log.')
        status, out = run(self.tree, '--depends-on')
        self.assertEqual(status, 1, out)
        self.assertIn('names without including log', out)

    def test_names_inside_parentheses_are_explanations_not_modules(self):
        replace(self.path('framework', 'core', 'turtle.h'), 'Depends on: sine (rotation terms).',
                'Depends on: sine (rotation terms, not the log or the atlas).')
        status, out = run(self.tree, '--depends-on')
        self.assertEqual(status, 0, out)

    def test_a_module_without_a_depends_on_line_fails(self):
        replace(self.path('framework', 'core', 'turtle.h'), '// Depends on: sine (rotation terms).\n', '')
        status, out = run(self.tree, '--depends-on')
        self.assertEqual(status, 1, out)
        self.assertIn('turtle: no "Depends on:" line', out)


if __name__ == '__main__':
    unittest.main(verbosity=2)
