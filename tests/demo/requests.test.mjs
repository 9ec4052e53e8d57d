import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { start } from './support.mjs';

const AGENT = 'Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/605.1.15 (KHTML, like Gecko)';

let server;
before(async () => { server = await start(); });
after(() => server.stop());

const wie = async (headers) => {
  const answer = await server.get('/api/wie', headers);
  assert.equal(answer.status, 200);
  return JSON.parse(answer.text);
};

test('api/wie tells the application by each mark', async () => {
  assert.deepEqual((await wie({ 'User-Agent': AGENT })).via, []);
  assert.equal((await wie({ 'User-Agent': AGENT })).herkend, 'Gewone browser');
  assert.deepEqual((await wie({ 'X-ORVEL-App': 'k' })).via, ['header']);
  assert.deepEqual((await wie({ Cookie: 'a=1; orvelapp=k' })).via, ['cookie']);
  assert.deepEqual((await wie({ 'User-Agent': `${AGENT} ORVELOS/k` })).via, ['user agent']);
  const all = await wie({ 'X-ORVEL-App': 'k', Cookie: 'orvelapp=k', 'User-Agent': `${AGENT} ORVELOS/k` });
  assert.equal(all.app, true);
  assert.equal(all.herkend, 'App via header, cookie en user agent');
});

test('an empty key is a mark; a look-alike is none', async () => {
  assert.deepEqual((await wie({ 'X-ORVEL-App': '' })).via, ['header']);
  assert.deepEqual((await wie({ 'User-Agent': `${AGENT} ORVELOS/` })).via, ['user agent']);
  assert.deepEqual((await wie({ 'User-Agent': `${AGENT} ORVELOS/k Safari/605` })).via, []);
  assert.deepEqual((await wie({ 'User-Agent': `${AGENT} NORVELOS/k` })).via, []);
  assert.deepEqual((await wie({ Cookie: 'xorvelapp=k; orvelapp2=k' })).via, []);
});

test('the home page shows how the page and the probes were told apart', async () => {
  const own = await start();
  try {
    const fresh = (await own.get('/')).text;
    assert.match(fresh, /<strong>Gewone browser<\/strong>/);
    assert.match(fresh, /<strong>Nog niet gezien<\/strong>/);
    await own.get('/api/wie', { 'X-ORVEL-App': 'k' });
    await own.get('/api/wie', { 'X-ORVEL-App': 'k' });
    const page = (await own.get('/', { Cookie: 'orvelapp=k', 'User-Agent': `${AGENT} ORVELOS/k` })).text;
    assert.match(page, /<strong>App via cookie en user agent<\/strong>/);
    assert.match(page, /<strong>App via header<\/strong>/);
    assert.match(page, /2 keer gevraagd/);
  } finally {
    await own.stop();
  }
});

test('the session cookie counts visits over reloads', async () => {
  const count = ({ text }) => Number(/id="bezoek">(\d+)</.exec(text)[1]);
  const first = await server.get('/');
  const [cookie] = first.headers['set-cookie'];
  assert.match(cookie, /^orvelsessie=[0-9a-f-]{36}; Path=\/; HttpOnly; SameSite=Lax$/);
  assert.equal(count(first), 1);
  const Cookie = cookie.split(';')[0];
  const second = await server.get('/', { Cookie });
  assert.equal(count(second), 2);
  assert.equal(second.headers['set-cookie'], undefined);
  assert.equal(count(await server.get('/', { Cookie })), 3);
  assert.equal(count(await server.get('/')), 1);
});

test('the record holds every request with all its headers', async () => {
  await server.get('/lang?spoor=1', { 'X-ORVEL-App': '', Cookie: 'orvelapp=k', 'X-Twee': ['a', 'b'] });
  const line = server.record().find(({ url }) => url === '/lang?spoor=1');
  assert.equal(line.event, 'request');
  assert.equal(line.method, 'GET');
  assert.equal(line.headers['x-orvel-app'], '');
  assert.equal(line.headers.cookie, 'orvelapp=k');
  const at = line.rawHeaders.indexOf('X-ORVEL-App');
  assert.equal(line.rawHeaders[at + 1], '');
  assert.equal(line.rawHeaders.filter((name) => name === 'X-Twee').length, 2);
  assert.ok(Math.abs(Date.now() - Date.parse(line.time)) < 60_000);
});

test('a request is recorded on arrival, before its answer', async () => {
  const never = server.get('/api/bestand/stil').catch(() => 'cut');
  while (!server.record().some(({ url }) => url === '/api/bestand/stil')) {
    await server.get('/api/wie');
  }
  const { requests } = JSON.parse((await server.get('/api/verslag')).text);
  assert.equal(requests.find(({ url }) => url === '/api/bestand/stil').status, null);
  assert.equal(await Promise.race([never, 'still waiting']), 'still waiting');
});

test('api/verslag gives the last requests with marks, cookies and status', async () => {
  await server.get('/niets?spoor=2', { Cookie: 'a=1; orvelapp=k' });
  const { requests } = JSON.parse((await server.get('/api/verslag')).text);
  const entry = requests.find(({ url }) => url === '/niets?spoor=2');
  assert.deepEqual(entry.marks, { header: null, cookie: 'k', userAgent: null });
  assert.deepEqual(entry.cookies, { a: '1', orvelapp: 'k' });
  assert.equal(entry.method, 'GET');
  assert.equal(entry.status, 404);
  assert.ok(entry.time);
});

test('api/verslag keeps a bounded number', async () => {
  for (let count = 0; count < 210; count += 1) await server.get('/api/wie');
  const { requests } = JSON.parse((await server.get('/api/verslag')).text);
  assert.equal(requests.length, 200);
});

test('the beacon and the answers of panels are taken', async () => {
  assert.equal((await server.get('/api/getoond?pagina=%2F', {}, 'POST')).status, 204);
  assert.equal((await server.get('/api/antwoord?vraag=confirm&antwoord=true', {}, 'POST')).status, 204);
  const urls = server.record().map(({ url }) => url);
  assert.ok(urls.includes('/api/getoond?pagina=%2F'));
  assert.ok(urls.includes('/api/antwoord?vraag=confirm&antwoord=true'));
});
