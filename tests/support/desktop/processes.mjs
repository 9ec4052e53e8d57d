// The programs, processes and listening ports of this machine.

import { spawnSync } from 'node:child_process';
import { constants, readdirSync, readFileSync, readlinkSync } from 'node:fs';
import { networkInterfaces } from 'node:os';

const { O_RDWR, O_WRONLY } = constants;

/// The port of the application's server.
export const PORT = 4767;

/// Whether this machine has the loopback address ::1.
export const hasIpv6 =
  Object.values(networkInterfaces()).flat().some(({ address }) => address === '::1');

/// Returns the path of a program, or '' if it is not installed.
export function pathOf(program) {
  const { stdout } = spawnSync('sh', ['-c', 'command -v "$0"', program], { encoding: 'utf8' });
  return stdout.trim();
}

/// Returns the text of a file, or '' when it cannot be read. The files of a process in /proc
/// disappear when it ends.
export function readOrEmpty(path) {
  try {
    return readFileSync(path, 'latin1');
  } catch {
    return '';
  }
}

function listOrEmpty(folder) {
  try {
    return readdirSync(folder);
  } catch {
    return [];
  }
}

function linkTargetOrEmpty(link) {
  try {
    return readlinkSync(link);
  } catch {
    return '';
  }
}

function pids() {
  return listOrEmpty('/proc').filter((name) => /^\d+$/.test(name)).map(Number);
}

/// Returns the properties of a process. The `state` is empty if the process does not exist.
export function readProcess(pid) {
  const stat = readOrEmpty(`/proc/${pid}/stat`);
  // The fields from the third on (proc_pid_stat(5)). The name in parentheses may contain blanks.
  const fields = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
  const [state, parent, , session] = fields;
  return {
    pid,
    state,
    parent: Number(parent),
    session: Number(session),
    niceness: Number(fields[16]),
    name: readOrEmpty(`/proc/${pid}/comm`).trim(),
    command: readOrEmpty(`/proc/${pid}/cmdline`).split('\0').join(' ').trim(),
  };
}

/// Returns the processes whose environment holds the entry `marker` or that belong to one of the
/// `sessions`. The environments of other users' processes cannot be read. Zombies are left out,
/// because an orphaned one stays until PID 1 reaps it.
export function markedProcesses(marker, sessions = new Set()) {
  const wanted = `\0${marker}\0`;
  return pids()
    .map(readProcess)
    .filter(
      ({ pid, session, state }) =>
        state &&
        state !== 'Z' &&
        (sessions.has(session) || `\0${readOrEmpty(`/proc/${pid}/environ`)}`.includes(wanted)),
    );
}

/// Returns the paths of the regular files that a process has open for writing.
export function filesOpenForWriting(pid) {
  const folder = `/proc/${pid}/fd`;
  return listOrEmpty(folder).flatMap((fd) => {
    const path = linkTargetOrEmpty(`${folder}/${fd}`);
    const flags = /^flags:\s*(\d+)/m.exec(readOrEmpty(`/proc/${pid}/fdinfo/${fd}`))?.[1] ?? '0';
    const isWritable = (parseInt(flags, 8) & (O_WRONLY | O_RDWR)) !== 0;
    const isRegularFile = /^\/(?!dev\/|proc\/|memfd:)/.test(path) && !path.endsWith(' (deleted)');
    return isWritable && isRegularFile ? [path] : [];
  });
}

/// Returns the IDs of the threads of a process whose names begin with `prefix`.
export function threadsNamed(pid, prefix) {
  const folder = `/proc/${pid}/task`;
  return listOrEmpty(folder)
    .filter((thread) => readOrEmpty(`${folder}/${thread}/comm`).startsWith(prefix)).map(Number);
}

/// Returns whether a process has a child that has ended and that it has not waited for.
export function hasZombie(parent) {
  return pids().map(readProcess).some((child) => child.parent === parent && child.state === 'Z');
}

/// Returns the largest resident memory of a process so far, in MiB; 0 when it has ended.
export function peakMemory(pid) {
  return Number(/^VmHWM:\s*(\d+) kB$/m.exec(readOrEmpty(`/proc/${pid}/status`))?.[1] ?? 0) / 1024;
}

/// Returns whether a process exists and is no zombie.
export function isRunning(pid) {
  const { state } = readProcess(pid);
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

/// TCP_LISTEN in the kernel's tcp_states.h, as /proc/net/tcp has it.
const listeningState = '0A';

/// Returns "PID (COMMAND)" of each process that listens on PORT, "unknown process" if only other
/// users' processes do, or '' if the port is free.
export function describePortHolders() {
  const suffix = `:${PORT.toString(16).toUpperCase().padStart(4, '0')}`;
  const sockets = ['/proc/net/tcp', '/proc/net/tcp6']
    .flatMap((file) => readOrEmpty(file).split('\n').slice(1))
    .map((line) => line.trim().split(/\s+/))
    .filter(([, local = '', , state]) => local.endsWith(suffix) && state === listeningState)
    // Field 9 is the inode.
    .map((fields) => `socket:[${fields[9]}]`);
  if (sockets.length === 0) return '';
  const holders = pids().filter((pid) => {
    const folder = `/proc/${pid}/fd`;
    return listOrEmpty(folder).some((fd) => sockets.includes(linkTargetOrEmpty(`${folder}/${fd}`)));
  });
  return holders.map((pid) => `${pid} (${readProcess(pid).command})`).join(', ') ||
    'unknown process';
}
