import assert from 'node:assert/strict';
import { once } from 'node:events';
import net from 'node:net';
import { join } from 'node:path';
import { test } from 'node:test';

import { launch, start } from './support.mjs';

test('the record opens with how the server sees itself', async () => {
  const server = await start({ HOME: '/nergens', PATH: '/usr/bin:/bin' });
  try {
    const [first] = server.record();
    assert.equal(first.event, 'listening');
    assert.equal(first.pid, server.child.pid);
    assert.equal(first.address, '127.0.0.1');
    assert.deepEqual(first.env, { PORT: '0', PATH: '/usr/bin:/bin', HOME: '/nergens' });
    assert.notEqual(first.port, 0);
    assert.match(server.out, new RegExp(`http://127\\.0\\.0\\.1:${first.port}/`));
  } finally {
    await server.stop();
  }
});

test('SIGTERM ends it with 0, also in the middle of an answer', async () => {
  const server = await start();
  try {
    const socket = net.connect(server.port, '127.0.0.1');
    socket.on('error', () => {});
    socket.write('GET /api/bestand/traag HTTP/1.1\r\nHost: x\r\n\r\n');
    await once(socket, 'data');
    const before = Date.now();
    server.child.kill('SIGTERM');
    assert.deepEqual(await server.exited, [0, null]);
    assert.ok(Date.now() - before < 1500, 'it waited for the answer to end');
    const last = server.record().pop();
    assert.equal(last.event, 'stopped');
    assert.equal(last.signal, 'SIGTERM');
  } finally {
    await server.stop();
  }
});

test('a port in use is told and ends it with 1', async () => {
  const server = await start();
  try {
    const second = launch({ PORT: String(server.port) });
    assert.deepEqual(await second.exited, [1, null]);
    assert.match(second.err, new RegExp(`poort ${server.port} is al in gebruik`));
    assert.equal((await server.get('/api/wie')).status, 200);
  } finally {
    await server.stop();
  }
});

test('a PORT that is none ends it with 1', async () => {
  for (const PORT of ['', '-1', '65536', 'tien', '80x']) {
    const run = launch({ PORT });
    assert.deepEqual(await run.exited, [1, null], PORT);
    assert.match(run.err, /PORT is geen poort/);
  }
});

test('a record that cannot be opened ends it with 1', async () => {
  const run = launch({ PORT: '0', ORVEL_DEMO_RECORD: join('/nergens', 'record') });
  assert.deepEqual(await run.exited, [1, null]);
  assert.match(run.err, /verslag kan niet/);
});

test('the bench makes it stop with a code, by a signal, or deaf', async () => {
  const bench = { 'X-Orvel-Bench': 'ja' };
  const coded = await start();
  const killed = await start();
  const deaf = await start();
  try {
    assert.equal((await coded.get('/api/stop?hoe=code', {}, 'POST')).status, 403);
    assert.equal((await coded.get('/api/stop?hoe=code', bench, 'POST')).status, 204);
    assert.deepEqual(await coded.exited, [3, null]);
    assert.equal((await killed.get('/api/stop?hoe=kill', bench, 'POST')).status, 204);
    assert.deepEqual(await killed.exited, [null, 'SIGKILL']);
    assert.equal((await deaf.get('/api/stop?hoe=doof', bench, 'POST')).status, 204);
    deaf.child.kill('SIGTERM');
    // By the second answer the signal has been through the event loop.
    for (let count = 0; count < 2; count += 1) assert.equal((await deaf.get('/api/wie')).status, 200);
    assert.equal(deaf.record().some(({ event }) => event === 'stopped'), false);
  } finally {
    await Promise.all([coded.stop(), killed.stop(), deaf.stop()]);
  }
});
