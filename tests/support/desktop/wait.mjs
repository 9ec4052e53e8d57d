import { setTimeout as pause } from 'node:timers/promises';

// A machine that does several things at once, or a sanitizer, is slow.
const patience = Number(process.env.ORVEL_E2E_TIMEOUT_MS ?? 20_000);

let crash = null;

/// Makes every wait fail at once with this error, until it is called with null.
export function stopWaiting(error) {
  crash = error;
}

/// Looks at a condition until it gives something true, and returns that. Fails
/// after `timeout` milliseconds, naming `what` was missing.
export async function waitFor(what, condition, { timeout = patience, every = 20 } = {}) {
  const end = Date.now() + timeout;
  for (;;) {
    if (crash) throw crash;
    const seen = await condition();
    if (seen) return seen;
    if (Date.now() > end) throw new Error(`not seen within ${timeout} ms: ${what}`);
    await pause(every);
  }
}
