// The pages of the demo server.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { start } from './support.mjs';

let server;
before(async () => { server = await start(); });
after(() => server.stop());

function assertDarkPage({ headers, text }, path) {
  assert.equal(headers['content-type'], 'text/html; charset=utf-8', path);
  assert.match(text.slice(0, 80), /^<!doctype html><html lang="nl" style="background:#07090c/, path);
  assert.match(text, /<script src="\/os\.js" defer>/, path);
}

/// Returns the addresses of this server that a page links to or embeds.
function addresses(text) {
  return [...text.matchAll(/(?:href|src|action|data-value)="(\/[^"/][^"#]*|\/)[^"]*"/g)]
    .map(([, address]) => address.replaceAll('&amp;', '&'));
}

test('all linked pages exist and are dark from their first bytes', async () => {
  const errors = new Map([
    ['/bestaat-niet', 404], ['/%E0%A4%A', 400], ['/api/bestand/besloten', 401],
    ['/api/bestand/weg', 404], ['/download/linux.json', 404], ['/download/mac.json', 404],
  ]);
  const slow = /^\/api\/bestand\/(groot|traag|afgebroken|stil)/;
  const visited = new Set();
  const pending = ['/'];
  while (pending.length) {
    const path = pending.pop();
    if (visited.has(path) || slow.test(path)) continue;
    visited.add(path);
    const response = await server.get(path);
    const expected = errors.get(path) ?? (path.startsWith('/omleiding/') ? 302 : 200);
    assert.equal(response.status, expected, path);
    if (/html/.test(response.headers['content-type']) && !path.startsWith('/api/bestand/')) {
      assertDarkPage(response, path);
      pending.push(...addresses(response.text));
    }
  }
  for (const path of ['/links', '/vensters', '/dialogen', '/bestanden', '/kaders', '/kader',
    '/formulier', '/lang', '/uitgave', '/verslag', '/server', '/os.css', '/os.js',
    '/api/bestand/12', ...errors.keys()]) {
    assert.ok(visited.has(path), `no page links to ${path}`);
  }
});

test('the pages have a link or button of each kind', async () => {
  const links = (await server.get('/links')).text;
  for (const scheme of ['https:', 'http:', 'mailto:', 'tel:', 'data:', 'file:', 'ftp:', 'javascript:']) {
    assert.ok(links.includes(`href="${scheme}`), scheme);
  }
  const windows = (await server.get('/vensters')).text;
  assert.match(windows, /href="\/lang" target="_blank"/);
  assert.match(windows, /href="https:\/\/example\.org\/" target="_blank"/);
  assert.match(windows, /data-do="open"/);
  const dialogs = (await server.get('/dialogen')).text;
  assert.match(dialogs, /data-do="alert"/);
  assert.match(dialogs, /data-do="confirm"/);
});

test('the link to the other host name of this server depends on the requested one', async () => {
  const otherHost = async (Host) =>
    /href="(http:[^"]*vreemd)"/.exec((await server.get('/links', { Host })).text)[1];
  assert.equal(await otherHost('127.0.0.1:4767'), 'http://localhost:4767/vreemd');
  assert.equal(await otherHost('localhost:4767'), 'http://127.0.0.1:4767/vreemd');
});

test('the frame shows the chosen page', async () => {
  const frame = async (query) =>
    /<iframe[^>]* src="([^"]*)"/.exec((await server.get(`/kaders${query}`)).text)[1];
  assert.equal(await frame(''), '/kader');
  assert.equal(await frame('?toon=bestand'), '/api/bestand/1');
  assert.equal(await frame('?toon=vreemd'), `http://localhost:${server.port}/vreemd`);
});

test('the form shows the submitted fields with HTML escaped', async () => {
  const type = { 'Content-Type': 'application/x-www-form-urlencoded' };
  const { status, text } =
    await server.get('/formulier', type, 'POST', 'naam=%3Cb%3EJ%C3%B6rn&bericht=a%0Ab&geheim=abc');
  assert.equal(status, 200);
  assert.match(text, /naam: &lt;b&gt;Jörn\nbericht: a\nb\ngeheim: •••</);
  assert.ok(!text.includes('<b>Jörn'));
  assert.match((await server.get('/formulier?tekst=text')).text, /tekst: text/);
});
