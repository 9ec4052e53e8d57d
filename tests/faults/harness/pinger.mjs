// A worker thread that pings a window through the X server and measures each round trip;
// in its own thread, so that the test's own work does not delay it. X11 protocol,
// little-endian; _NET_WM_PING from the Extended Window Manager Hints 1.3.

import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { connect } from 'node:net';
import { setTimeout as pause } from 'node:timers/promises';
import { parentPort, workerData } from 'node:worker_threads';

const { display, window, pid, screenPid } = workerData;

const pingInterval = 25;
const INTERN_ATOM = 16;
const CHANGE_WINDOW_ATTRIBUTES = 2;
const SEND_EVENT = 25;
const CLIENT_MESSAGE = 33;
const EVENT_MASK = 1 << 11;
const SUBSTRUCTURE_NOTIFY = 1 << 19;

const socket = connect(`/tmp/.X11-unix/X${display.slice(1)}`);

async function read(size) {
  for (;;) {
    const bytes = socket.read(size);
    if (bytes) return bytes;
    await once(socket, 'readable');
  }
}

function words(...values) {
  const bytes = Buffer.alloc(values.length * 4);
  values.forEach((value, index) => bytes.writeUInt32LE(value >>> 0, index * 4));
  return bytes;
}

/// Sends a request; `detail` is the second byte of its header.
function send(code, detail, ...parts) {
  const body = Buffer.concat(parts);
  const header = Buffer.from([code, detail, 0, 0]);
  header.writeUInt16LE(1 + body.length / 4, 2);
  socket.write(Buffer.concat([header, body]));
}

async function rootWindow() {
  socket.write(Buffer.from([0x6c, 0, 11, 0, 0, 0, 0, 0, 0, 0, 0, 0]));
  const start = await read(8);
  if (start[0] !== 1) throw new Error('the X server refused the connection');
  const setup = await read(start.readUInt16LE(6) * 4);
  const vendorLength = (setup.readUInt16LE(16) + 3) & ~3;
  return setup.readUInt32LE(32 + vendorLength + setup[21] * 8);
}

async function atom(name) {
  const text = Buffer.alloc((name.length + 3) & ~3);
  text.write(name);
  send(INTERN_ATOM, 0, words(name.length), text);
  return (await read(32)).readUInt32LE(8);
}

/// Returns the milliseconds that a thread has waited for a processor so far.
function waitTime(path) {
  try {
    return Number(readFileSync(path, 'utf8').split(' ')[1]) / 1e6;
  } catch {
    return 0;
  }
}

/// The threads of a round trip: the application's main thread, the X server and this one.
const totalWaitTime = () => waitTime(`/proc/${pid}/task/${pid}/schedstat`) +
  waitTime(`/proc/${screenPid}/schedstat`) + waitTime('/proc/thread-self/schedstat');

const pauses = { count: 0, elapsed: 0, busy: 0 };
let sent = null;

function addPause() {
  const elapsed = performance.now() - sent.start;
  // The wait times of an ended process are 0, so `busy` could exceed the elapsed time.
  const busy = Math.min(elapsed, elapsed - (totalWaitTime() - sent.waited));
  pauses.count += 1;
  pauses.elapsed = Math.max(pauses.elapsed, Math.round(elapsed));
  pauses.busy = Math.max(pauses.busy, Math.round(busy));
}

parentPort.once('message', ({ hasEnded }) => {
  // An unanswered ping counts, unless the application has ended.
  if (sent && !hasEnded) addPause();
  parentPort.postMessage(pauses);
});

const root = await rootWindow();
const protocols = await atom('WM_PROTOCOLS');
const ping = await atom('_NET_WM_PING');
send(CHANGE_WINDOW_ATTRIBUTES, 0, words(root, EVENT_MASK, SUBSTRUCTURE_NOTIFY));
parentPort.postMessage('ready');

for (let serial = 1; ; serial += 1) {
  sent = { start: performance.now(), waited: totalWaitTime() };
  send(SEND_EVENT, 0, words(window, 0), Buffer.from([CLIENT_MESSAGE, 32, 0, 0]),
    words(window, protocols, ping, serial, window, 0, 0));
  const isAnswer = (event) => (event[0] & 0x7f) === CLIENT_MESSAGE &&
    event.readUInt32LE(12) === ping && event.readUInt32LE(16) === serial &&
    event.readUInt32LE(20) === window;
  while (!isAnswer(await read(32)));
  addPause();
  sent = null;
  await pause(pingInterval);
}
