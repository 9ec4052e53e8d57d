import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { startServer } from './support.mjs';

let server;
before(async () => { server = await startServer(); });
after(() => server.stop());

/// Returns the paths, without fragments, to which a page links or that it embeds. Leaves out URLs
/// of other hosts. `data-argument` is the path that a button of the page uses.
function linkedPaths(text) {
  return [...text.matchAll(/(?:href|src|action|data-argument)="(\/(?!\/)[^"#]*)/g)]
    .map(([, path]) => path.replaceAll('&amp;', '&'));
}

test('linked paths have the expected status, and pages set a dark background first', async () => {
  // The requests have no session cookie, and the server has no folder of releases.
  const errors = new Map([
    ['/bestaat-niet', 404], ['/%E0%A4%A', 400], ['/api/bestand/besloten', 401],
    ['/api/bestand/weg', 404], ['/download/linux.json', 404], ['/download/mac.json', 404],
  ]);
  // Large, slow, truncated or never answered.
  const skipped = /^\/api\/bestand\/(groot|traag|afgebroken|stil)/;
  const visited = new Set();
  const pending = ['/'];
  while (pending.length) {
    const path = pending.pop();
    if (visited.has(path) || skipped.test(path)) continue;
    visited.add(path);
    const { status, headers, text } = await server.get(path);
    assert.equal(status, errors.get(path) ?? (path.startsWith('/omleiding/') ? 302 : 200), path);
    // A stored file may be HTML, but is none of the server's pages.
    if (/html/.test(headers['content-type']) && !path.startsWith('/api/bestand/')) {
      assert.match(text, /^<!doctype html><html lang="nl" style="background:#07090c/, path);
      pending.push(...linkedPaths(text));
    }
  }
  // File 12 is the last one on the page /bestanden.
  for (const path of ['/links', '/vensters', '/dialogen', '/bestanden', '/kaders', '/kader',
    '/formulier', '/lang', '/uitgave', '/verslag', '/server', '/os.css', '/os.js',
    '/api/export', '/api/export?formaat=json', '/api/bestand/12', ...errors.keys()]) {
    assert.ok(visited.has(path), `no page links to ${path}`);
  }
});

test('the pages have links, buttons and frames for each kind of navigation and panel', async () => {
  const schemes = ['https', 'http', 'mailto', 'tel', 'data', 'file', 'ftp', 'javascript'];
  const expected = {
    '/links': [...schemes.map((scheme) => `href="${scheme}:`),
      `href="http://localhost:${server.port}/vreemd"`],
    '/vensters': ['href="/lang" target="_blank"', 'href="https://example.org/" target="_blank"',
      'data-action="open"'],
    '/dialogen': ['data-action="alert"', 'data-action="confirm"'],
    '/kaders': ['src="/kader"'],
    // A property of Object.prototype is not one of the choices.
    '/kaders?toon=constructor': ['src="/kader"'],
    '/kaders?toon=bestand': ['src="/api/bestand/1"'],
    '/kaders?toon=vreemd': [`src="http://localhost:${server.port}/vreemd"`],
  };
  for (const [path, parts] of Object.entries(expected)) {
    const { text } = await server.get(path);
    for (const part of parts) assert.ok(text.includes(part), `${path} lacks ${part}`);
  }
  // A page that is requested under the name localhost links to the same server as 127.0.0.1.
  const { text } = await server.get('/links', { Host: 'localhost:4767' });
  assert.ok(text.includes('href="http://127.0.0.1:4767/vreemd"'));
});

test('the session cookie gives access to the private file and counts the visits', async () => {
  const first = await server.get('/');
  assert.match(first.text, /id="bezoek">1</);
  const Cookie = first.headers['set-cookie'][0].split(';')[0];
  const { status, text } = await server.get('/api/bestand/besloten', { Cookie });
  assert.deepEqual([status, text], [200, 'Alleen voor deze sessie.\n']);
  assert.match((await server.get('/', { Cookie })).text, /id="bezoek">2</);
});

test('the large file has the requested size and the truncated one ends early', async () => {
  assert.equal((await server.get('/api/bestand/groot?mib=3')).text.length, 3 * 1024 * 1024);
  await assert.rejects(server.get('/api/bestand/afgebroken'), { code: 'ECONNRESET' });
});

test('only manifests and archives are served from the folder of releases', async (t) => {
  const folder = mkdtempSync(join(tmpdir(), 'orvel-releases-'));
  t.after(() => rmSync(folder, { recursive: true }));
  const files = { 'linux.json': '{"versie": "1.1"}', 'Orvel OS 1.1.zip': 'PK', 'secret.txt': 'no' };
  for (const [name, text] of Object.entries(files)) writeFileSync(join(folder, name), text);
  mkdirSync(join(folder, 'folder.zip'));
  symlinkSync('/nowhere', join(folder, 'dangling.zip'));
  const ownServer = await startServer({ ORVEL_DEMO_RELEASES: folder });
  t.after(ownServer.stop);
  assert.equal((await ownServer.get('/download/linux.json')).text, files['linux.json']);
  const { headers, text } = await ownServer.get('/download/Orvel%20OS%201.1.zip');
  assert.deepEqual([headers['content-type'], text], ['application/zip', 'PK']);
  for (const name of ['mac.json', 'secret.txt', 'folder.zip', 'dangling.zip', '..%2Fsecret.zip']) {
    assert.equal((await ownServer.get(`/download/${name}`)).status, 404, name);
  }
});

test('a request whose Host is neither an IP address nor localhost gets status 421', async () => {
  const accepted = ['127.0.0.1', `127.0.0.1:${server.port}`, 'localhost:4767', 'LOCALHOST',
    '[::1]:4767', '192.168.1.20'];
  const refused = ['example.org', `example.org:${server.port}`, '127.0.0.1.example.org',
    'localhost.example.org', '[::1', 'localhost:x'];
  for (const host of [...accepted, ...refused]) {
    const { status } = await server.get('/api/wie', { host });
    assert.equal(status, refused.includes(host) ? 421 : 200, host);
  }
});
