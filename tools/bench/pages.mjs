// The pages of the benchmark. The heavy page has the size of a typical web application: 300 kB
// of script that runs, a style sheet and 2,000 elements. The other two start downloads: the
// application downloads /api/export and files below /api/bestand/ instead of showing them.

const SCRIPT_SIZE = 300_000;
const ELEMENTS = 2000;

export const LARGE_FILE_SIZE = 4 * 1024 ** 3;
export const SMALL_FILE_SIZE = 10 * 1024;
export const SMALL_FILES = 10_000;
/// The number of small files that the page requests at once.
const CONCURRENT_FILES = 8;

/// The colours of the marks (three squares at the lower edge of the heavy page, which appear when
/// it is loaded) and of the band at its top.
export const MARK = [19, 199, 161];
export const BAND = [120, 64, 200];

const css = (colour) => `rgb(${colour.join(',')})`;

export const heavyStyle = `
html, body { margin: 0; background: #07090c; color: #c3ccd5; font: 14px sans-serif; }
#band { height: 260px; background: ${css(BAND)}; }
#cards { display: flex; flex-wrap: wrap; gap: 8px; padding: 8px; }
.card { width: 180px; padding: 8px; border: 1px solid #28303a; border-radius: 8px;
        background: linear-gradient(#121821, #0b1017); box-shadow: 0 1px 4px rgba(0,0,0,.5); }
.card b { display: block; color: #eef2f5; }
.card span { opacity: .8; }
.card button { border-radius: 6px; border: 0; background: #8fc7ff; }
.mark { display: none; position: fixed; bottom: 0; width: 80px; height: 80px;
        background: ${css(MARK)}; }
.loaded .mark { display: block; }
${Array.from({ length: 200 }, (_, index) => `.k${index} { order: ${index}; padding-left: ${index % 9}px; }`).join('\n')}
`;

/// Returns the code of many small functions that differ from each other.
function modules() {
  let text = 'const modules = [];\n';
  // Leaves room for one more function and for the code of `build`.
  for (let number = 0; text.length < SCRIPT_SIZE - 1800; number += 1) {
    text += `modules.push(function module${number}(store, input) {
  const result = { number: ${number}, step: ${(number * 7) % 13}, name: 'module ${number}' };
  const terms = Array.from({ length: ${3 + (number % 5)} }, (_, i) => i * result.step + ${number % 17});
  const sum = terms.filter((x) => x % 2 === ${number % 2}).map((x) => x + 1).reduce((a, b) => a + b, 0);
  if (sum > ${number % 29}) result.number += sum; else result.name += '-' + input.length;
  store.set('k' + ${number}, result.name + ':' + result.number);
  return result.number % ${2 + (number % 7)} === 0 ? terms.join('/') : input.slice(0, ${number % 11});
});
`;
  }
  return text;
}

// Calls the functions, creates cards of five elements, and reports the time of the load event.
const build = `
const store = new Map();
const cards = document.getElementById('cards');
for (let i = 0; i < ${ELEMENTS / 5}; i += 1) {
  let text = 'card ' + i;
  for (let j = i % 3; j < modules.length; j += 3) text = String(modules[j](store, text)) + i;
  const card = document.createElement('div');
  card.className = 'card k' + (i % 200);
  for (const [name, content] of [['b', 'Card ' + i], ['span', text.slice(0, 40)],
    ['p', 'results ' + store.size], ['button', 'open']]) {
    const element = document.createElement(name);
    element.textContent = content;
    card.append(element);
  }
  cards.append(card);
}
addEventListener('load', () => {
  fetch('/bench/loaded?time=' + (performance.timeOrigin + performance.now()), { method: 'POST' });
  document.body.className = 'loaded';
});
`;

const code = modules() + build;
/// The code, padded with blanks to SCRIPT_SIZE; repeat() throws if the code is longer.
export const heavyScript = code + ' '.repeat(SCRIPT_SIZE - code.length);

const page = (body) =>
  `<!doctype html><html lang="nl"><meta charset="utf-8"><title>Orvel OS</title>${body}</html>\n`;

export const heavyPage = page(`
<link rel="stylesheet" href="/style.css"><body><div id="band"></div><div id="cards"></div>
<div class="mark" style="left:0"></div><div class="mark" style="left:50%"></div>
<div class="mark" style="right:0"></div><script src="/os.js"></script></body>`);

export const largeFilePage =
  page(`<body><script>location.href = '/api/bestand/large.bin';</script>`);

/// Requests the next file for each one that the server reports as sent.
export const smallFilesPage = page(`<body><script>
  let next = 0;
  const link = document.body.appendChild(document.createElement('a'));
  const requestFile = () => {
    if (next === ${SMALL_FILES}) return;
    link.href = '/api/export?' + next++;
    link.click();
  };
  const sent = new EventSource('/bench/sent');
  sent.onmessage = requestFile;
  sent.onopen = () => { for (let i = 0; i < ${CONCURRENT_FILES}; i += 1) requestFile(); };
</script>`);

/// Returns whether no window covers the centre of the screen: the root window is black.
export function isEmptyScreen(framebuffer) {
  return framebuffer.shows([0, 0, 0], framebuffer.width >> 1, framebuffer.height >> 1);
}

/// Returns whether the loaded heavy page is painted from edge to edge. Checks a pixel in each of
/// the three marks, and three of the band, so far down that no title bar covers them. Reads only
/// these pixels, so that polling costs hardly any processor time.
export function showsHeavyPage(framebuffer) {
  const { width, height } = framebuffer;
  return [30, (width >> 1) + 20, width - 60].every((x) => framebuffer.shows(MARK, x, height - 40)) &&
    [30, width >> 1, width - 60].every((x) => framebuffer.shows(BAND, x, 140));
}
