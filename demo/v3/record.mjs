// What was asked of the server: the last requests in memory, all of them in a
// file when one is named.

import { openSync, writeSync } from 'node:fs';

import { cookiesOf, marksOf } from './marks.mjs';

const KEPT = 200;

/// Opens the record; `path` names the file of JSON lines and may be absent.
export function openRecord(path) {
  const file = path ? openSync(path, 'a') : null;
  const requests = [];
  const probes = { count: 0, marks: null, time: null };

  // Written synchronously: a witness that reads the file after it has seen an
  // answer must find the request there, also when the process is killed.
  function event(name, details) {
    if (file === null) return;
    const line = { event: name, time: new Date().toISOString(), ...details };
    try {
      writeSync(file, `${JSON.stringify(line)}\n`);
    } catch (error) {
      process.stderr.write(`Het verslag kan niet worden geschreven: ${error.message}\n`);
    }
  }

  function request({ method, url, headers, rawHeaders }) {
    event('request', { method, url, headers, rawHeaders });
    const entry = {
      method,
      url,
      marks: marksOf(headers),
      cookies: Object.fromEntries(cookiesOf(headers)),
      status: null,
      time: new Date().toISOString(),
    };
    requests.push(entry);
    if (requests.length > KEPT) requests.shift();
    if (method === 'GET' && url === '/api/wie') {
      probes.count += 1;
      probes.marks = entry.marks;
      probes.time = Date.now();
    }
    return entry;
  }

  return { event, request, requests, probes };
}
