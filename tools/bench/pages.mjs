// A page of the weight that web applications have: 300 kB of script that is run,
// a style sheet, 2,000 elements. Always the same text.

export const SCRIPT_SIZE = 300_000;
export const ELEMENTS = 2000;

/// What the finished page shows at its lower edge, and what it shows under its
/// head once its content is there.
export const MARK = [19, 199, 161];
export const BAND = [120, 64, 200];

const css = (colour) => `rgb(${colour.join(',')})`;

export const style = `
html, body { margin: 0; background: #07090c; color: #c3ccd5; font: 14px sans-serif; }
#band { height: 260px; background: ${css(BAND)}; }
#kaarten { display: flex; flex-wrap: wrap; gap: 8px; padding: 8px; }
.kaart { width: 180px; padding: 8px; border: 1px solid #28303a; border-radius: 8px;
         background: linear-gradient(#121821, #0b1017); box-shadow: 0 1px 4px rgba(0,0,0,.5); }
.kaart b { display: block; color: #eef2f5; }
.kaart span { opacity: .8; }
.kaart button { border-radius: 6px; border: 0; background: #8fc7ff; }
.merk { display: none; position: fixed; bottom: 0; width: 80px; height: 80px;
        background: ${css(MARK)}; }
.klaar .merk { display: block; }
${Array.from({ length: 200 }, (_, at) => `.k${at} { order: ${at}; padding-left: ${at % 9}px; }`).join('\n')}
`;

/// Small functions of many shapes, all of which are called.
function modules() {
  let text = 'const modules = [];\n';
  for (let at = 0; text.length < SCRIPT_SIZE - 1800; at += 1) {
    text += `modules.push(function module${at}(kaart, tekst) {
  const teller = { waarde: ${at}, stap: ${(at * 7) % 13}, naam: 'module ${at}' };
  const reeks = Array.from({ length: ${3 + (at % 5)} }, (_, i) => i * teller.stap + ${at % 17});
  const som = reeks.filter((x) => x % 2 === ${at % 2}).map((x) => x + 1).reduce((a, b) => a + b, 0);
  if (som > ${at % 29}) teller.waarde += som; else teller.naam += '-' + tekst.length;
  kaart.set('k' + ${at}, teller.naam + ':' + teller.waarde);
  return teller.waarde % ${2 + (at % 7)} === 0 ? reeks.join('/') : tekst.slice(0, ${at % 11});
});
`;
  }
  return text;
}

// Five elements a card.
const build = `
const gegevens = new Map();
const kaarten = document.getElementById('kaarten');
for (let i = 0; i < ${ELEMENTS / 5}; i += 1) {
  let tekst = 'kaart ' + i;
  for (let j = i % 3; j < modules.length; j += 3) tekst = String(modules[j](gegevens, tekst)) + i;
  const kaart = document.createElement('div');
  kaart.className = 'kaart k' + (i % 200);
  for (const [naam, inhoud] of [['b', 'Kaart ' + i], ['span', tekst.slice(0, 40)],
    ['p', 'gegevens ' + gegevens.size], ['button', 'open']]) {
    const deel = document.createElement(naam);
    deel.textContent = inhoud;
    kaart.append(deel);
  }
  kaarten.append(kaart);
}
addEventListener('load', () => {
  fetch('/bench/geladen?om=' + (performance.timeOrigin + performance.now()), { method: 'POST' });
  document.body.className = 'klaar';
});
`;

export const script = (() => {
  const text = modules();
  return `${text}/*${' '.repeat(Math.max(0, SCRIPT_SIZE - text.length - build.length - 4))}*/${build}`;
})();

export const page = `<!doctype html><html lang="nl"><meta charset="utf-8"><title>Orvel OS</title>
<link rel="stylesheet" href="/stijl.css"><body><div id="band"></div><div id="kaarten"></div>
<div class="merk" style="left:0"></div><div class="merk" style="left:50%"></div>
<div class="merk" style="right:0"></div><script src="/os.js"></script></body></html>
`;
