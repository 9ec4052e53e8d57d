// The downloads: the export, the stored files, and generated content.

import { setTimeout as pause } from 'node:timers/promises';

import { appKeysOf, labelOf } from './app_keys.mjs';
import { logo } from './layout.mjs';
import { sessionOf } from './sessions.mjs';

/// Returns a one-page PDF with one line of text (ISO 32000-1).
function pdf(text) {
  const stream = `BT /F1 28 Tf 72 740 Td (${text}) Tj ET`;
  const objects = [
    '<< /Type /Catalog /Pages 2 0 R >>',
    '<< /Type /Pages /Kids [3 0 R] /Count 1 >>',
    '<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R /Resources << /Font << /F1 5 0 R >> >> >>',
    `<< /Length ${stream.length} >>\nstream\n${stream}\nendstream`,
    '<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>',
  ];
  let body = '%PDF-1.4\n';
  let table = `xref\n0 ${objects.length + 1}\n0000000000 65535 f \n`;
  objects.forEach((object, index) => {
    table += `${String(body.length).padStart(10, '0')} 00000 n \n`;
    body += `${index + 1} 0 obj\n${object}\nendobj\n`;
  });
  return `${body}${table}trailer\n<< /Size ${objects.length + 1} /Root 1 0 R >>\nstartxref\n${body.length}\n%%EOF\n`;
}

const CSV = 'maand;omzet\njanuari;1200\nfebruari;1350\nmaart;1490\n';
const NOTES = 'Notities\n\n- melk\n- brood\n- de hond uitlaten\n';
const STORED_PAGE = `<!doctype html><html lang="nl" style="background:#07090c;color:#c3ccd5;font:15px system-ui,sans-serif">
<meta charset="utf-8"><title>Opgeslagen pagina</title><h1 style="color:#eef2f5;font-size:18px">Opgeslagen pagina</h1>
<p><a style="color:#7cc4f0" href="/api/bestand/3">Een bestand</a>, <a style="color:#7cc4f0" href="/lang">een pagina</a>
en <a style="color:#7cc4f0" href="https://example.org/">een andere site</a>.</p></html>\n`;

const attachment = (parameters) => `attachment; ${parameters}`;

/// The stored files by id: displayed name, media type, Content-Disposition (undefined for
/// none) and content.
export const FILES = new Map(Object.entries({
  1: ['rapport.pdf', 'application/pdf', 'inline; filename="rapport.pdf"', pdf('Orvel OS: rapport')],
  2: ['notities, naam uit het adres', 'text/plain; charset=utf-8', undefined, NOTES],
  3: ['data.csv', 'text/csv; charset=utf-8', attachment('filename="data.csv"'), CSV],
  4: ['beeldmerk.svg', 'image/svg+xml', 'inline; filename=beeldmerk.svg', logo],
  5: ['café € overzicht.txt', 'text/plain; charset=utf-8',
    attachment("filename=\"cafe overzicht.txt\"; filename*=UTF-8''caf%C3%A9%20%E2%82%AC%20overzicht.txt"), NOTES],
  6: ['a/b.csv', 'text/csv; charset=utf-8', attachment('filename="a/b.csv"'), CSV],
  7: ['map/jaar/verslag.txt', 'text/plain; charset=utf-8',
    attachment("filename*=UTF-8''map%2Fjaar%2Fverslag.txt"), NOTES],
  8: ['pagina.html', 'text/html; charset=utf-8', 'inline; filename="pagina.html"', STORED_PAGE],
  9: ['LEESMIJ, zonder extensie', 'application/octet-stream', attachment('filename="LEESMIJ"'), NOTES],
  10: ['..', 'text/plain; charset=utf-8', attachment('filename=".."'), NOTES],
  11: ['een naam van 255 tekens', 'text/plain; charset=utf-8',
    attachment(`filename="${'n'.repeat(251)}.txt"`), NOTES],
  12: ['jaar.2026.definitief.csv', 'text/csv; charset=utf-8', attachment('filename="jaar.2026.definitief.csv"'), CSV],
}));

/// Returns the export with its name and media type: CSV, or JSON with `formaat=json`. Its content
/// says in which places the request has the application's key.
export function exportFor(request, query) {
  const herkend = labelOf(appKeysOf(request.headers));
  const sessie = sessionOf(request.headers) ? 'ja' : 'nee';
  if (query.get('formaat') === 'json') {
    const body = `${JSON.stringify({ herkend, sessie, maanden: { januari: 1200, februari: 1350 } })}\n`;
    return { name: 'orvel-export.json', type: 'application/json; charset=utf-8', body };
  }
  const body = `onderdeel;waarde\nherkend;${herkend}\nsessie;${sessie}\njanuari;1200\nfebruari;1350\n`;
  return { name: 'orvel-export.csv', type: 'text/csv; charset=utf-8', body };
}

/// Yields this many bytes of repeated text.
export async function* repeatedText(bytes) {
  const block = Buffer.alloc(64 * 1024, 'Orvel OS ');
  for (let left = bytes; left > 0; left -= block.length) {
    yield left < block.length ? block.subarray(0, left) : block;
  }
}

/// Yields this many lines, one every 500 ms.
export async function* slowLines(count) {
  for (let line = 1; line <= count; line += 1) {
    yield `regel ${String(line).padStart(2, '0')}\n`;
    await pause(500);
  }
}
