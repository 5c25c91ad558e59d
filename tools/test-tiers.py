#!/usr/bin/env python3
"""Checks that every test CTest knows in a build folder carries exactly one tier label.

The tiers (tests/CMakeLists.txt, tests/README.md): unit, platform, e2e, browser, package, fuzz.
Reads `ctest --show-only=json-v1` in the build folder; a test whose executable is not built yet
(CTest lists it as NAME_NOT_BUILT, without properties) is left out, as `make check` builds the
unit tier alone. Prints each offending test and exits 1 when there is one.

    tools/test-tiers.py BUILD_FOLDER [CTEST]
"""
import json
import subprocess
import sys

TIERS = {'unit', 'platform', 'e2e', 'browser', 'package', 'fuzz'}


def labels_of(test):
    for prop in test.get('properties', []):
        if prop.get('name') == 'LABELS':
            return prop.get('value', [])
    return []


def main(argv):
    if not argv or len(argv) > 2:
        print(__doc__.strip().splitlines()[-1].strip(), file=sys.stderr)
        return 2
    ctest = argv[1] if len(argv) > 1 else 'ctest'
    listing = subprocess.run([ctest, '--show-only=json-v1'], cwd=argv[0], capture_output=True,
                             text=True, check=True)
    tests = json.loads(listing.stdout)['tests']
    bad = 0
    counted = 0
    for test in tests:
        if test['name'].endswith('_NOT_BUILT'):
            continue
        counted += 1
        tiers = [label for label in labels_of(test) if label in TIERS]
        if len(tiers) != 1:
            print(f'{test["name"]}: tiers {tiers or "none"} (labels {labels_of(test)})')
            bad += 1
    print(f'{counted} tests, {bad} without exactly one tier')
    return 1 if bad else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
