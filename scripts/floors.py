#!/usr/bin/env python3
"""Holds the include lines of src against src/floors.txt. Fails, naming the files, for an include that goes up, a
circle between units (a header and its source are one), and a system header outside src/platform."""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^">]+)[">]', re.M)


def read_floors(text):
    """Returns the floor of each folder or unit that is named, counted from the ground, and the libraries."""
    floor_of, libraries, floors = {}, set(), 0
    for line in text.splitlines():
        names = line.partition('#')[0].split()
        if names[:1] == ['libraries:']:
            libraries.update(names[1:])
        elif names:
            floor_of.update((name, floors) for name in names)
            floors += 1
    return floor_of, libraries


def unit(path):
    return path.rpartition('.')[0]


def floor(path, floor_of):
    """The floor of the longest beginning of the path that is named."""
    place = unit(path)
    while place:
        if place in floor_of:
            return floor_of[place]
        place = place.rpartition('/')[0]
    return None


def circles(below):
    """The groups of units that reach each other (Tarjan's strongly connected components of more than one)."""
    index, low, stack, found = {}, {}, [], []

    def visit(node):
        index[node] = low[node] = len(index)
        stack.append(node)
        for other in below.get(node, ()):
            if other not in index:
                visit(other)
                low[node] = min(low[node], low[other])
            elif other in stack:
                low[node] = min(low[node], index[other])
        if low[node] == index[node]:
            group = stack[stack.index(node):]
            del stack[stack.index(node):]
            if len(group) > 1:
                found.append(sorted(group))

    for node in sorted(below):
        if node not in index:
            visit(node)
    return found


def faults(sources, floor_of, libraries):
    """sources: the text of each file by its path under src. Yields one line for each fault."""
    below = {}
    for path, text in sorted(sources.items()):
        own = floor(path, floor_of)
        if own is None:
            yield f'{path}: stands on no floor'
            continue
        for header in INCLUDE.findall(text):
            target = floor(header, floor_of)
            if target is None:
                known = header in libraries or header.partition('/')[0] in libraries
                if header.endswith('.h') and not known and not path.startswith('platform/'):
                    yield f'{path}: <{header}> is neither of this library nor of those below it'
            elif target > own:
                yield f'{path}: <{header}> lies above it'
            elif unit(header) != unit(path):
                below.setdefault(unit(path), set()).add(unit(header))
    for group in circles(below):
        yield 'circle: ' + ' '.join(group)


def check_itself():
    """A check that finds nothing any more would stay green for ever."""
    sample = {
        'platform/Event.cpp': '#include <pthread.h>\n#include "a/Up.h"\n',
        'a/One.h': '#include <a/Two.h>\n#include <string>\n#include <lib/x.h>\n',
        'a/Two.cpp': '#include <a/One.h>\n#include <unistd.h>\n',
        'b/Down.cpp': '#include <a/One.h>\n',
        'stray.cpp': '',
    }
    found = list(faults(sample, *read_floors('platform # the ground\na\nb\nlibraries: lib')))
    if [fault.partition(':')[0] for fault in found] != ['a/Two.cpp', 'platform/Event.cpp', 'stray.cpp', 'circle']:
        sys.exit(f'floors.py: its own sample gives {found}')


check_itself()
root = pathlib.Path(__file__).resolve().parent.parent / 'src'
files = [path for path in root.rglob('*') if path.suffix in ('.h', '.cpp')]
found = list(faults({path.relative_to(root).as_posix(): path.read_text('utf-8') for path in files},
                    *read_floors((root / 'floors.txt').read_text('utf-8'))))
print('\n'.join(found + [f'{len(files)} files']))
sys.exit(1 if found or not files else 0)
