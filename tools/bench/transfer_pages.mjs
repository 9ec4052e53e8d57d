// What is downloaded, and the pages that ask for it.

export const LARGE = 4 * 1024 ** 3;
export const SMALL = 10 * 1024;
export const FILES = 10_000;
/// How many small files the page asks for before it has got one.
export const AT_ONCE = 8;

const body = (script) =>
  `<!doctype html><meta charset="utf-8"><title>Orvel OS</title><body><script>${script}</script>`;

export const largePage = body("location.href = '/api/bestand/groot.bin';");

export const smallPage = body(`
  let next = 0;
  const link = document.body.appendChild(document.createElement('a'));
  const ask = () => {
    if (next === ${FILES}) return;
    link.href = '/api/export?' + next++;
    link.click();
  };
  const sent = new EventSource('/bench/verzonden');
  sent.onmessage = ask;
  sent.onopen = () => { for (let i = 0; i < ${AT_ONCE}; i += 1) ask(); };
`);
