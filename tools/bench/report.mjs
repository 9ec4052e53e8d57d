// Prints the results of bench.mjs as tables in Markdown, or replaces the tables of a document.
//
//   node report.mjs RESULTS [DOCUMENT]
//
// A viewer is a program that shows the page of the benchmark. The first three are the application,
// the bare viewer and the tuned one. docs/performance.md explains them and the terms of the tables.

import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

/// The rows of the table that compares the viewers: label, and the table and field of the results.
/// The table `minute` has numbers without fields.
const viewerRows = [
  ['start, ready server: window on screen, ms', 'ready', 'window'],
  ['first request, ms', 'ready', 'request'],
  ['page request, ms', 'ready', 'page'],
  ['load event, ms', 'ready', 'load'],
  ['**finished page on the screen, ms**', 'ready', 'painted'],
  ['start, cold server: finished page, ms', 'cold', 'painted'],
  ['processes', 'ready', 'processes'],
  ['**memory (Pss), MiB**', 'ready', 'memory'],
  ['private dirty memory, MiB', 'ready', 'privateDirty'],
  ['**processor time to 5 s after the finished page, ms**', 'ready', 'processor'],
  ['quitting, ms', 'ready', 'quitting'],
  ['**processor time of a quiet minute, ms**', 'minute'],
];

/// Returns the median of the finite values.
export function median(values) {
  const sorted = values.filter(Number.isFinite).sort((a, b) => a - b);
  // Both are the middle one if the number of values is odd.
  const [low, high] = [(sorted.length - 1) >> 1, sorted.length >> 1];
  return (sorted[low] + sorted[high]) / 2;
}

/// Returns the median of the ratios `a / b` of each round. Other load on the machine slows down
/// both measurements of a round, so it hardly changes their ratio.
export const medianRatio = (a, b) => median(a.map((value, round) => value / b[round]));

/// Returns the values of all rounds, or this field of each value. A failed measurement, which is
/// null in the results, is NaN.
const series = (results, table, name, field) => (results[table][name] ?? [])
  .map((value) => (field === undefined ? value : value?.[field]) ?? NaN);

const format = (value, digits = 0) => (Number.isFinite(value) ? value.toFixed(digits) : '–');
const line = (...cells) => `| ${cells.join(' | ')} |`;

function viewersTable(results) {
  const { names } = results;
  return [
    line(`median of ${results.rounds.starts} rounds`, ...names, 'ratio'),
    `|---|${'---:|'.repeat(names.length + 1)}`,
    ...viewerRows.filter(([, table]) => Object.keys(results[table]).length > 0)
      .map(([label, table, field]) => {
        const values = names.map((name) => series(results, table, name, field));
        const [ours, , tuned] = values;
        return line(label, ...values.map((all) => format(median(all))),
          format(medianRatio(ours, tuned), 2));
      }),
    '', 'The ratio is that of Orvel OS to the tuned bare viewer, round by round.',
  ];
}

/// Returns the time of the verification in this update, divided by the time of its download. The
/// verification is how much longer a build with a public key takes from the end of the download
/// until it begins to unpack than a build without one.
function verificationRatio(results, transfer) {
  const [withoutKey, withKey] = ['update', transfer]
    .map((name) => series(results, 'transfers', name, 'beforeUnpacking'));
  return medianRatio(withKey.map((time, round) => time - withoutKey[round]),
    series(results, 'transfers', transfer, 'download'));
}

/// Returns the targets, each with the measured value and whether it is met.
export function checkTargets(results) {
  const [ours, bare, tuned, ...others] = results.names;
  const medianOf = (name, field, table = 'ready') => median(series(results, table, name, field));
  const betterBare = (field) => (medianOf(bare, field) < medianOf(tuned, field) ? bare : tuned);
  const ratioTo = (other, field) =>
    medianRatio(series(results, 'ready', ours, field), series(results, 'ready', other, field));
  const transferRatio = (name, other) => medianRatio(
    ...[name, other].map((each) => series(results, 'transfers', each, 'time')));
  const target = (name, number, isMet, value = `${format(number, 2)} times`) => ({
    target: name,
    value,
    result: Number.isFinite(number) ? (isMet(number) ? 'met' : 'missed') : 'not measured',
  });

  const [minutes, bareMinutes, tunedMinutes] =
    [ours, bare, tuned].map((name) => series(results, 'minute', name));
  const extraMinute = median(minutes.map((time, round) =>
    time - Math.min(bareMinutes[round], tunedMinutes[round])));
  const nodeStart = median(
    results.names.flatMap((name) => series(results, 'cold', name, 'serverStart')));
  const cold = medianOf(ours, 'painted', 'cold');
  // The application asks every 250 ms whether its server is ready (a probe), so it notices a
  // started server only at the next probe.
  const maxCold = medianOf(ours, 'painted') + Math.ceil(nodeStart / 250) * 250;
  return [
    target('painted no later than the better bare viewer',
      ratioTo(betterBare('painted'), 'painted'), (ratio) => ratio <= 1),
    ...others.map((other) =>
      target(`painted ahead of ${other}`, ratioTo(other, 'painted'), (ratio) => ratio < 1)),
    target('memory at most 1.03 times the better bare viewer',
      ratioTo(betterBare('memory'), 'memory'), (ratio) => ratio <= 1.03),
    ...others.filter((name) => name.startsWith('Chromium')).map((chromium) =>
      target('processor time to 5 s after paint no more than Chromium',
        ratioTo(chromium, 'processor'), (ratio) => ratio <= 1)),
    target('a quiet minute at most 10 ms above the bare viewer',
      extraMinute, (extra) => extra <= 10, `${format(extraMinute, 1)} ms`),
    target(`a cold start no later than the ready one plus the start of Node (${format(nodeStart)} ms), ` +
      'rounded up to the next probe',
    maxCold - cold, (room) => room >= 0, `${format(cold)} ms of ${format(maxCold)} ms`),
    target('4 GiB in one file at 0.9 times the speed of curl',
      transferRatio('large, curl', 'large'), (ratio) => ratio >= 0.9),
    target('10,000 files of 10 KiB at 0.9 times the speed of curl',
      transferRatio('small, curl', 'small'), (ratio) => ratio >= 0.9),
    target('an update of 200 MiB in 1.1 times download and unzip',
      transferRatio('update', 'update, tools'), (ratio) => ratio <= 1.1),
    target('verifying that update in 0.1 times its download at 500 Mbit/s',
      verificationRatio(results, 'update, verified, 500 Mbit/s'), (ratio) => ratio <= 0.1),
  ];
}

