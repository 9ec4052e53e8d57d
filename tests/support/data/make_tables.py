#!/usr/bin/env python3
"""Makes the .inc tables of this folder from public test data of other projects.

    make_tables.py FOUNDATION JSON_TEST_SUITE

The arguments are git clones of apple/swift-corelibs-foundation and nst/JSONTestSuite. The
tables hold inputs and expected results; no code is taken.
"""

import pathlib
import plistlib
import subprocess
import sys

FOLDER = pathlib.Path(__file__).parent


def git(clone, *arguments):
    return subprocess.run(['git', '-C', clone, *arguments], check=True, capture_output=True).stdout


def literal(data):
    """Returns bytes as a C++ string literal. Octal escapes end after three digits."""
    text = ''.join(chr(byte) if 0x20 <= byte < 0x7F and byte not in b'"\\' else f'\\{byte:03o}'
                   for byte in data)
    return f'"{text}"'


def write(name, source, clone, licence, columns, rows):
    commit = git(clone, 'rev-parse', 'HEAD').decode().strip()
    header = [f'Made by make_tables.py from {source}', f'at commit {commit}.', licence, columns]
    lines = [f'// {line}\n' for line in header] + [f'{{{row}}},\n' for row in rows]
    # clang-tidy prefers raw string literals to the escapes that literal() makes.
    begin, end = (f'// NOLINT{word}(modernize-raw-string-literal)\n' for word in ('BEGIN', 'END'))
    (FOLDER / name).write_text(''.join([begin, *lines, end]))


def make_url_tables(clone):
    path = 'Tests/Foundation/Resources/NSURLTestData.plist'
    tests = plistlib.loads(git(clone, 'show', 'HEAD:' + path))['ParsingTests']
    tests = [test for test in tests if test['In-URLCreator'] == 'NSURLWithString']
    source = f'{path} of github.com/apple/swift-corelibs-foundation'
    licence = 'Licensed under the Apache License 2.0 with Runtime Library Exception.'

    def text(value):
        return literal(b'' if value in (None, '<null>') else value.encode())

    # Only the keys of these are used: ordered sets of rows.
    urls, extensions = {}, {}
    for test in tests:
        result = test['Out-NSResults']
        columns = [text(test['In-Url']), text(test.get('In-Base'))]
        if isinstance(result, dict):
            port = '-1' if result['port'] == '<null>' else str(result['port'])
            columns += ['true', text(result['absoluteString']), text(result['scheme']),
                        text(result['host']), port, text(result['path'])]
            name = result['lastPathComponent']
            extensions[f"{text(name)}, {text(result['pathExtension'])}"] = None
        else:
            columns += ['false', '""', '""', '""', '-1', '""']
        urls[', '.join(columns)] = None
    write('nsurl_results.inc', source, clone, licence,
          'Text, base URL, is a URL; absoluteString, scheme, host, port or -1, path.', urls)
    write('nsurl_path_extensions.inc', source, clone, licence,
          'lastPathComponent, pathExtension.', extensions)


def make_json_table(clone):
    def contents(path):
        return git(clone, 'show', 'HEAD:' + path)

    paths = git(clone, 'ls-tree', '-r', '--name-only', 'HEAD', 'test_parsing').decode().split()
    tests = {pathlib.Path(path).stem: contents(path) for path in paths}
    # The two longer texts have 100,000 levels of nesting.
    rows = [f'"{name}", {literal(data)}sv' for name, data in tests.items() if len(data) < 2000]
    write('json_test_suite.inc', 'test_parsing of github.com/nst/JSONTestSuite', clone,
          'Copyright (c) 2016 Nicolas Seriot. MIT License.',
          'Name, text. The first letter: y is JSON, n is not, i depends on the parser.', rows)


if len(sys.argv) != 3:
    sys.exit(__doc__)
make_url_tables(sys.argv[1])
make_json_table(sys.argv[2])
