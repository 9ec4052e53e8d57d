import { spawn } from 'node:child_process';

import { PORT, describePortHolders, isRunning, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

/// Runs node with these arguments, which make it listen on PORT, during the body. The body gets
/// the process and a function that returns its output.
export async function withPortHolder(args, body) {
  const holder = spawn(process.execPath, args, {
    env: { PATH: process.env.PATH, PORT: String(PORT) }, stdio: ['ignore', 'pipe', 'ignore'],
  });
  let output = '';
  holder.stdout.on('data', (text) => (output += text));
  try {
    // describePortHolders() has "PID (COMMAND)" for each process.
    await waitFor('a listening process', () => describePortHolders().includes(`${holder.pid} (`));
    await body(holder, () => output);
  } finally {
    kill(holder.pid);
    await waitFor('the end of the process', () => !isRunning(holder.pid));
  }
}