/// "command line" is curl, for the update followed by unzip.
function transfersTable(results) {
  const seconds = (name) => format(median(series(results, 'transfers', name, 'time')) / 1000, 1);
  const { transfers, updates } = results.rounds;
  return [
    line(`median of ${transfers} rounds, of the update ${updates}; seconds`, 'Orvel OS', 'command line'),
    '|---|---:|---:|',
    line('4 GiB in one file', seconds('large'), seconds('large, curl')),
    line('10,000 files of 10 KiB', seconds('small'), `${seconds('small, curl')}; ` +
      `${seconds('small, curl, new connections')} with a connection each`),
    line('update by an archive of 200 MiB', seconds('update'), seconds('update, tools')),
  ];
}

function updatesTable(results) {
  const verifiedUpdates = ['update, verified', 'update, verified, 500 Mbit/s'];
  const row = (label, field) => line(label, ...['update', ...verifiedUpdates]
    .map((name) => format(median(series(results, 'transfers', name, field)))));
  return [
    line(`update by an archive of 200 MiB, median of ${results.rounds.updates} rounds`,
      'build without a public key', 'build with one', 'build with one, download at 500 Mbit/s'),
    '|---|---:|---:|---:|',
    row('download, ms', 'download'),
    row('from its end until unpacking begins, ms', 'beforeUnpacking'),
    line('verification, divided by the download', '–',
      ...verifiedUpdates.map((name) => format(verificationRatio(results, name), 2))),
    row('whole update, ms', 'time'),
    row('peak memory of the main process, MiB', 'memory'),
  ];
}

function mainLoopTable(results) {
  return [
    line(`the main loop while starting, median of ${results.rounds.mainLoops} rounds, ms`,
      'Orvel OS, ready server', 'Orvel OS, cold server', 'bare viewer, tuned'),
    '|---|---:|---:|---:|',
    ...[['processor time of the launch', 'launch'], ['longest stall after it', 'later'],
      ['waited for child processes', 'waited']].map(([label, field]) => line(label,
      ...['ready', 'cold', 'tuned'].map((name) =>
        format(median(series(results, 'mainLoops', name, field)))))),
  ];
}

/// Returns the tables of what has been measured, and the targets, as Markdown.
export function formatTables(results) {
  const { machine, failures, rounds } = results;
  const tables = [
    [rounds.starts, viewersTable], [rounds.transfers + rounds.updates, transfersTable],
    [rounds.updates, updatesTable], [rounds.mainLoops, mainLoopTable],
  ].filter(([count]) => count > 0).flatMap(([, table]) => [...table(results), '']);
  const load = [...results.loadAverages].sort((a, b) => a - b);
  return [
    `Measured on ${results.date}: ${machine.cores} cores of ${machine.processor}, ` +
      `${format(machine.memory / 1024 ** 3)} GiB, Linux ${machine.kernel}. The load average ` +
      `was ${load[0]} to ${load.at(-1)}, ${median(load)} in the middle` +
      (results.niceness ? `; everything measured had a niceness of ${results.niceness}.` : '.') +
      (results.asRoot ? ' As root, so that Chromium and Qt WebEngine ran without their sandbox; ' +
        'the others had theirs.' : ''),
    '', ...tables,
    '| target | found | |', '|---|---|---|',
    ...checkTargets(results).map(({ target, value, result }) => line(target, value, result)), '',
    ...(failures.length > 0
      ? [`Failed measurements: ${failures.length} (${failures.join('; ')}).`, ''] : []),
  ].join('\n');
}

/// Replaces the text between the two markers of a document.
export function replaceTables(document, tables) {
  const place = /(?<=<!-- results -->\n).*(?=<!-- end of results -->)/s;
  if (!place.test(document)) throw new Error('the document has no place for the tables');
  return document.replace(place, () => tables);
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [resultsFile, document] = process.argv.slice(2);
  const tables = formatTables(JSON.parse(readFileSync(resultsFile, 'utf8')));
  if (document) writeFileSync(document, replaceTables(readFileSync(document, 'utf8'), tables));
  else console.log(tables);
}
