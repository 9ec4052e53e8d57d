// What runs on this machine, read from /proc.

import { constants, readdirSync, readFileSync, readlinkSync } from 'node:fs';

const { O_RDWR, O_WRONLY } = constants;

/// The port that the application has for its server.
export const PORT = 4767;

function read(path) {
  try {
    return readFileSync(path, 'latin1');
  } catch {
    return '';
  }
}

function entries(folder) {
  try {
    return readdirSync(folder);
  } catch {
    return [];
  }
}

function target(link) {
  try {
    return readlinkSync(link);
  } catch {
    return '';
  }
}

function pids() {
  return entries('/proc').filter((name) => /^\d+$/.test(name)).map(Number);
}

function describe(pid) {
  const stat = read(`/proc/${pid}/stat`);
  const [state, parent, , session] = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
  return {
    pid,
    // Empty for a process that has gone meanwhile.
    state,
    parent: Number(parent),
    session: Number(session),
    name: read(`/proc/${pid}/comm`).trim(),
    command: read(`/proc/${pid}/cmdline`).split('\0').join(' ').trim(),
  };
}

/// The processes whose environment holds `marker` or that belong to one of the
/// `sessions`; other users' environments cannot be read. Zombies do not count:
/// they wait for a parent, which at the end is the system's first process.
export function markedProcesses(marker, sessions = new Set()) {
  const wanted = `\0${marker}\0`;
  return pids()
    .map(describe)
    .filter(
      ({ pid, session, state }) =>
        state &&
        state !== 'Z' &&
        (sessions.has(session) || `\0${read(`/proc/${pid}/environ`)}`.includes(wanted)),
    );
}

/// The paths of the ordinary files that a process holds open for writing.
export function filesOpenForWriting(pid) {
  const folder = `/proc/${pid}/fd`;
  return entries(folder).flatMap((fd) => {
    const path = target(`${folder}/${fd}`);
    const flags = /^flags:\s*(\d+)/m.exec(read(`/proc/${pid}/fdinfo/${fd}`))?.[1] ?? '0';
    const writable = (parseInt(flags, 8) & (O_WRONLY | O_RDWR)) !== 0;
    const ordinary = /^\/(?!dev\/|proc\/|memfd:)/.test(path) && !path.endsWith(' (deleted)');
    return writable && ordinary ? [path] : [];
  });
}

/// How much less than its share of the processor a process gets (nice).
export function niceValue(pid) {
  const stat = read(`/proc/${pid}/stat`);
  return stat.slice(stat.lastIndexOf(')') + 2).split(' ')[16];
}

/// Whether a process of this number is there.
export function isRunning(pid) {
  const { state } = describe(pid);
  return Boolean(state) && state !== 'Z';
}

/// Ends one process at once; nothing happens when it has gone already.
export function kill(pid, signal = 'SIGKILL') {
  try {
    process.kill(pid, signal);
  } catch (error) {
    if (error.code !== 'ESRCH') throw error;
  }
}

/// The processes that listen on a TCP port of this machine, as text for people;
/// empty when none does.
export function listeners(port = PORT) {
  const suffix = `:${port.toString(16).toUpperCase().padStart(4, '0')}`;
  const sockets = ['/proc/net/tcp', '/proc/net/tcp6']
    .flatMap((file) => read(file).split('\n').slice(1))
    .map((line) => line.trim().split(/\s+/))
    .filter(([, local = '', , state]) => local.endsWith(suffix) && state === '0A')
    .map((fields) => `socket:[${fields[9]}]`);
  if (sockets.length === 0) return '';
  const holders = pids().filter((pid) => {
    const folder = `/proc/${pid}/fd`;
    return entries(folder).some((fd) => sockets.includes(target(`${folder}/${fd}`)));
  });
  return holders.map((pid) => `${pid} (${describe(pid).command})`).join(', ') || 'unknown process';
}
