// How the demo server recognises the application, what it records, and how its process ends.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import net from 'node:net';
import { after, before, test } from 'node:test';

import { startServer } from './support.mjs';

let server;
before(async () => { server = await startServer(); });
after(() => server.stop());

/// Returns the requests that the server has in memory.
const recentRequests = async () => JSON.parse((await server.get('/api/verslag')).text).requests;
const lastRequest = async (url) =>
  (await recentRequests()).findLast((request) => request.url === url);

test('a request is recognised by header, cookie and user agent', async () => {
  const userAgent = 'Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/605.1.15 (KHTML, like Gecko)';
  const cases = [
    [{ 'User-Agent': userAgent }, []],
    [{ 'X-ORVEL-App': 'k' }, ['header']],
    [{ 'X-ORVEL-App': '' }, ['header']],
    [{ Cookie: 'a=1; orvelapp=k' }, ['cookie']],
    [{ Cookie: 'xorvelapp=k; orvelapp2=k' }, []],
    [{ 'User-Agent': `${userAgent} ORVELOS/k` }, ['user agent']],
    // The application puts ORVELOS/KEY at the end of its user agent.
    [{ 'User-Agent': `${userAgent} ORVELOS/k Safari/605` }, []],
    [{ 'User-Agent': `${userAgent} NORVELOS/k` }, []],
    [{ 'X-ORVEL-App': 'k', Cookie: 'orvelapp=k', 'User-Agent': `${userAgent} ORVELOS/k` },
      ['header', 'cookie', 'user agent']],
  ];
  for (const [headers, via] of cases) {
    const { text } = await server.get('/api/wie', headers);
    assert.deepEqual(JSON.parse(text).via, via, JSON.stringify(headers));
  }
});

test('the home page shows how the page request and the probes were recognised', async (t) => {
  const ownServer = await startServer();
  t.after(ownServer.stop);
  const first = (await ownServer.get('/')).text;
  assert.match(first, /<strong>Gewone browser<\/strong>.*<strong>Nog niet gezien<\/strong>/s);
  for (let count = 0; count < 2; count += 1) await ownServer.get('/api/wie', { 'X-ORVEL-App': 'k' });
  const { text } = await ownServer.get('/', { Cookie: 'orvelapp=k' });
  assert.match(text, /<strong>App via cookie<\/strong>.*<strong>App via header<\/strong>/s);
  assert.match(text, /2 keer gevraagd/);
});

test('the record has the reports of a page with all headers, also empty and repeated ones', async () => {
  for (const url of ['/api/getoond?pagina=%2F', '/api/antwoord?vraag=confirm&antwoord=true']) {
    const headers = { 'X-ORVEL-App': '', Cookie: 'orvelapp=k', 'X-Double': ['a', 'b'] };
    assert.equal((await server.get(url, headers, 'POST')).status, 204);
    const line = server.record().find((each) => each.url === url);
    assert.deepEqual([line.event, line.method], ['request', 'POST']);
    assert.deepEqual([line.headers['x-orvel-app'], line.headers.cookie], ['', 'orvelapp=k']);
    assert.equal(line.rawHeaders.filter((name) => name === 'X-Double').length, 2);
  }
});

test('api/verslag returns the last 200 requests with keys, cookies and status', async () => {
  await server.get('/missing', { Cookie: 'a=1; orvelapp=k' });
  const { appKeys, cookies, method, status, time } = await lastRequest('/missing');
  assert.deepEqual(appKeys, { header: null, cookie: 'k', userAgent: null });
  assert.deepEqual(cookies, { a: '1', orvelapp: 'k' });
  assert.deepEqual([method, status], ['GET', 404]);
  assert.ok(Date.parse(time), `the time ${time}`);
  for (let count = 0; count < 210; count += 1) await server.get('/api/wie');
  assert.equal((await recentRequests()).length, 200);
});

test('the status of a request is null before the response, and 0 if the client closes first', async () => {
  const url = '/api/bestand/stil';
  const socket = net.connect(server.port, '127.0.0.1');
  socket.write(`GET ${url} HTTP/1.1\r\nHost: localhost\r\n\r\n`);
  // Waiting for another response gives the socket time to connect and send.
  while (!server.record().some((line) => line.url === url)) await server.get('/api/wie');
  assert.equal((await lastRequest(url)).status, null);
  socket.destroy();
  while ((await lastRequest(url)).status === null);
  assert.equal((await lastRequest(url)).status, 0);
});

test('a request that cannot be parsed is recorded', async () => {
  const socket = net.connect(server.port, '127.0.0.1');
  socket.end('this is not HTTP\r\n\r\n');
  assert.match((await once(socket, 'data')).toString(), /^HTTP\/1\.1 400 /);
  assert.ok(server.record().some(({ event }) => event === 'bad-request'));
});

test('the record begins with the process and its environment and ends with the signal', async (t) => {
  const ownServer = await startServer({ HOME: '/nowhere', PATH: '/usr/bin:/bin' });
  t.after(ownServer.stop);
  const { event, pid, address, env } = ownServer.record()[0];
  assert.deepEqual([event, pid, address], ['listening', ownServer.child.pid, '127.0.0.1']);
  // startServer sets PORT to 0, for a free port.
  assert.deepEqual(env, { PORT: '0', PATH: '/usr/bin:/bin', HOME: '/nowhere' });
  // The signal arrives during a response.
  const socket = net.connect(ownServer.port, '127.0.0.1').on('error', () => {});
  socket.write('GET /api/bestand/traag HTTP/1.1\r\nHost: localhost\r\n\r\n');
  await once(socket, 'data');
  ownServer.child.kill('SIGTERM');
  assert.deepEqual(await ownServer.exited, [0, null]);
  const last = ownServer.record().pop();
  assert.deepEqual([last.event, last.signal], ['stopped', 'SIGTERM']);
});

test('api/stop ends the server or makes it ignore SIGTERM, but only with the header', async (t) => {
  const startAndPostStop = async (how, headers, expected) => {
    const ownServer = await startServer();
    t.after(ownServer.stop);
    assert.equal((await ownServer.get(`/api/stop?hoe=${how}`, headers, 'POST')).status, expected);
    return ownServer;
  };
  // The header keeps other sites from ending the server. `code` ends it with status 3.
  const headers = { 'X-Orvel-Demo': 'ja' };
  await startAndPostStop('code', {}, 403);
  assert.deepEqual(await (await startAndPostStop('code', headers, 204)).exited, [3, null]);
  assert.deepEqual(await (await startAndPostStop('kill', headers, 204)).exited, [null, 'SIGKILL']);
  const ignoring = await startAndPostStop('doof', headers, 204);
  ignoring.child.kill('SIGTERM');
  // Node may handle the signal after the first response, but does so before the second one.
  for (let count = 0; count < 2; count += 1) {
    assert.equal((await ignoring.get('/api/wie')).status, 200);
  }
  assert.ok(!ignoring.record().some(({ event }) => event === 'stopped'));
});
