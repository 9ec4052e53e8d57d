// Waits for conditions. Every time limit is a guard against a hang: far longer than the
// condition takes on a busy machine or under a sanitizer. ORVEL_TEST_TIMEOUT_FACTOR
// multiplies all of them.

import { setTimeout as pause } from 'node:timers/promises';

const timeoutFactor = Number(process.env.ORVEL_TEST_TIMEOUT_FACTOR ?? 1);
const defaultTimeout = 60_000;

/// The guard, in ms, of programs that a test runs. It includes ORVEL_TEST_TIMEOUT_FACTOR.
export const programTimeout = defaultTimeout * timeoutFactor;

/// The `timeout` of waitFor() for thousands of requests, windows or programs, in ms.
export const floodTimeout = 1_000_000;

let fatalError = null;

/// Makes every wait throw this error from now on. With null, waits work again.
export function failWaits(error) {
  fatalError = error;
}

/// Evaluates a condition every `every` ms until its value is truthy, and returns that value.
/// Throws after `timeout` ms, multiplied by ORVEL_TEST_TIMEOUT_FACTOR, with `what` in the message.
export async function waitFor(what, condition, { timeout = defaultTimeout, every = 20 } = {}) {
  const limit = timeout * timeoutFactor;
  const end = Date.now() + limit;
  for (;;) {
    if (fatalError) throw fatalError;
    const value = await condition();
    if (value) return value;
    if (Date.now() > end) throw new Error(`not seen within ${limit} ms: ${what}`);
    await pause(every);
  }
}

/// Performs an action until a condition holds, at most once in `interval` ms, and returns the
/// value of the condition. For keys and clicks that may come too early to have an effect.
export async function repeatUntil(what, action, condition, { interval = 5000 } = {}) {
  let next = 0;
  return waitFor(what, async () => {
    if (Date.now() >= next) {
      await action();
      next = Date.now() + interval;
    }
    return condition();
  });
}
