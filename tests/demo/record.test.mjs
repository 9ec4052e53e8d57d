// How the demo server recognises the application, and its record of requests.

import assert from 'node:assert/strict';
import net from 'node:net';
import { after, before, test } from 'node:test';

import { start } from './support.mjs';

const userAgent = 'Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/605.1.15 (KHTML, like Gecko)';

let server;
before(async () => { server = await start(); });
after(() => server.stop());

async function identify(headers) {
  const { status, text } = await server.get('/api/wie', headers);
  assert.equal(status, 200);
  return JSON.parse(text);
}

async function lastRequest(url) {
  const { requests } = JSON.parse((await server.get('/api/verslag')).text);
  return requests.findLast((request) => request.url === url);
}

test('a request is recognised by header, cookie and user agent', async () => {
  assert.equal((await identify({ 'User-Agent': userAgent })).herkend, 'Gewone browser');
  assert.deepEqual((await identify({ 'X-ORVEL-App': 'k' })).via, ['header']);
  assert.deepEqual((await identify({ Cookie: 'a=1; orvelapp=k' })).via, ['cookie']);
  assert.deepEqual((await identify({ 'User-Agent': `${userAgent} ORVELOS/k` })).via, ['user agent']);
  const all = await identify({
    'X-ORVEL-App': 'k', Cookie: 'orvelapp=k', 'User-Agent': `${userAgent} ORVELOS/k`,
  });
  assert.equal(all.app, true);
  assert.equal(all.herkend, 'App via header, cookie en user agent');
});

test('an empty key is recognised, a similar header, cookie or user agent is not', async () => {
  assert.deepEqual((await identify({ 'X-ORVEL-App': '' })).via, ['header']);
  for (const headers of [
    { 'User-Agent': `${userAgent} ORVELOS/k Safari/605` },
    { 'User-Agent': `${userAgent} NORVELOS/k` },
    { Cookie: 'xorvelapp=k; orvelapp2=k' },
  ]) {
    assert.deepEqual((await identify(headers)).via, []);
  }
});

test('the home page shows how the page request and the probes were recognised', async () => {
  const own = await start();
  try {
    const first = (await own.get('/')).text;
    assert.match(first, /<strong>Gewone browser<\/strong>/);
    assert.match(first, /<strong>Nog niet gezien<\/strong>/);
    await own.get('/api/wie', { 'X-ORVEL-App': 'k' });
    await own.get('/api/wie', { 'X-ORVEL-App': 'k' });
    const headers = { Cookie: 'orvelapp=k', 'User-Agent': `${userAgent} ORVELOS/k` };
    const second = (await own.get('/', headers)).text;
    assert.match(second, /<strong>App via cookie en user agent<\/strong>/);
    assert.match(second, /<strong>App via header<\/strong>/);
    assert.match(second, /2 keer gevraagd/);
  } finally {
    await own.stop();
  }
});

test('the session cookie counts the visits', async () => {
  const count = ({ text }) => Number(/id="bezoek">(\d+)</.exec(text)[1]);
  const first = await server.get('/');
  const [cookie] = first.headers['set-cookie'];
  assert.match(cookie, /^orvelsessie=[0-9a-f-]{36}; Path=\/; HttpOnly; SameSite=Lax$/);
  assert.equal(count(first), 1);
  const Cookie = cookie.split(';')[0];
  const second = await server.get('/', { Cookie });
  assert.equal(count(second), 2);
  assert.equal(second.headers['set-cookie'], undefined);
  assert.equal(count(await server.get('/')), 1);
});

test('the record file holds every request with all headers', async () => {
  const headers = { 'X-ORVEL-App': '', Cookie: 'orvelapp=k', 'X-Double': ['a', 'b'] };
  await server.get('/lang?test=1', headers);
  const line = server.record().find(({ url }) => url === '/lang?test=1');
  assert.equal(line.event, 'request');
  assert.equal(line.method, 'GET');
  assert.equal(line.headers['x-orvel-app'], '');
  assert.equal(line.headers.cookie, 'orvelapp=k');
  assert.equal(line.rawHeaders[line.rawHeaders.indexOf('X-ORVEL-App') + 1], '');
  assert.equal(line.rawHeaders.filter((name) => name === 'X-Double').length, 2);
  assert.ok(Math.abs(Date.now() - Date.parse(line.time)) < 60_000);
});

test('a request is recorded on arrival; its status is null, then 0 without a response', async () => {
  const url = '/api/bestand/stil';
  const socket = net.connect(server.port, '127.0.0.1');
  socket.write(`GET ${url} HTTP/1.1\r\nHost: x\r\n\r\n`);
  while (!server.record().some((line) => line.url === url)) await server.get('/api/wie');
  assert.equal((await lastRequest(url)).status, null);
  socket.destroy();
  while ((await lastRequest(url)).status === null);
  assert.equal((await lastRequest(url)).status, 0);
});

test('a request that cannot be parsed is recorded', async () => {
  const socket = net.connect(server.port, '127.0.0.1');
  socket.end('this is not HTTP\r\n\r\n');
  let response = '';
  for await (const data of socket) response += data;
  assert.match(response, /^HTTP\/1\.1 400 /);
  assert.ok(server.record().some(({ event }) => event === 'bad-request'));
});

test('api/verslag returns the last 200 requests with keys, cookies and status', async () => {
  await server.get('/missing', { Cookie: 'a=1; orvelapp=k' });
  const entry = await lastRequest('/missing');
  assert.deepEqual(entry.marks, { header: null, cookie: 'k', userAgent: null });
  assert.deepEqual(entry.cookies, { a: '1', orvelapp: 'k' });
  assert.equal(entry.method, 'GET');
  assert.equal(entry.status, 404);
  assert.ok(entry.time);
  for (let count = 0; count < 210; count += 1) await server.get('/api/wie');
  const { requests } = JSON.parse((await server.get('/api/verslag')).text);
  assert.equal(requests.length, 200);
});

test('the reports of a page are recorded with their query', async () => {
  for (const url of ['/api/getoond?pagina=%2F', '/api/antwoord?vraag=confirm&antwoord=true']) {
    assert.equal((await server.get(url, {}, 'POST')).status, 204);
    assert.ok(server.record().some((line) => line.url === url), url);
  }
});
