import assert from 'node:assert/strict';
import net from 'node:net';
import { after, afterEach, before, test } from 'node:test';

import { start } from './support.mjs';

let server;
before(async () => { server = await start(); });
afterEach(async () => assert.equal((await server.get('/api/wie')).status, 200, 'the server still answers'));
after(() => server.stop());

test('an unknown address is a dark 404 page', async () => {
  for (const path of ['/nergens', '/links/', '/constructor', '/__proto__', '//', '/../etc/passwd', '/os.mjs']) {
    const { status, text } = await server.get(path);
    assert.equal(status, 404, path);
    assert.match(text, /^<!doctype html><html lang="nl" style="background:#07090c/, path);
  }
});

test('below api an error is JSON to a program and a page to a frame', async () => {
  const json = await server.get('/api/nergens', { Accept: '*/*' });
  assert.equal(json.status, 404);
  assert.equal(JSON.parse(json.text).status, 404);
  const page = await server.get('/api/bestand/weg', { Accept: 'text/html,*/*;q=0.8' });
  assert.equal(page.status, 404);
  assert.match(page.text, /Niet gevonden/);
});

test('a method that an address does not know is 405 and names the others', async () => {
  const allow = async (method, path) => {
    const { status, headers } = await server.get(path, {}, method);
    return [status, headers.allow];
  };
  assert.deepEqual(await allow('DELETE', '/'), [405, 'GET, HEAD']);
  assert.deepEqual(await allow('POST', '/api/wie'), [405, 'GET, HEAD']);
  assert.deepEqual(await allow('PUT', '/formulier'), [405, 'GET, HEAD, POST']);
  assert.deepEqual(await allow('GET', '/api/getoond'), [405, 'POST']);
  assert.deepEqual(await allow('POST', '/api/bestand/1'), [405, 'GET, HEAD']);
});

test('HEAD gives the header of GET and no body', async () => {
  for (const path of ['/lang', '/api/export', '/api/bestand/groot?mib=1']) {
    const head = await server.get(path, {}, 'HEAD');
    const get = await server.get(path);
    assert.equal(head.status, 200, path);
    assert.equal(head.text, '', path);
    assert.equal(head.headers['content-length'], get.headers['content-length'], path);
  }
});

test('a malformed escape is 400', async () => {
  for (const path of ['/%', '/%zz', '/%E0%A4%A', '/lang?a=%', '/lang?a=%ff', '/api/bestand/%c3']) {
    assert.equal((await server.get(path)).status, 400, path);
  }
});

test('a target that is no path is 400', async () => {
  const line = async (text) => (await server.raw(`${text} HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n`)).split('\r\n')[0];
  assert.match(await line('OPTIONS *'), / 400 /);
  assert.match(await line('GET http://127.0.0.1/lang'), / 400 /);
});

test('what is no HTTP is 400 and recorded', async () => {
  assert.match(await server.raw('hallo daar\r\n\r\n'), /^HTTP\/1\.1 400 /);
  assert.ok(server.record().some(({ event }) => event === 'bad-request'));
});

test('headers are bounded', async () => {
  assert.match(await server.raw(`GET / HTTP/1.1\r\nHost: x\r\nX-Veel: ${'x'.repeat(20_000)}\r\n\r\n`), /^HTTP\/1\.1 431 /);
});

test('bodies are bounded', async () => {
  const post = async (size) => (await server.get('/formulier', {}, 'POST', 'x'.repeat(size))).status;
  assert.equal(await post(64 * 1024), 200);
  assert.equal(await post(64 * 1024 + 1), 413);
  assert.equal(await post(1024 * 1024), 413);
});

test('a body without end is cut', async () => {
  const socket = net.connect(server.port, '127.0.0.1');
  let sent = 0;
  await new Promise((resolve) => {
    const block = `10000\r\n${'x'.repeat(65_536)}\r\n`;
    const fill = () => {
      while (!socket.destroyed && sent < 64 * 1024 * 1024) {
        sent += block.length;
        if (!socket.write(block)) return;
      }
    };
    socket.on('error', () => {});
    socket.on('close', resolve);
    socket.on('drain', fill);
    socket.write('POST /formulier HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n');
    fill();
  });
  assert.ok(sent < 64 * 1024 * 1024, 'everything was taken');
});

test('a client that goes away in the middle does no harm', async () => {
  for (const path of ['/api/bestand/groot?mib=64', '/api/bestand/traag', '/api/bestand/stil']) {
    const socket = net.connect(server.port, '127.0.0.1');
    await new Promise((resolve) => {
      socket.on('close', resolve);
      socket.write(`GET ${path} HTTP/1.1\r\nHost: x\r\n\r\n`, () => {
        if (path.endsWith('stil')) socket.destroy();
      });
      socket.once('data', () => socket.destroy());
    });
  }
  assert.doesNotMatch(server.err, /Error/);
});
