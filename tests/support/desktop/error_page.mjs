// The error page that the application shows instead of the page of its server.

import assert from 'node:assert/strict';

// The path of the log is a fixed text, wherever the data root is. "Mac" appears on Linux too.
export const missingServerMessage =
  'Deze Mac heeft het OS niet. Kies Orvel OS → Serveradres… en vul het online adres in.';
export const unresponsiveServerMessage =
  'De OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log.';

/// Returns the message about a server that has exited with this code or by the signal of this
/// number.
export const endedServerMessage = (code) =>
  `De OS-server is gestopt (code ${code}). Zie ~/orvel-os/v3/.local/server.log. ` +
  'Herstarten met ⌘R.';

/// Waits for a page that ends with this message, and fails unless the rest of its text is that of
/// the error page.
export async function awaitErrorPage(screen, message) {
  const text = await screen.awaitPageText((page) => page.endsWith(message));
  assert.equal(text, `Orvel OS\n${message}`);
}
