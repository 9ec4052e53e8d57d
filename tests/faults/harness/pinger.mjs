// A client of the X server that asks a window again and again whether its
// application still looks after it, in a thread of its own: what the test itself
// does must not stretch the times. X11 protocol, little-endian; _NET_WM_PING as
// in the Extended Window Manager Hints, 1.3.

import { readFileSync } from 'node:fs';
import { connect } from 'node:net';
import { parentPort, workerData } from 'node:worker_threads';

const { display, window, pid, screenPid, every } = workerData;

const INTERN_ATOM = 16;
const CHANGE_WINDOW_ATTRIBUTES = 2;
const SEND_EVENT = 25;
const CLIENT_MESSAGE = 33;
const SUBSTRUCTURE_NOTIFY = 1 << 19;

const words = (...values) => {
  const bytes = Buffer.alloc(values.length * 4);
  values.forEach((value, at) => bytes.writeUInt32LE(value >>> 0, at * 4));
  return bytes;
};
const head = (code, detail, length) => {
  const bytes = Buffer.from([code, detail, 0, 0]);
  bytes.writeUInt16LE(length, 2);
  return bytes;
};

/// Milliseconds that a thread has waited for a processor so far.
function waited(path) {
  try {
    return Number(readFileSync(path, 'utf8').split(' ')[1]) / 1e6;
  } catch {
    return 0;
  }
}
// Those who take part in a round trip: only what none of them waited counts.
const waitedByAll = () =>
  waited(`/proc/${pid}/task/${pid}/schedstat`) + waited(`/proc/${screenPid}/schedstat`) +
  waited('/proc/thread-self/schedstat');

const socket = connect(`/tmp/.X11-unix/X${display.slice(1)}`);
let bytes = Buffer.alloc(0);
const wanted = [];
function handOut() {
  while (wanted.length > 0 && bytes.length >= wanted[0].size) {
    const { size, use } = wanted.shift();
    use(bytes.subarray(0, size));
    bytes = bytes.subarray(size);
  }
}
const take = (size) => new Promise((use) => {
  wanted.push({ size, use });
  handOut();
});
socket.on('data', (more) => {
  bytes = Buffer.concat([bytes, more]);
  handOut();
});

async function rootWindow() {
  socket.write(Buffer.from([0x6c, 0, 11, 0, 0, 0, 0, 0, 0, 0, 0, 0]));
  const start = await take(8);
  if (start[0] !== 1) throw new Error('the X server lets nobody in');
  const setup = await take(start.readUInt16LE(6) * 4);
  const vendor = (setup.readUInt16LE(16) + 3) & ~3;
  return setup.readUInt32LE(32 + vendor + setup[21] * 8);
}

async function atom(name) {
  const text = Buffer.alloc((name.length + 3) & ~3);
  text.write(name);
  socket.write(Buffer.concat([
    head(INTERN_ATOM, 0, 2 + text.length / 4), words(name.length), text,
  ]));
  return (await take(32)).readUInt32LE(8);
}

const root = await rootWindow();
const protocols = await atom('WM_PROTOCOLS');
const ping = await atom('_NET_WM_PING');
socket.write(Buffer.concat([
  head(CHANGE_WINDOW_ATTRIBUTES, 0, 4), words(root, 1 << 11, SUBSTRUCTURE_NOTIFY),
]));

let serial = 0;
let sent = null;
function send() {
  serial += 1;
  sent = { time: performance.now(), at: Date.now(), waited: waitedByAll() };
  socket.write(Buffer.concat([
    head(SEND_EVENT, 0, 11), words(window, 0), head(CLIENT_MESSAGE, 32, 0),
    words(window, protocols, ping, serial, window, 0, 0),
  ]));
}

function told() {
  const took = performance.now() - sent.time;
  const busy = waitedByAll() - sent.waited;
  return { at: sent.at, took, own: Math.min(took, Math.max(0, took - busy)) };
}

let stopped = false;
parentPort.on('message', (isThere) => {
  stopped = true;
  // One that has not been answered is as long as it has been out, unless there
  // is nobody left to answer.
  if (sent && isThere) parentPort.postMessage(told());
  parentPort.postMessage(null);
  socket.destroy();
  parentPort.close();
});
parentPort.postMessage('ready');
send();
for (;;) {
  const event = await take(32);
  const isMine = (event[0] & 0x7f) === CLIENT_MESSAGE && event.readUInt32LE(12) === ping &&
    event.readUInt32LE(16) === serial && event.readUInt32LE(20) === window;
  if (!isMine || stopped) continue;
  parentPort.postMessage(told());
  sent = null;
  setTimeout(() => stopped || send(), every);
}
