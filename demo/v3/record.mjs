// The record of requests: the last ones in memory, all of them in an optional file.

import { openSync, writeSync } from 'node:fs';

import { appKeysOf, cookiesOf } from './app_keys.mjs';

const MAX_REQUESTS = 200;

/// Opens the record. `path` is the file to which one JSON object a line is appended; if it is
/// undefined, the record is in memory only.
export function openRecord(path) {
  const file = path ? openSync(path, 'a') : null;
  const requests = [];
  // The application's readiness probes (GET /api/wie). `appKeys` and `time`, in milliseconds
  // since the epoch, are those of the last probe.
  const probes = { count: 0, appKeys: null, time: null };

  // Synchronous, so that the file has the request before the client has the response, and
  // before the process can be killed.
  function addEvent(name, details) {
    if (file === null) return;
    const line = { event: name, time: new Date().toISOString(), ...details };
    try {
      writeSync(file, `${JSON.stringify(line)}\n`);
    } catch (error) {
      process.stderr.write(`Het verslag kan niet worden geschreven: ${error.message}\n`);
    }
  }

  /// Records a request. Returns its entry, whose `status` the caller sets later.
  function addRequest({ method, url, headers, rawHeaders }) {
    addEvent('request', { method, url, headers, rawHeaders });
    const entry = {
      method,
      url,
      appKeys: appKeysOf(headers),
      cookies: Object.fromEntries(cookiesOf(headers)),
      status: null,
      time: new Date().toISOString(),
    };
    requests.push(entry);
    if (requests.length > MAX_REQUESTS) requests.shift();
    if (method === 'GET' && url === '/api/wie') {
      probes.count += 1;
      probes.appKeys = entry.appKeys;
      probes.time = Date.now();
    }
    return entry;
  }

  return { addEvent, addRequest, requests, probes };
}
