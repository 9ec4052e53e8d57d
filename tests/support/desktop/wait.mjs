import { setTimeout as pause } from 'node:timers/promises';

// Longer than anything takes on a busy machine or under a sanitizer.
const defaultTimeout = Number(process.env.ORVEL_E2E_TIMEOUT_MS ?? 40_000);

let failure = null;

/// Makes every wait fail with this error, until it is called with null.
export function failWaits(error) {
  failure = error;
}

/// Evaluates a condition every `every` ms until its value is truthy, and returns that value.
/// Throws after `timeout` ms with `what` in the message.
export async function waitFor(what, condition, { timeout = defaultTimeout, every = 20 } = {}) {
  const end = Date.now() + timeout;
  for (;;) {
    if (failure) throw failure;
    const value = await condition();
    if (value) return value;
    if (Date.now() > end) throw new Error(`not seen within ${timeout} ms: ${what}`);
    await pause(every);
  }
}
