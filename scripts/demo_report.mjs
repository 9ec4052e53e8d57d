// Prints the steps from the start of the server to its stop, as recorded by the demo
// server. Fails and names the first step that is missing or out of order.
//
//   node scripts/demo_report.mjs RECORD [--until-painted]
//
// With --until-painted the last step, the stop of the server, is not expected.

import { readFileSync } from 'node:fs';

const [path, option] = process.argv.slice(2);

function readRecord() {
  try {
    // The server may still be writing the last line.
    return readFileSync(path, 'utf8').split('\n').slice(0, -1).map(JSON.parse);
  } catch (error) {
    if (error.code === 'ENOENT') return [];
    throw error;
  }
}

const isRequest = (method, url) => (line) =>
  line.event === 'request' && line.method === method && line.url.split('?')[0] === url;

const cookie = /(?:^|; )orvelapp=([^;]+)/;

const steps = [
  {
    name: 'the start of the server',
    matches: (line) => line.event === 'listening',
    describe: ({ pid, env }) => `server started: process ${pid}, PORT=${env.PORT}, HOME=${env.HOME}`,
  },
  {
    // The application asks for /api/wie to learn whether the server is ready.
    name: "a probe with the application's key",
    matches: (line) => isRequest('GET', '/api/wie')(line) && Boolean(line.headers['x-orvel-app']),
    describe: ({ headers }, count) =>
      `probes: ${count}, with the header X-ORVEL-App "${headers['x-orvel-app']}"`,
  },
  {
    name: 'a page request with the key as cookie and without the header',
    matches: (line) =>
      isRequest('GET', '/')(line) &&
      cookie.test(line.headers.cookie ?? '') &&
      line.headers['x-orvel-app'] === undefined,
    describe: ({ headers }) =>
      `page request: cookie orvelapp "${cookie.exec(headers.cookie)[1]}", ` +
      `user agent ends in ${headers['user-agent'].split(' ').at(-1)}`,
  },
  {
    name: "the page's report that it is painted",
    matches: isRequest('POST', '/api/getoond'),
    describe: () => 'page painted',
  },
  {
    name: 'the stop of the server',
    matches: (line) => line.event === 'stopped',
    describe: ({ signal }) => `server stopped by ${signal}`,
  },
];

const lines = readRecord();
const wanted = option === '--until-painted' ? steps.slice(0, -1) : steps;
let from = 0;
let start;
for (const { name, matches, describe } of wanted) {
  const index = lines.findIndex((entry, position) => position >= from && matches(entry));
  if (index < 0) {
    console.error(`missing: ${name}`);
    process.exit(1);
  }
  const line = lines[index];
  from = index + 1;
  start ??= Date.parse(line.time);
  const seconds = ((Date.parse(line.time) - start) / 1000).toFixed(2);
  console.log(`  ${seconds.padStart(6)} s  ${describe(line, lines.filter(matches).length)}`);
}
