#!/usr/bin/env python3
"""Compiles the C++ and CMake samples of the documents against the installed package, and runs them and the shell's.

  scripts/samples.py --package <where it is installed> --devserver <program> --work <folder to use up>

A comment in front of a sample, which no reader sees, says how it is tested:
  <!-- not run: why -->      C++ is compiled all the same
  <!-- around: ... -->       lines around the sample, which stands where a line holds "..." alone
A sample with a main() is a program, any other a function's body; it works when it ends with 0. It runs in an empty
folder, beside a stand-in platform whose port is in $PLATFORM_PORT."""
import argparse
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SAMPLE = re.compile(r'(?:^<!-- (not run|around):(.*?)-->\n+)?^```(\w*)\n(.*?)^```$', re.M | re.S)
LIMIT = 60  # seconds for a sample to run


class Sample:
    def __init__(self, document, text, match):
        mark, words, self.language, self.code = match.groups()
        line = text.count('\n', 0, match.start(3)) + 1
        self.place = f'{document}:{line}'
        self.name = re.sub(r'\W', '_', self.place)
        self.runs = mark != 'not run'
        self.is_program = 'int main(' in self.code
        if self.language == 'cpp':
            self.code = f'#line {line + 1} "{document}"\n{self.code}'
        if mark == 'around':
            before, after = re.split(r'^\.\.\.$', words, flags=re.M)
            self.code = before + self.code + after


def samples():
    found = []
    for document in subprocess.check_output(['git', 'ls-files', '*.md'], cwd=ROOT, text=True).split():
        text = (ROOT / document).read_text('utf-8')
        found += [Sample(document, text, match) for match in SAMPLE.finditer(text)]
        if len(re.findall('^```', text, re.M)) != 2 * len(SAMPLE.findall(text)):
            sys.exit(f'{document}: a sample that nothing closes')
    return found


def bodies(cpp):
    """One program of all samples that are a function's body; its argument says which one runs."""
    includes, functions, calls = {'#include <vlox_common.h>\n'}, '', ''
    for sample in cpp:
        includes.update(re.findall(r'^#include .*\n', sample.code, re.M))
        code = re.sub(r'^#include .*\n', '', sample.code, flags=re.M)
        functions += f'static int {sample.name}() {{\n{code}\nreturn 0;\n}}\n'
        calls += f'if (argv[1] == std::string("{sample.name}")) return {sample.name}();\n'
    return f'{"".join(sorted(includes))}\n{functions}int main(int, char** argv) {{\n{calls}return 2;\n}}\n'


def build(work, package, found):
    cpp = [sample for sample in found if sample.language == 'cpp']
    project = ('cmake_minimum_required(VERSION 3.23)\nproject(samples LANGUAGES CXX)\n'
               'set(CMAKE_CXX_STANDARD 17)\nadd_executable(my_module bodies.cpp)\n')
    project += ''.join(sample.code for sample in found if sample.language == 'cmake' and sample.runs)
    (work / 'bodies.cpp').write_text(bodies([sample for sample in cpp if not sample.is_program]), 'utf-8')
    for sample in cpp:
        if sample.is_program:
            (work / f'{sample.name}.cpp').write_text(sample.code, 'utf-8')
            project += (f'add_executable({sample.name} {sample.name}.cpp)\n'
                        f'target_link_libraries({sample.name} PRIVATE vlox::common)\n')
    (work / 'CMakeLists.txt').write_text(project, 'utf-8')
    for command in (['cmake', '-S', work, '-B', work / 'build', '-D', f'CMAKE_PREFIX_PATH={package}'],
                    ['cmake', '--build', work / 'build', '-j2']):
        if subprocess.run(command, stdout=subprocess.DEVNULL).returncode:
            sys.exit('the samples don\'t compile')


def works(sample, work, environment):
    if sample.language == 'sh':
        command = ['bash', '-euo', 'pipefail', '-c', sample.code]
    elif sample.is_program:
        command = [work / 'build' / sample.name]
    else:
        command = [work / 'build' / 'my_module', sample.name]
    folder = work / 'runs' / sample.name
    folder.mkdir(parents=True)
    process = subprocess.Popen(command, cwd=folder, env=environment, start_new_session=True, text=True,
                               stdin=subprocess.DEVNULL, stdout=open(folder / 'output', 'w'),
                               stderr=subprocess.STDOUT)
    try:
        ended = process.wait(LIMIT)
    except subprocess.TimeoutExpired:
        ended = f'no end within {LIMIT} s'
    try:  # what a shell's sample leaves in the background
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
    if ended != 0:
        print(f'{sample.place} fails ({ended}):\n{(folder / "output").read_text(errors="replace")}')
    return ended == 0


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ('package', 'devserver', 'work'):
        options.add_argument(f'--{name}', required=True, type=pathlib.Path)
    told = options.parse_args()
    work = told.work.resolve()
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    found = samples()
    build(work, told.package.resolve(), found)
    server = subprocess.Popen([told.devserver, '--stop-on-eof'], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    programs = f'{told.devserver.resolve().parent}:{told.package.resolve() / "bin"}'
    environment = dict(os.environ, XDG_CONFIG_HOME=str(work / 'config'), PATH=f'{programs}:{os.environ["PATH"]}',
                       PLATFORM_PORT=str(json.loads(server.stdout.readline())['port']))
    run = [sample for sample in found if sample.runs and sample.language in ('cpp', 'sh')]
    failed = [sample for sample in run if not works(sample, work, environment)]
    server.stdin.close()
    server.wait()
    print(f'{len(found)} samples, {len(run)} run, {len(failed)} failed')
    return 1 if failed or not run else 0


sys.exit(main())
