"""Mutation testing: changes the sources in small ways, one at a time, and reports the changes
that no unit test notices. scripts/mutate.sh builds what this needs and runs it."""

import argparse
import concurrent.futures
import dataclasses
import json
import pathlib
import random
import sys
import time
import tomllib

import mutants
import runner


def parse_arguments():
    parser = argparse.ArgumentParser(prog='scripts/mutate.sh', description=__doc__)
    parser.add_argument('files', nargs='*', help='mutate only these sources')
    parser.add_argument('--sample', type=int, metavar='N', help='run N mutants, chosen at random')
    parser.add_argument('--seconds', type=int, metavar='N',
                        help='run mutants in random order and start none after N seconds')
    parser.add_argument('--seed', type=int, default=1, help='seed of the random order (1)')
    parser.add_argument('--jobs', type=int, default=1, metavar='N', help='run N at once (1)')
    parser.add_argument('--list', action='store_true', help='print the mutants and run none')
    parser.add_argument('--root', type=pathlib.Path, required=True, help='folder of the sources')
    parser.add_argument('--build', type=pathlib.Path, required=True, help='folder of the build')
    parser.add_argument('--target', default='unit_tests', help='test program (unit_tests)')
    parser.add_argument('--folders', nargs='+', default=['app', 'server', 'web', 'update', 'base'],
                        help='folders of the sources to mutate, below the root')
    parser.add_argument('--equivalents', type=pathlib.Path,
                        default=pathlib.Path(__file__).with_name('equivalents.toml'),
                        help='list of accepted equivalent mutants')
    return parser.parse_args()


def sources_of(root, folders):
    return sorted(str(path.relative_to(root)) for folder in folders
                  for path in (root / folder).iterdir() if path.suffix in ('.cc', '.h'))


def read_equivalents(path):
    """Returns the reason of each entry, by file, function, original text, mutated text and
    operator. An entry has either a mutated text, or an operator whose mutants of the original
    text it all accepts."""
    entries = tomllib.loads(path.read_text()).get('equivalent', []) if path.exists() else []
    return {(entry['file'], entry['function'], entry['original'], entry.get('mutated'),
             entry.get('operator')): entry['reason'] for entry in entries}


def run_all(build, chosen, options):
    """Runs mutants and returns the outcome of each that was run."""
    # Only a guard against mutants that never end.
    timeout = max(60, 20 * build.baseline())
    recompiled = {file: build.includers(file) if file.endswith('.h') else {file}
                  for file in {mutant.file for mutant in chosen}}
    deadline = time.monotonic() + options.seconds if options.seconds else float('inf')
    outcomes = {}

    def run(mutant):
        if time.monotonic() > deadline:
            return
        # The suites named after the file, in UpperCamelCase, run first, because they kill most
        # mutants.
        words = pathlib.Path(mutant.file).stem.split('_')
        first_suites = ''.join(word.capitalize() for word in words)
        outcomes[mutant] = build.outcome(mutant, recompiled[mutant.file], first_suites, timeout)
        if len(outcomes) % 20 == 0:
            print(f'mutate: {len(outcomes)} of {len(chosen)} mutants run', file=sys.stderr)

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as executor:
        # list() raises the exception of a failed run.
        list(executor.map(run, chosen))
    return outcomes


def markdown(rows, unmatched):
    """Returns the report as Markdown: a table by file, then each mutant that survived."""
    columns = ['killed', 'timed out', 'equivalent', 'survived', 'not compiled']
    lines = ['| file | ' + ' | '.join(columns) + ' |', '|---' * (len(columns) + 1) + '|']
    files = sorted({row['file'] for row in rows})
    for file in [*files, 'total']:
        counts = [sum(row['outcome'] == column and file in (row['file'], 'total') for row in rows)
                  for column in columns]
        lines.append(f'| {file} | ' + ' | '.join(map(str, counts)) + ' |')
    for row in rows:
        if row['outcome'] == 'survived':
            lines += ['', f"{row['file']}:{row['line']} {row['operator']} in {row['function']}",
                      f"    - {row['original']}", f"    + {row['mutated']}"]
    for entry in unmatched:
        lines += ['', f'No mutant matches this entry of the equivalent mutants: {entry[0]} '
                  f'{entry[1]}', f'    - {entry[2]}', f'    + {entry[3] or entry[4]}']
    return '\n'.join(lines) + '\n'


def main():
    options = parse_arguments()
    root, folder = options.root.resolve(), options.build.resolve()
    build = runner.Build(root, folder, options.target)
    if not build.has_sandbox:
        print('mutate: bubblewrap does not work here; mutants run without a sandbox',
              file=sys.stderr)
    files = sources_of(root, options.folders)
    compiled = [file for file in files if file in build.compilations]
    parser_options = [word for word in build.compilations[compiled[0]]
                      if word.startswith(('-I', '-D', '-std='))]
    found = mutants.find_mutants(root, files, parser_options)
    equivalents = read_equivalents(options.equivalents)
    unmatched = sorted(set(equivalents) - {key for mutant in found for key in mutant.entry_keys()},
                       key=str)
    chosen = [mutant for mutant in found if not options.files or mutant.file in options.files]
    if not chosen:
        sys.exit('mutate: these files have no mutants; name sources as in update/version.cc')
    if options.list:
        for mutant in chosen:
            print(f'{mutant.file}:{mutant.line} {mutant.operator} in {mutant.function}\n'
                  f'    - {mutant.original}\n    + {mutant.mutated}')
        return 0
    if options.sample or options.seconds:
        random.Random(options.seed).shuffle(chosen)
        chosen = chosen[:options.sample]

    build.precompile_system_headers(compiled)
    outcomes = run_all(build, chosen, options)
    rows = []
    for mutant, outcome in sorted(outcomes.items(), key=lambda item: dataclasses.astuple(item[0])):
        row = {name: getattr(mutant, name)
               for name in ('file', 'line', 'function', 'operator', 'original', 'mutated')}
        reason = next((equivalents[key] for key in mutant.entry_keys() if key in equivalents), None)
        if outcome == 'survived' and reason:
            outcome, row['reason'] = 'equivalent', reason
        rows.append({**row, 'outcome': outcome})
    report = markdown(rows, unmatched)
    (folder / 'mutants.json').write_text(json.dumps(rows, indent=2, ensure_ascii=False) + '\n')
    (folder / 'mutants.md').write_text(report)
    print(report, end='')
    return 1 if any(row['outcome'] == 'survived' for row in rows) else 0


if __name__ == '__main__':
    sys.exit(main())
