// The script of every page.

// Reports the page as painted after two animation frames: the first callback runs before its frame
// is painted, the second one after that.
requestAnimationFrame(() => requestAnimationFrame(() => {
  const page = encodeURIComponent(location.pathname);
  const frame = window === window.top ? '' : '&kader=ja';
  fetch(`/api/getoond?pagina=${page}${frame}`, { method: 'POST' }).catch(() => {});
}));

// Runs once a minute, so that an idle page uses hardly any processor time, and 20 ms after the full
// minute, because a timer may fire slightly early.
function tick() {
  const now = new Date();
  const time = now.toLocaleTimeString('nl-NL', { hour: '2-digit', minute: '2-digit' });
  const date = now.toLocaleDateString('nl-NL', { weekday: 'long', day: 'numeric', month: 'long', year: 'numeric' });
  for (const element of document.querySelectorAll('[data-clock]')) element.textContent = time;
  for (const element of document.querySelectorAll('[data-date]')) element.textContent = date;
  setTimeout(tick, 60_000 - (Date.now() % 60_000) + 20);
}
tick();

function show(id, text) {
  const element = document.getElementById(id);
  if (element) element.textContent = text;
}

function reportAnswer(question, answer) {
  show('antwoord', `${question} gaf ${answer}.`);
  fetch(`/api/antwoord?vraag=${question}&antwoord=${answer}`, { method: 'POST' }).catch(() => {});
}

const actions = {
  alert(text) {
    alert(text);
    reportAnswer('alert', 'gesloten');
  },
  confirm(text) {
    reportAnswer('confirm', confirm(text));
  },
  alerts(count) {
    for (let number = 1; number <= Number(count); number += 1) alert(`Melding ${number}`);
    reportAnswer('alert', 'gesloten');
  },
  go(address) {
    location.href = address;
  },
  open(address) {
    const opened = window.open(address);
    show('venster', opened ? 'De pagina kreeg een venster.' : 'De pagina kreeg geen venster.');
  },
  blob() {
    location.href = URL.createObjectURL(new Blob(['<p>blob</p>'], { type: 'text/html' }));
  },
  async stop(how) {
    // The server requires this header, which pages of other sites cannot send.
    const headers = { 'X-Orvel-Demo': 'ja' };
    const response = await fetch(`/api/stop?hoe=${how}`, { method: 'POST', headers }).catch(() => null);
    show('storing', how === 'doof' && response?.ok ? 'De server luistert niet meer naar SIGTERM.' : 'De server is gestopt.');
  },
};

document.addEventListener('click', (event) => {
  const button = event.target.closest?.('[data-action]');
  if (button) actions[button.dataset.action](button.dataset.argument);
  // Stored files have no background of their own, so the frame gets a light one.
  if (event.target.closest?.('.files [target=kader]')) {
    document.querySelector('iframe').classList.add('paper');
  }
});
