// The process of the demo server: its start, its stop and the faults of the page /server.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import net from 'node:net';
import { test } from 'node:test';

import { start } from './support.mjs';

test('the record begins with process id, address, port and environment', async () => {
  const server = await start({ HOME: '/nowhere', PATH: '/usr/bin:/bin' });
  try {
    const [first] = server.record();
    assert.equal(first.event, 'listening');
    assert.equal(first.pid, server.child.pid);
    assert.equal(first.address, '127.0.0.1');
    assert.deepEqual(first.env, { PORT: '0', PATH: '/usr/bin:/bin', HOME: '/nowhere' });
    assert.notEqual(first.port, 0);
  } finally {
    await server.stop();
  }
});

test('SIGTERM during a response ends the server with status 0', async () => {
  const server = await start();
  try {
    const socket = net.connect(server.port, '127.0.0.1');
    socket.on('error', () => {});
    socket.write('GET /api/bestand/traag HTTP/1.1\r\nHost: x\r\n\r\n');
    await once(socket, 'data');
    server.child.kill('SIGTERM');
    assert.deepEqual(await server.exited, [0, null]);
    const last = server.record().pop();
    assert.equal(last.event, 'stopped');
    assert.equal(last.signal, 'SIGTERM');
  } finally {
    await server.stop();
  }
});

test('the page /server ends the server or makes it ignore SIGTERM', async () => {
  const headers = { 'X-Orvel-Demo': 'ja' };
  const exiting = await start();
  const killed = await start();
  const ignoring = await start();
  try {
    assert.equal((await exiting.get('/api/stop?hoe=code', {}, 'POST')).status, 403);
    assert.equal((await exiting.get('/api/stop?hoe=code', headers, 'POST')).status, 204);
    assert.deepEqual(await exiting.exited, [3, null]);
    assert.equal((await killed.get('/api/stop?hoe=kill', headers, 'POST')).status, 204);
    assert.deepEqual(await killed.exited, [null, 'SIGKILL']);
    assert.equal((await ignoring.get('/api/stop?hoe=doof', headers, 'POST')).status, 204);
    ignoring.child.kill('SIGTERM');
    // The event loop has handled the signal before it answers the second request.
    for (let count = 0; count < 2; count += 1) {
      assert.equal((await ignoring.get('/api/wie')).status, 200);
    }
    assert.equal(ignoring.record().some(({ event }) => event === 'stopped'), false);
  } finally {
    await Promise.all([exiting.stop(), killed.stop(), ignoring.stop()]);
  }
});
