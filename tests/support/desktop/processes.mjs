// The processes of this machine, read from /proc.

import { constants, readdirSync, readFileSync, readlinkSync } from 'node:fs';

const { O_RDWR, O_WRONLY } = constants;

/// The port of the application's server.
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

/// Returns what /proc says about a process. The `state` is empty if it does not exist.
export function describe(pid) {
  const stat = read(`/proc/${pid}/stat`);
  // proc_pid_stat(5). The name in parentheses may contain blanks.
  const fields = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
  const [state, parent, , session] = fields;
  return {
    pid,
    state,
    parent: Number(parent),
    session: Number(session),
    niceness: Number(fields[16]),
    name: read(`/proc/${pid}/comm`).trim(),
    command: read(`/proc/${pid}/cmdline`).split('\0').join(' ').trim(),
  };
}

/// Returns the processes whose environment holds `marker` or that belong to one of the
/// `sessions`. The environments of other users' processes cannot be read. Zombies are left
/// out: orphaned ones wait for PID 1.
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

/// Returns the paths of the regular files that a process has open for writing.
export function filesOpenForWriting(pid) {
  const folder = `/proc/${pid}/fd`;
  return entries(folder).flatMap((fd) => {
    const path = target(`${folder}/${fd}`);
    const flags = /^flags:\s*(\d+)/m.exec(read(`/proc/${pid}/fdinfo/${fd}`))?.[1] ?? '0';
    const isWritable = (parseInt(flags, 8) & (O_WRONLY | O_RDWR)) !== 0;
    const isRegular = /^\/(?!dev\/|proc\/|memfd:)/.test(path) && !path.endsWith(' (deleted)');
    return isWritable && isRegular ? [path] : [];
  });
}

/// Returns whether a process has a child that has ended and that it has not waited for.
export function hasZombie(parent) {
  return pids().map(describe).some((child) => child.parent === parent && child.state === 'Z');
}

/// Returns the largest resident memory of a process so far, in MiB; 0 when it has ended.
export function peakMemory(pid) {
  return Number(/^VmHWM:\s*(\d+) kB$/m.exec(read(`/proc/${pid}/status`))?.[1] ?? 0) / 1024;
}

/// Returns whether a process exists and is no zombie.
export function isRunning(pid) {
  const { state } = describe(pid);
  return Boolean(state) && state !== 'Z';
}

/// Sends a signal to a process, if it still exists.
export function kill(pid, signal = 'SIGKILL') {
  try {
    process.kill(pid, signal);
  } catch (error) {
    if (error.code !== 'ESRCH') throw error;
  }
}

/// Returns the processes that listen on a TCP port, as text for messages; '' if there are none.
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
