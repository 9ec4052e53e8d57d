import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { start } from './support.mjs';

let server;
before(async () => { server = await start(); });
after(() => server.stop());

function isDarkPage({ headers, text }, path) {
  assert.equal(headers['content-type'], 'text/html; charset=utf-8', path);
  assert.match(text.slice(0, 80), /^<!doctype html><html lang="nl" style="background:#07090c/, path);
  assert.match(text, /<script src="\/os\.js" defer>/, path);
}

/// Every address of this server that a page links to or embeds.
function addresses(text) {
  return [...text.matchAll(/(?:href|src|action|data-value)="(\/[^"/][^"#]*|\/)[^"]*"/g)]
    .map(([, address]) => address.replaceAll('&amp;', '&'));
}

test('every page within reach is dark from its first bytes and links to nothing missing', async () => {
  const wrong = new Map([
    ['/bestaat-niet', 404], ['/%E0%A4%A', 400], ['/api/bestand/besloten', 401], ['/api/bestand/weg', 404],
    ['/download/linux.json', 404], ['/download/mac.json', 404],
  ]);
  const slow = /^\/api\/bestand\/(groot|traag|afgebroken|stil)/;
  const seen = new Set();
  const todo = ['/'];
  while (todo.length) {
    const path = todo.pop();
    if (seen.has(path) || slow.test(path)) continue;
    seen.add(path);
    const answer = await server.get(path);
    const expected = wrong.get(path) ?? (path.startsWith('/omleiding/') ? 302 : 200);
    assert.equal(answer.status, expected, path);
    if (/html/.test(answer.headers['content-type']) && !path.startsWith('/api/bestand/')) {
      isDarkPage(answer, path);
      todo.push(...addresses(answer.text));
    }
  }
  for (const path of ['/links', '/vensters', '/dialogen', '/bestanden', '/kaders', '/kader', '/formulier', '/lang',
    '/uitgave', '/verslag', '/server', '/os.css', '/os.js', '/api/bestand/12', ...wrong.keys()]) {
    assert.ok(seen.has(path), `nothing links to ${path}`);
  }
});

test('the pages hold one of each kind of link', async () => {
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

test('the other name of this server is the one that the page was not asked by', async () => {
  const foreign = async (Host) => /href="(http:[^"]*vreemd)"/.exec((await server.get('/links', { Host })).text)[1];
  assert.equal(await foreign('127.0.0.1:4767'), 'http://localhost:4767/vreemd');
  assert.equal(await foreign('localhost:4767'), 'http://127.0.0.1:4767/vreemd');
  assert.equal(await foreign('"><b>'), 'http://localhost/vreemd');
});

test('an embedded frame shows what is chosen', async () => {
  const src = async (choice) => /<iframe[^>]* src="([^"]*)"/.exec((await server.get(`/kaders${choice}`)).text)[1];
  assert.equal(await src(''), '/kader');
  assert.equal(await src('?toon=bestand'), '/api/bestand/1');
  assert.equal(await src('?toon=vreemd'), `http://localhost:${server.port}/vreemd`);
  assert.equal(await src('?toon=javascript:alert(1)'), '/kader');
});

test('a form gives back what was sent, as text', async () => {
  const type = { 'Content-Type': 'application/x-www-form-urlencoded' };
  const { status, text } = await server.get('/formulier', type, 'POST', 'naam=%3Cb%3EJ%C3%B6rn&bericht=a%0Ab&geheim=pas');
  assert.equal(status, 200);
  assert.match(text, /naam: &lt;b&gt;Jörn\nbericht: a\nb\ngeheim: •••</);
  assert.ok(!text.includes('<b>Jörn'));
  assert.match((await server.get('/formulier?tekst=venster')).text, /tekst: venster/);
});

test('the window buttons of macOS keep their place free', async () => {
  const agent = 'Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/605.1.15 (KHTML, like Gecko)';
  assert.match((await server.get('/', { 'User-Agent': `${agent} ORVELOS/k` })).text, /class="home mac"/);
  assert.match((await server.get('/', { 'User-Agent': agent })).text, /class="home"/);
});
