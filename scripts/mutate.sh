#!/usr/bin/env bash
# Mutation testing of the core: changes its sources in small ways, one at a time, and reports
# the changes that no unit test notices. Writes build/mutate/mutants.json and mutants.md.
# Fails when a mutant (a changed source) survives that tools/mutate/equivalents.toml does not list.
#
#   ./scripts/mutate.sh --jobs 2               all mutants, two at once: about 40 minutes
#   ./scripts/mutate.sh --jobs 2 --seconds 120 a random sample of two minutes, two at once
#   ./scripts/mutate.sh --sample 100 --seed 7  100 mutants in another random order
#   ./scripts/mutate.sh update/version.cc      the mutants of one file
#   ./scripts/mutate.sh --help                 all options
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset mutate >/dev/null
cmake --build --preset mutate -- --quiet
# Debian installs the module of libclang only for its own Python.
exec /usr/bin/python3 tools/mutate/mutate.py --root . --build build/mutate "$@"
