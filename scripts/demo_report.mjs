// Tells, from the demo server's record, what happened from the start of the
// server to its stop. Fails, naming it, when a step is missing or out of turn.
//
//   node scripts/demo_report.mjs RECORD [--until-painted]

import { readFileSync } from 'node:fs';

const [path, option] = process.argv.slice(2);

function recorded() {
  try {
    // The last piece may still be in the writing.
    return readFileSync(path, 'utf8').split('\n').slice(0, -1).map(JSON.parse);
  } catch (error) {
    if (error.code === 'ENOENT') return [];
    throw error;
  }
}

const asks = (method, url) => (line) =>
  line.event === 'request' && line.method === method && line.url.split('?')[0] === url;

const cookie = /(?:^|; )orvelapp=([^;]+)/;

const steps = [
  {
    name: 'the start of the server',
    is: (line) => line.event === 'listening',
    tell: ({ pid, env }) => `server started: process ${pid}, PORT=${env.PORT}, HOME=${env.HOME}`,
  },
  {
    name: "a probe with the application's key",
    is: (line) => asks('GET', '/api/wie')(line) && Boolean(line.headers['x-orvel-app']),
    tell: ({ headers }, count) =>
      `probes: ${count}, with the header X-ORVEL-App "${headers['x-orvel-app']}"`,
  },
  {
    name: 'a page request with the key as cookie and without the header',
    is: (line) =>
      asks('GET', '/')(line) &&
      cookie.test(line.headers.cookie ?? '') &&
      line.headers['x-orvel-app'] === undefined,
    tell: ({ headers }) =>
      `page asked for: cookie orvelapp "${cookie.exec(headers.cookie)[1]}", ` +
      `user agent ends in ${headers['user-agent'].split(' ').at(-1)}`,
  },
  {
    name: "the page's word that it has been painted",
    is: asks('POST', '/api/getoond'),
    tell: () => 'page painted',
  },
  {
    name: 'the stop of the server',
    is: (line) => line.event === 'stopped',
    tell: ({ signal }) => `server stopped by ${signal}`,
  },
];

const lines = recorded();
const wanted = option === '--until-painted' ? steps.slice(0, -1) : steps;
let from = 0;
let start;
for (const { name, is, tell } of wanted) {
  const index = lines.findIndex((line, at) => at >= from && is(line));
  if (index < 0) {
    console.error(`missing: ${name}`);
    process.exit(1);
  }
  const line = lines[index];
  from = index + 1;
  start ??= Date.parse(line.time);
  const after = ((Date.parse(line.time) - start) / 1000).toFixed(2);
  console.log(`  ${after.padStart(6)} s  ${tell(line, lines.filter(is).length)}`);
}
