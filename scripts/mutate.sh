#!/usr/bin/env bash
# Plants one fault at a time in src and tells which of them no test sees.
#   scripts/mutate.sh [--seed N] [--count N] [PATH...]
#     --seed N    the same faults again, as long as src is the same (1)
#     --count N   how many faults, spread over the folders (20)
#     PATH        only in these folders or files (src)
# It works on a copy in build/mutate, which is kept for the next time. The suites that speak of a fault's file run first,
# then all others; the first test that fails ends the run.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
case ${1:-} in --help | -h) sed -n '2,/^set/{/^# /s/^# //p}' scripts/mutate.sh && exit ;; esac
vlox_setup
vlox_use_ccache
exec python3 - "$@" <<'PYTHON'
import argparse
import collections
import pathlib
import random
import re
import shutil
import subprocess
import sys
TREE, BUILD = pathlib.Path('build/mutate/tree'), pathlib.Path('build/mutate/build')
NOT_HERE = '^(demo|package|documents)|DemoTest'  # need an installation, or minutes

# Each kind of fault: what it looks for in a line of code, and what stands there instead.
KINDS = {
    'comparison turned': [(' == ', ' != '), (' != ', ' == '), (' < ', ' > '), (' <= ', ' > '), (' >= ', ' < ')],
    'boundary moved': [(' < ', ' <= '), (' <= ', ' < '), (' > ', ' >= '), (' >= ', ' > ')],
    'condition negated': [(r'\b(if|while) \((.+)\) \{$', r'\1 (!(\2)) {'), (' && ', ' || '), (r' \|\| ', ' && ')],
    'constant changed': [(r'(?<![\w.\'])(\d+)(?![\w.\'])', lambda found: str(int(found[1]) + 1)),
                         (r'\btrue\b', 'false'), (r'\bfalse\b', 'true')],
    'call left out': [(r'^( +)[\w.:>-]+\([^;]*\);$', r'\1;')],
    'lock or wipe left out': [(r'^( +)(const )?[\w:]*(Guard|ScopedLock|lock_guard<.*>|unique_lock<.*>) \w+[({].*;$', r'\1;'),
                              (r'^( +).*([Ww]ipe|cleanse)\w*\(.*\);$', r'\1;')],
}


def code_lines(path):
    """The lines that hold code and no text, with their numbers."""
    for number, line in enumerate(path.read_text('utf-8').splitlines()):
        if not re.match(r'\s*(#|//|/?\*|using |namespace |template|static_assert)', line) and '"' not in line:
            yield number, line.partition('  //')[0].partition(' ///')[0].rstrip()


def faults(paths):
    """All that could be planted: by folder, then by kind, a list of (file, line number, line, line with the fault)."""
    found = collections.defaultdict(lambda: collections.defaultdict(list))
    for path in paths:
        for number, line in code_lines(path):
            for kind, rules in KINDS.items():
                for pattern, instead in rules:
                    for match in re.finditer(pattern, line):
                        changed = line[:match.start()] + re.sub(pattern, instead, match[0]) + line[match.end():]
                        if changed != line and '<<' not in match[0] and 'operator' not in line:
                            found[path.parent][kind].append((path, number, line, changed))
    return found


def draw(found, seed):
    """Goes round the folders, and draws a kind and then a place in each."""
    source = random.Random(seed)
    while any(found.values()):
        for folder in sorted(found):
            if found[folder]:
                kind = source.choice(sorted(found[folder]))
                places = found[folder][kind]
                yield kind, places.pop(source.randrange(len(places)))
                if not places:
                    del found[folder][kind]


