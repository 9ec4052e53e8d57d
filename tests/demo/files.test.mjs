import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { start } from './support.mjs';

let server;
before(async () => { server = await start(); });
after(() => server.stop());

test('the export is an attachment and says who asked', async () => {
  const csv = await server.get('/api/export', { 'X-ORVEL-App': 'k' });
  assert.equal(csv.status, 200);
  assert.equal(csv.headers['content-type'], 'text/csv; charset=utf-8');
  assert.equal(csv.headers['content-disposition'], 'attachment; filename="orvel-export.csv"');
  assert.match(csv.text, /herkend;App via header\nsessie;nee\n/);
  const json = await server.get('/api/export?formaat=json');
  assert.equal(json.headers['content-disposition'], 'attachment; filename="orvel-export.json"');
  assert.equal(JSON.parse(json.text).herkend, 'Gewone browser');
});

test('the stored files have the types and the names that they are meant to try', async () => {
  const expected = {
    1: ['application/pdf', 'inline; filename="rapport.pdf"'],
    2: ['text/plain; charset=utf-8', undefined],
    3: ['text/csv; charset=utf-8', 'attachment; filename="data.csv"'],
    4: ['image/svg+xml', 'inline; filename=beeldmerk.svg'],
    5: ['text/plain; charset=utf-8',
      "attachment; filename=\"cafe overzicht.txt\"; filename*=UTF-8''caf%C3%A9%20%E2%82%AC%20overzicht.txt"],
    6: ['text/csv; charset=utf-8', 'attachment; filename="a/b.csv"'],
    7: ['text/plain; charset=utf-8', "attachment; filename*=UTF-8''map%2Fjaar%2Fverslag.txt"],
    8: ['text/html; charset=utf-8', 'inline; filename="pagina.html"'],
    9: ['application/octet-stream', 'attachment; filename="LEESMIJ"'],
    10: ['text/plain; charset=utf-8', 'attachment; filename=".."'],
    11: ['text/plain; charset=utf-8', `attachment; filename="${'n'.repeat(251)}.txt"`],
    12: ['text/csv; charset=utf-8', 'attachment; filename="jaar.2026.definitief.csv"'],
  };
  for (const [id, [type, disposition]] of Object.entries(expected)) {
    const { status, headers, text } = await server.get(`/api/bestand/${id}`);
    assert.equal(status, 200, id);
    assert.equal(headers['content-type'], type, id);
    assert.equal(headers['content-disposition'], disposition, id);
    assert.ok(text.length > 0, id);
  }
  for (const id of ['', '13', '1/2', 'weg', 'constructor', '..']) {
    assert.equal((await server.get(`/api/bestand/${id}`)).status, 404, id);
  }
});

test('the cross-reference table of the PDF points at its objects', async () => {
  const { text } = await server.get('/api/bestand/1');
  const start = Number(/startxref\n(\d+)\n%%EOF\n$/.exec(text)[1]);
  assert.equal(text.slice(start, start + 4), 'xref');
  const offsets = [...text.slice(start).matchAll(/^(\d{10}) 00000 n $/gm)].map(([, offset]) => Number(offset));
  assert.equal(offsets.length, 5);
  offsets.forEach((offset, index) => assert.ok(text.startsWith(`${index + 1} 0 obj`, offset)));
});

test('a private file wants the session', async () => {
  assert.equal((await server.get('/api/bestand/besloten')).status, 401);
  const [cookie] = (await server.get('/')).headers['set-cookie'];
  const { status, text } = await server.get('/api/bestand/besloten', { Cookie: cookie.split(';')[0] });
  assert.equal(status, 200);
  assert.equal(text, 'Alleen voor deze sessie.\n');
});

test('a large file has exactly the size that it was asked in', async () => {
  const { headers, text } = await server.get('/api/bestand/groot?mib=3');
  assert.equal(headers['content-length'], String(3 * 1024 * 1024));
  assert.equal(text.length, 3 * 1024 * 1024);
  for (const mib of ['-1', '1.5', '4097', 'veel']) {
    assert.equal((await server.get(`/api/bestand/groot?mib=${mib}`)).status, 400, mib);
  }
});

test('the cut file ends before its length', async () => {
  await assert.rejects(server.get('/api/bestand/afgebroken'), { code: 'ECONNRESET' });
});

test('redirects lead to the export, to a file, out and to a page', async () => {
  const to = async (name) => (await server.get(`/omleiding/${name}`)).headers.location;
  assert.equal(await to('export'), '/api/export');
  assert.equal(await to('bestand'), '/api/bestand/1');
  assert.equal(await to('pagina'), '/lang');
  assert.match(await to('extern'), /^https:\/\/example\.org\//);
});

test('without a folder of releases there is no manifest', async () => {
  const { status, headers, text } = await server.get('/download/linux.json', { Accept: 'text/html' });
  assert.equal(status, 404);
  assert.match(headers['content-type'], /^application\/json/);
  assert.equal(JSON.parse(text).status, 404);
});

test('a release is served from its folder, and nothing else is', async () => {
  const folder = mkdtempSync(join(tmpdir(), 'orvel-releases-'));
  const manifest = '{"versie": "1.1", "zip": "orvel-os-1.1.zip"}';
  writeFileSync(join(folder, 'linux.json'), manifest);
  writeFileSync(join(folder, 'orvel-os-1.1.zip'), 'PK-1');
  writeFileSync(join(folder, 'Orvel OS 1.2.zip'), 'PK-2');
  writeFileSync(join(folder, 'sleutel.txt'), 'geheim');
  mkdirSync(join(folder, 'map.zip'));
  symlinkSync('/nergens', join(folder, 'dood.zip'));
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
    for (const name of ['mac.json', 'sleutel.txt', 'map.zip', 'dood.zip', '', '..%2Fgeheim.zip', '%00.zip',
      `${'n'.repeat(300)}.zip`]) {
      assert.equal((await own.get(`/download/${name}`)).status, 404, name);
    }
  } finally {
    await own.stop();
    rmSync(folder, { recursive: true });
  }
});
