// What a server can answer wrongly, and what comes of it in each place:
//   polling      again: the probe counts as failed; ready: it counts as an answer;
//                waits: the probe lasts for as long as the answer
//   page         lost: the page is not shown, or a part of it; whole: it is shown;
//                either is left by Control-R
//   download     nothing; whole; waits
//   manifest     failed: the notice that the check failed; newest: it counts;
//                waits
//   archive      nothing; taken; waits

const none = { page: 'lost', polling: 'again', download: 'nothing', manifest: 'failed',
  archive: 'nothing' };
const all = { page: 'whole', polling: 'ready', download: 'whole', manifest: 'newest',
  archive: 'taken' };
const endless = { page: 'lost', polling: 'waits', download: 'waits', manifest: 'waits',
  archive: 'waits' };

/// `gate` is a file at whose making an answer that lasts comes to its end.
export const badAnswers = (gate) => ({
  'nothing at all': { route: { noReply: true },
    outcomes: { ...none, polling: undefined, manifest: undefined, archive: 'waits',
      download: 'waits' } },
  'a reset connection': { route: { reset: true }, outcomes: none },
  // A probe needs only the response head.
  'a body that is cut': { route: { truncated: true }, outcomes: { ...none, polling: 'ready' } },
  'a cut in the middle of a chunk': { route: { truncatedChunk: true },
    outcomes: { ...none, polling: 'ready' } },
  '1,000 header fields': { route: { headerFields: 1000 }, outcomes: all },
  // libsoup reads no head of more than some hundred kilobytes.
  '100,000 header fields': { route: { headerFields: 100_000 }, outcomes: none },
  'one byte a second': { route: { trickle: gate }, outcomes: endless },
  // A body of text counts as wrong when it is longer than any text of ours.
  'a flood without end': { route: { endless: true },
    outcomes: { ...endless, polling: 'ready', manifest: 'failed' } },
});
