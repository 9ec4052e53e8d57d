"""Compiles a mutant, links it into the test program and runs the tests on it."""

import json
import os
import pathlib
import shlex
import shutil
import signal
import subprocess
import tempfile
import time

# A mutant that allocates or writes without end fails early.
LIMITS = ['prlimit', f'--as={4 << 30}', f'--fsize={256 << 20}', '--core=0']
# A mutant may well cause a warning, such as one about a variable that it no longer uses. -O0
# compiles fastest.
OPTIONS = ['-w', '-O0']


class Build:
    """A build of the test program by CMake and Ninja."""

    def __init__(self, root, folder, target):
        self.root = root
        self.folder = folder
        self.compilations = {}
        self.objects = {}
        for entry in json.loads((folder / 'compile_commands.json').read_text()):
            source = pathlib.Path(entry['file'])
            if source.is_relative_to(root):
                # A source that several targets compile is taken from the first.
                name = str(source.relative_to(root))
                if name not in self.compilations:
                    self.compilations[name], self.objects[name] = compiler_call(entry)
        commands = subprocess.run(['ninja', '-C', folder, '-t', 'commands', target], check=True,
                                  capture_output=True, text=True).stdout
        link = commands.splitlines()[-1]
        # CMake writes ": && LINKER ... && :".
        self.link = shlex.split(link.removeprefix(': && ').removesuffix(' && :'))
        self.program = folder / self.link[self.link.index('-o') + 1]
        self.include_option = []
        # Only tells whether bwrap works on this machine; any folder serves.
        self.has_sandbox = self.run([*sandbox('/usr'), 'true'])
        # The mutant's object comes first on the command line, so the linker uses its functions.
        # If the mutant lacks a symbol that another object needs, such as a template instance, the
        # linker also takes the original object from its library. Without this option it would then
        # reject the functions that both objects define.
        self.link.append('-Wl,--allow-multiple-definition')
        if shutil.which('ld.lld'):
            self.link.append('-fuse-ld=lld')

    def includers(self, header):
        """Returns the sources that include a header."""
        found = set()
        dependencies = subprocess.run(['ninja', '-C', self.folder, '-t', 'deps'], check=True,
                                      capture_output=True, text=True).stdout
        # The lines of a block: the object, its source, the headers.
        for block in dependencies.split('\n\n'):
            files = [line.strip() for line in block.splitlines()[1:]]
            files = [os.path.normpath(self.folder / file) for file in files]
            if str(self.root / header) in files:
                found.add(str(pathlib.Path(files[0]).relative_to(self.root)))
        return found

    def precompile_system_headers(self, files):
        """Precompiles the headers of the system, which halves the time of a compilation."""
        header = self.folder / 'system_headers.h'
        lines = {line for file in files for line in (self.root / file).read_text().splitlines()}
        includes = sorted(line for line in lines if line.startswith('#include <'))
        header.write_text('\n'.join(includes))
        compiler, *options = self.compilations[files[0]]
        self.run([compiler, *options, *OPTIONS, '-x', 'c++-header', header, '-o', f'{header}.gch'])
        # The compiler then reads the .gch file beside the header.
        self.include_option = ['-include', header]

    def outcome(self, mutant, sources, suites, timeout):
        """Returns what happens to a mutant: 'not compiled', 'killed', 'timed out' or 'survived'.

        `sources` are the sources to compile anew. The tests whose names begin with `suites`
        run first, because they probably kill the mutant.
        """
        with tempfile.TemporaryDirectory(prefix='mutant-', dir=self.folder) as name:
            folder = pathlib.Path(name)
            mutated = folder / mutant.file
            mutated.parent.mkdir(parents=True)
            original = (self.root / mutant.file).read_bytes()
            mutated.write_bytes(original[:mutant.start] + mutant.replacement
                                + original[mutant.end:])
            objects = []
            for source in sources:
                # The folder comes first on the include path, so a mutated header is found in it.
                file = mutated if source == mutant.file else self.root / source
                objects.append(folder / f'{len(objects)}.o')
                compiler, *options = self.compilations[source]
                if not self.run([compiler, f'-I{folder}', *options, *OPTIONS, *self.include_option,
                                 '-o', objects[-1], '-c', file]):
                    return 'not compiled'
            program = folder / 'tests'
            output = self.link.index('-o')
            # A changed header also changes test sources, whose original objects are on the command
            # line. Linked as well, they would register each test twice.
            originals = {self.objects[source] for source in sources}
            inputs = [word for word in self.link[1:output] if word not in originals]
            rest = [word for word in self.link[output + 2:] if word not in originals]
            if not self.run([self.link[0], *objects, *inputs, '-o', program, *rest]):
                return 'not compiled'
            for suite in [f'{suites}*', '*']:
                result = self.test(program, suite, timeout)
                if result != 'passed':
                    return result
            return 'survived'

    def run(self, command):
        """Runs a command and discards its output. Returns whether it succeeded."""
        return subprocess.run(command, cwd=self.folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def test(self, program, suites, timeout):
        """Runs the tests of a program that match `suites`, a filter of GoogleTest, for at most
        `timeout` seconds. Returns 'passed', 'killed' or 'timed out'."""
        process = subprocess.Popen(
            [*(sandbox(program.parent) if self.has_sandbox else []), *LIMITS, program,
             f'--gtest_filter={suites}', '--gtest_fail_fast', '--gtest_brief=1'],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)
        try:
            return 'passed' if process.wait(timeout) == 0 else 'killed'
        except subprocess.TimeoutExpired:
            # Also ends the processes that the tests started.
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return 'timed out'

    def baseline(self):
        """Returns how long the tests take on the unchanged sources, in seconds.

        Raises ValueError if they fail.
        """
        start = time.monotonic()
        result = self.test(self.program, '*', 600)
        if result != 'passed':
            raise ValueError(f'the tests do not pass on the unchanged sources: {result}')
        return time.monotonic() - start


def compiler_call(entry):
    """Returns the command of a compilation up to its "-o", without ccache, and the path of its
    output. CMake writes the source after the output."""
    words = shlex.split(entry['command'])
    if pathlib.Path(words[0]).name == 'ccache':
        words = words[1:]
    output = words.index('-o')
    return words[:output], words[output + 1]


def sandbox(folder):
    """Returns the words to put before a command, so that a program in `folder` can harm nothing.

    A mutant may remove other folders and end other processes than the original. The program still
    sees `folder` when that is below /tmp, which is empty in the sandbox.
    """
    return ['bwrap', '--die-with-parent', '--unshare-pid', '--unshare-net', '--ro-bind', '/', '/',
            '--dev', '/dev', '--proc', '/proc', '--tmpfs', '/tmp', '--setenv', 'HOME', '/tmp',
            '--ro-bind', folder, folder]
