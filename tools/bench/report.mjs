// Turns the numbers of bench.mjs into the table of a document and a picture:
//
//   node report.mjs RESULTS DOCUMENT PICTURE
//
// In the document everything between the two marks is replaced.

import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname, relative } from 'node:path';
import { fileURLToPath } from 'node:url';

import { median, medianRatio, upToProbe } from './statistics.mjs';
import { drawing } from './chart.mjs';

const BEGIN = '<!-- measured -->';
const END = '<!-- end of what is measured -->';

const rows = [
  ['start, ready server: window on screen, ms', 'ready', 'window'],
  ['first request, ms', 'ready', 'request'],
  ['page asked for, ms', 'ready', 'page'],
  ['load event, ms', 'ready', 'load'],
  ['**finished page on the screen, ms**', 'ready', 'painted'],
  ['start, cold server: finished page, ms', 'cold', 'painted'],
  ['processes', 'ready', 'processes'],
  ['**memory (Pss), MiB**', 'ready', 'memory'],
  ['memory written by its processes alone, MiB', 'ready', 'own'],
  ['**processor time to 5 s after that, ms**', 'ready', 'processor'],
  ['quitting, ms', 'ready', 'quitting'],
];

const whole = (value) => (Number.isFinite(value) ? String(Math.round(value)) : '–');
const ratio = (value) => (Number.isFinite(value) ? value.toFixed(2) : '–');

export function series(found, table, name, field) {
  return (found[table][name] ?? []).map((visit) => (visit === null ? NaN : visit[field] ?? NaN));
}

/// A plain number instead of a visit.
const plain = (found, table, name) => (found[table][name] ?? []).map((value) => value ?? NaN);

function viewersTable(found) {
  const [ours, , tuned] = found.names;
  const lines = [
    `| median of ${found.rounds.starts} rounds | ${found.names.join(' | ')} | ratio |`,
    `|---|${found.names.map(() => '---:|').join('')}---:|`,
  ];
  for (const [label, table, field] of rows) {
    const values = found.names.map((name) => whole(median(series(found, table, name, field))));
    const beside = medianRatio(series(found, table, ours, field), series(found, table, tuned, field));
    lines.push(`| ${label} | ${values.join(' | ')} | ${ratio(beside)} |`);
  }
  if (Object.keys(found.minute).length > 0) {
    const values = found.names.map((name) => median(plain(found, 'minute', name)));
    lines.push(`| **processor time of a quiet minute, ms** | ${values.map(whole).join(' | ')} | ` +
      `${ratio(values[0] / values[2])} |`);
  }
  return lines;
}

/// The targets, each with what was found and whether that meets it.
export function verdicts(found) {
  const [ours, bare, tuned, ...others] = found.names;
  const result = [];
  const say = (target, value, met) =>
    result.push({ target, value, met: /NaN|–/.test(value) ? 'not measured' : met ? 'met' : 'missed' });
  const beside = (other, field, table = 'ready') =>
    medianRatio(series(found, table, ours, field), series(found, table, other, field));
  const middle = (name, field, table = 'ready') => median(series(found, table, name, field));
  const better = (field) => (middle(bare, field) < middle(tuned, field) ? bare : tuned);

  const painted = beside(better('painted'), 'painted');
  say('painted no later than the better bare viewer', `${ratio(painted)} times`, painted <= 1);
  for (const other of others) {
    const share = beside(other, 'painted');
    say(`painted ahead of ${other}`, `${ratio(share)} times`, share < 1);
  }
  const memory = beside(better('memory'), 'memory');
  say('memory at most 1.03 times the better bare viewer', `${ratio(memory)} times`, memory <= 1.03);
  const chromium = others.find((name) => name.startsWith('Chromium'));
  if (chromium) {
    const share = beside(chromium, 'processor');
    say('processor time to 5 s after paint no more than Chromium', `${ratio(share)} times`, share <= 1);
  }
  const minutes = plain(found, 'minute', ours).map((time, round) =>
    time - Math.min(found.minute[bare][round], found.minute[tuned][round]));
  const more = median(minutes);
  say('a quiet minute at most 10 ms above the bare viewer', `${more.toFixed(1)} ms`, more <= 10);

  const node = median(found.names.flatMap((name) => series(found, 'cold', name, 'node')));
  const cold = middle(ours, 'painted', 'cold');
  const room = middle(ours, 'painted') + upToProbe(node);
  say(`a cold start no more than the ready one and Node's ${whole(node)} ms, up to the next probe`,
    `${whole(cold)} ms of ${whole(room)} ms`, cold <= room);

  const least = (label, a, b, limit) => {
    const share = medianRatio(plain(found, 'transfers', b), plain(found, 'transfers', a));
    say(label, `${ratio(share)} times`, share >= limit);
  };
  least('4 GiB in one file at 0.9 times the speed of curl', 'large', 'large, curl', 0.9);
  least('10,000 files of 10 KiB at 0.9 times the speed of curl', 'small', 'small, curl', 0.9);
  const update = medianRatio(plain(found, 'transfers', 'update'),
    plain(found, 'transfers', 'update, tools'));
  say('an update of 200 MiB in 1.1 times download and unzip', `${ratio(update)} times`, update <= 1.1);
  return result;
}

