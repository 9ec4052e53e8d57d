// Compiles sources of the macOS edition with clang-query and compares their syntax trees with
// source_rules.mjs.
//
//   node check_sources.mjs BUILD [SOURCE...]
//
// BUILD is a configured build folder. Without a SOURCE, it checks every source of
// platform/macos and tests/macos in that build.
import { availableParallelism } from 'node:os';
import { relative, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

import { compiledSources, query } from './clang_query.mjs';
import { declarations, rules } from './source_rules.mjs';

const root = fileURLToPath(new URL('../..', import.meta.url));
const [buildFolder, ...named] = process.argv.slice(2);

// Returns what is only in one of two lists, with "+" for an unexpected and "-" for a missing
// value.
function differences(found, expected) {
  const missing = [...expected];
  const unexpected = found.filter((value) => {
    const index = missing.indexOf(value);
    if (index >= 0) missing.splice(index, 1);
    return index < 0;
  });
  return [...unexpected.map((value) => `+ ${value}`), ...missing.map((value) => `- ${value}`)];
}

// Returns the first line number in the dump of an AST node.
const lineOf = (dump) => `line ${/(?:line|\.\w+):(\d+):/.exec(dump)?.[1]}`;

// Returns the complaints about one source.
async function check(source) {
  const file = relative(root, source);
  const applied = rules.filter(({ onlyIn }) => !onlyIn || onlyIn.test(file));
  // Pairs of a protocol, superclass or category and a selector that it must declare. "own" has the
  // selectors that the source's own classes declare, which need no check.
  const declared = Object.entries(declarations[file] ?? {}).filter(([name]) => name !== 'own')
    .flatMap(([context, selectors]) => selectors.map((selector) => [context, selector]));
  const matchers = declared.map(([context, selector]) =>
    `objcMethodDecl(hasName("${selector}"), hasDeclContext(namedDecl(hasName("${context}"))))`);
  let found;
  try {
    found = await query(buildFolder, source, [...applied.map(({ matcher }) => matcher), ...matchers]);
  } catch (error) {
    return [`${file}: ${error.stderr ?? ''}${error.message}`];
  }
  const ruleComplaints = applied.flatMap(({ name, value = lineOf, expected = {} }, index) => {
    const values = found[index].map((dump) => value(dump)).filter((text) => text !== undefined);
    return differences(values, expected[file] ?? []).map((line) => `${name}: ${line}`);
  });
  const undeclared = declared.filter((_, index) => found[applied.length + index].length === 0)
    .map(([context, selector]) => `${context} declares no method ${selector}`);
  return [...ruleComplaints, ...undeclared].map((complaint) => `${file}: ${complaint}`);
}

const sources = named.length > 0
  ? named.map((source) => resolve(source))
  : compiledSources(buildFolder, ['platform/macos', 'tests/macos']);
if (sources.length === 0) throw new Error('the build compiles no source of the macOS edition');
const complaints = [];
const waiting = [...sources];
await Promise.all(Array.from({ length: availableParallelism() }, async () => {
  for (let source = waiting.pop(); source; source = waiting.pop()) complaints.push(...await check(source));
}));
for (const complaint of complaints) console.error(`check_sources: ${complaint}`);
if (complaints.length > 0) process.exit(1);
console.log(`check_sources: ${sources.length} sources keep ${rules.length} rules`);