def suites_for(path):
    """The suites whose files speak of the unit, or else of what includes it, or of what includes that."""
    texts = {test: test.read_text('utf-8') for test in pathlib.Path('tests').rglob('*.cpp')}
    sources = {unit: unit.read_text('utf-8') for unit in pathlib.Path('src').rglob('*') if unit.suffix in ('.h', '.cpp')}
    names, seen = {path.stem}, set()
    while names:
        speaking = [text for text in texts.values() if any(re.search(rf'\b{name}\b', text) for name in names)]
        if speaking:
            return sorted({suite for text in speaking for suite in re.findall(r'^TEST(?:_[FP])?\((\w+)', text, re.M)})
        seen |= names
        names = {unit.stem for unit, text in sources.items()
                 if any(f'/{name}.h' in text for name in names)} - seen
    return []


def run(*command):
    done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, errors='replace')
    return done.returncode == 0, done.stdout


def refresh_tree():
    """Only what has changed is written, so that the build goes on from the last time."""
    names = run('git', 'ls-files', '--cached', '--others', '--exclude-standard')[1].splitlines()
    wanted = {TREE / name: pathlib.Path(name) for name in names if pathlib.Path(name).is_file()}
    for gone in {file for file in TREE.rglob('*') if file.is_file()} - set(wanted):
        gone.unlink()
    for copy, file in wanted.items():
        copy.parent.mkdir(parents=True, exist_ok=True)
        if not copy.exists() or copy.read_bytes() != file.read_bytes():
            shutil.copy(file, copy)


def first_failure(*selection):
    """The name of a test that fails, or None. A test that hangs is ended, and fails."""
    good, output = run('ctest', '--test-dir', str(BUILD), '-j4', '--timeout', '60', '--stop-on-failure', '-E', NOT_HERE,
                       *selection)
    failed = re.search(r'Test +#\d+: (\S+) \.+\*\*\*', output)
    return None if good else failed[1] if failed else output[-500:]


def seen_by(path):
    """Builds and tests what stands in the tree. Gives what has seen a fault, None for nothing, '' for no program."""
    good, output = run('cmake', '--build', str(BUILD))
    if not good:  # a program that can't even list its tests is a fault found
        return '' if 'error: ' in output else 'the start of the program'
    suites = suites_for(path)
    return (suites and first_failure('-R', f'^({"|".join(suites)})\\.')) or first_failure()


options = argparse.ArgumentParser(prog='scripts/mutate.sh')
options.add_argument('--seed', type=int, default=1)
options.add_argument('--count', type=int, default=20)
options.add_argument('paths', nargs='*', type=pathlib.Path, default=[pathlib.Path('src')])
told = options.parse_args()
candidates = [file for path in told.paths for file in ([path] if path.is_file() else path.rglob('*.cpp'))]
candidates = sorted(file for file in candidates if 'windows' not in file.parts and file.parts[0] == 'src')
refresh_tree()
run('cmake', '-S', str(TREE), '-B', str(BUILD), '-G', 'Ninja', '-D', 'CMAKE_BUILD_TYPE=None', '-D', 'CMAKE_CXX_FLAGS=-O1')
failed = first_failure() if run('cmake', '--build', str(BUILD))[0] else 'the build'
if failed:
    sys.exit(f'without a fault there fails: {failed}')
outcomes = collections.Counter()
for kind, (path, number, line, changed) in draw(faults(candidates), told.seed):
    if outcomes['found'] + outcomes['SURVIVED'] == told.count:
        break
    planted = TREE / path
    original = planted.read_text('utf-8')
    lines = original.splitlines(keepends=True)
    planted.write_text(''.join(lines[:number] + [changed + '\n'] + lines[number + 1:]), 'utf-8')
    seen = seen_by(path)
    planted.write_text(original, 'utf-8')
    outcome = 'SURVIVED' if seen is None else 'found by ' + seen if seen else 'no program'
    outcomes[outcome.split()[0]] += 1
    if seen != '':
        print(f'{path}:{number + 1}  {kind}, {outcome}\n    {line.strip()}\n    {changed.strip()}', flush=True)
print(f'seed {told.seed}:', ', '.join(f'{number} {outcome}' for outcome, number in sorted(outcomes.items())))
PYTHON