function transfersTable(found) {
  const of = (name) => median(plain(found, 'transfers', name)) / 1000;
  const seconds = (name) => (Number.isFinite(of(name)) ? of(name).toFixed(1) : '–');
  return [
    `| median of ${found.rounds.transfers} rounds, of the update ${found.rounds.updates}; seconds | Orvel OS | command line |`,
    '|---|---:|---:|',
    `| 4 GiB in one file | ${seconds('large')} | ${seconds('large, curl')} |`,
    `| 10,000 files of 10 KiB | ${seconds('small')} | ${seconds('small, curl')}; ` +
      `${seconds('small, curl anew')} with a connection each |`,
    `| update by an archive of 200 MiB | ${seconds('update')} | ${seconds('update, tools')} |`,
  ];
}

function loopsTable(found) {
  const of = (name, field) => whole(median(series(found, 'loops', name, field)));
  return [
    `| the main loop while starting, median of ${found.rounds.loops} rounds, ms | ` +
      'Orvel OS, ready server | Orvel OS, cold server | bare viewer, tuned |',
    '|---|---:|---:|---:|',
    ...[['processor time of the launch', 'launch'], ['longest work after it', 'later'],
      ['waited for child processes', 'waited']].map(
      ([label, field]) => `| ${label} | ${['ready', 'cold', 'bare'].map((name) => of(name, field)).join(' | ')} |`),
  ];
}

export function text(found, picture) {
  const { machine } = found;
  const load = [...found.load].sort((a, b) => a - b);
  const gib = (machine.memory / 1024 ** 3).toFixed(0);
  return [
    `Measured on ${found.date}: ${machine.cores} cores of ${machine.processor}, ${gib} GiB, Linux ` +
      `${machine.kernel}, no graphics card. The load average was ${load[0]} to ${load.at(-1)}, ` +
      `${median(load)} in the middle` +
      (found.niceness ? `; everything measured had a niceness of ${found.niceness}.` : '.') + (found.asRoot ? ' As root, so that Chromium and Qt ' +
      'WebEngine ran without their sandbox; the others had theirs.' : ''),
    '', `![How the viewers compare](${picture})`, '', ...viewersTable(found), '',
    'The ratio is that of Orvel OS to the tuned bare viewer, round by round.', '',
    ...transfersTable(found), '', ...loopsTable(found), '',
    '| target | found | |', '|---|---|---|',
    ...verdicts(found).map(({ target, value, met }) => `| ${target} | ${value} | ${met} |`), '',
    ...(found.failures.length > 0
      ? [`Measurements that failed: ${found.failures.length} (${found.failures.join('; ')}).`, ''] : []),
  ].join('\n');
}

/// Puts a text between the marks of a document.
export function replaceMeasured(document, measured) {
  const begin = document.indexOf(BEGIN);
  const end = document.indexOf(END);
  if (begin < 0 || end < begin) return `${document}${BEGIN}\n${measured}${END}\n`;
  return `${document.slice(0, begin)}${BEGIN}\n${measured}${document.slice(end)}`;
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [results, document, picture] = process.argv.slice(2);
  const found = JSON.parse(readFileSync(results, 'utf8'));
  const old = existsSync(document) ? readFileSync(document, 'utf8') : '';
  writeFileSync(document, replaceMeasured(old, text(found, relative(dirname(document), picture))));
  writeFileSync(picture, drawing(found));
  for (const { target, value, met } of verdicts(found)) console.log(`bench: ${met}: ${target}: ${value}`);
}
