// The downloads of the demo server.

import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { start } from './support.mjs';

let server;
before(async () => { server = await start(); });
after(() => server.stop());

test('the export is an attachment and says how the request was recognised', async () => {
  const csv = await server.get('/api/export', { 'X-ORVEL-App': 'k' });
  assert.equal(csv.status, 200);
  assert.equal(csv.headers['content-type'], 'text/csv; charset=utf-8');
  assert.equal(csv.headers['content-disposition'], 'attachment; filename="orvel-export.csv"');
  assert.match(csv.text, /herkend;App via header\nsessie;nee\n/);
  const json = await server.get('/api/export?formaat=json');
  assert.equal(json.headers['content-disposition'], 'attachment; filename="orvel-export.json"');
  assert.equal(JSON.parse(json.text).herkend, 'Gewone browser');
});

test('the stored files have these media types and Content-Disposition headers', async () => {
  const text = 'text/plain; charset=utf-8';
  const csv = 'text/csv; charset=utf-8';
  const expected = {
    1: ['application/pdf', 'inline; filename="rapport.pdf"'],
    2: [text, undefined],
    3: [csv, 'attachment; filename="data.csv"'],
    4: ['image/svg+xml', 'inline; filename=beeldmerk.svg'],
    5: [text, 'attachment; filename="cafe overzicht.txt"; ' +
      "filename*=UTF-8''caf%C3%A9%20%E2%82%AC%20overzicht.txt"],
    6: [csv, 'attachment; filename="a/b.csv"'],
    7: [text, "attachment; filename*=UTF-8''map%2Fjaar%2Fverslag.txt"],
    8: ['text/html; charset=utf-8', 'inline; filename="pagina.html"'],
    9: ['application/octet-stream', 'attachment; filename="LEESMIJ"'],
    10: [text, 'attachment; filename=".."'],
    11: [text, `attachment; filename="${'n'.repeat(251)}.txt"`],
    12: [csv, 'attachment; filename="jaar.2026.definitief.csv"'],
  };
  for (const [id, [type, disposition]] of Object.entries(expected)) {
    const { status, headers, text: content } = await server.get(`/api/bestand/${id}`);
    assert.equal(status, 200, id);
    assert.equal(headers['content-type'], type, id);
    assert.equal(headers['content-disposition'], disposition, id);
    assert.ok(content.length > 0, id);
  }
  assert.equal((await server.get('/api/bestand/13')).status, 404);
});

test('the private file needs the session cookie', async () => {
  assert.equal((await server.get('/api/bestand/besloten')).status, 401);
  const [cookie] = (await server.get('/')).headers['set-cookie'];
  const headers = { Cookie: cookie.split(';')[0] };
  const { status, text } = await server.get('/api/bestand/besloten', headers);
  assert.equal(status, 200);
  assert.equal(text, 'Alleen voor deze sessie.\n');
});

test('the large file has the requested size', async () => {
  const { headers, text } = await server.get('/api/bestand/groot?mib=3');
  assert.equal(headers['content-length'], String(3 * 1024 * 1024));
  assert.equal(text.length, 3 * 1024 * 1024);
});

test('the truncated file ends before its Content-Length', async () => {
  await assert.rejects(server.get('/api/bestand/afgebroken'), { code: 'ECONNRESET' });
});

test('redirects lead to the export, to a file, to another site and to a page', async () => {
  const location = async (name) => (await server.get(`/omleiding/${name}`)).headers.location;
  assert.equal(await location('export'), '/api/export');
  assert.equal(await location('bestand'), '/api/bestand/1');
  assert.equal(await location('pagina'), '/lang');
  assert.match(await location('extern'), /^https:\/\/example\.org\//);
});

test('only manifests and archives are served from the folder of releases', async () => {
  const folder = mkdtempSync(join(tmpdir(), 'orvel-releases-'));
  const manifest = '{"versie": "1.1", "zip": "orvel-os-1.1.zip"}';
  writeFileSync(join(folder, 'linux.json'), manifest);
  writeFileSync(join(folder, 'orvel-os-1.1.zip'), 'PK-1');
  writeFileSync(join(folder, 'Orvel OS 1.2.zip'), 'PK-2');
  writeFileSync(join(folder, 'secret.txt'), 'secret');
  mkdirSync(join(folder, 'folder.zip'));
  symlinkSync('/nowhere', join(folder, 'dangling.zip'));
  const own = await start({ ORVEL_DEMO_RELEASES: folder });
  try {
    const json = await own.get('/download/linux.json');
    assert.equal(json.status, 200);
    assert.equal(json.text, manifest);
    const zip = await own.get('/download/orvel-os-1.1.zip');
    assert.equal(zip.headers['content-type'], 'application/zip');
    assert.equal(zip.headers['content-length'], '4');
    assert.equal(zip.text, 'PK-1');
    assert.equal((await own.get('/download/Orvel%20OS%201.2.zip')).text, 'PK-2');
    for (const name of ['mac.json', 'secret.txt', 'folder.zip', 'dangling.zip', '..%2Fsecret.zip']) {
      assert.equal((await own.get(`/download/${name}`)).status, 404, name);
    }
  } finally {
    await own.stop();
    rmSync(folder, { recursive: true });
  }
});
