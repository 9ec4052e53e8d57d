// The layout of every page: dark background, top bar, style sheet and script.

import { STATUS_CODES } from 'node:http';

export const logo = `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 64 64" width="64" height="64">
<defs><linearGradient id="g" x1="0" y1="0" x2="1" y2="1"><stop stop-color="#8fd3f4"/><stop offset="1" stop-color="#5a7be0"/></linearGradient></defs>
<circle cx="32" cy="32" r="21" fill="none" stroke="url(#g)" stroke-width="8"/><circle cx="48" cy="16" r="7" fill="#8fd3f4" stroke="#07090c" stroke-width="4"/></svg>
`;

export function escapeHtml(text) {
  const entities = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' };
  return String(text).replace(/[&<>"']/g, (character) => entities[character]);
}

/// Returns a page. `kind` is a class of os.css for its layout, `lead` the HTML of the sentence
/// below the title. The background colour is set inline on the root element, so that no engine
/// paints a white frame before it has loaded the style sheet.
export function page({ title, request, body, kind = '', lead = '' }) {
  // In the application on macOS, whose user agent ends in ORVELOS/KEY, the page extends under the
  // title bar. The class leaves room for the window buttons.
  const mac = /Macintosh.* ORVELOS\/\S*$/.test(request.headers['user-agent'] ?? '') ? ' mac' : '';
  const home = kind === 'home';
  const now = new Date().toLocaleTimeString('nl-NL', { hour: '2-digit', minute: '2-digit' });
  return `<!doctype html><html lang="nl" style="background:#07090c;color:#c3ccd5;color-scheme:dark" class="${kind}${mac}"><head>
<meta charset="utf-8"><title>${home ? 'Orvel OS' : `${escapeHtml(title)} · Orvel OS`}</title>
<meta name="viewport" content="width=device-width"><meta name="color-scheme" content="dark">
<link rel="icon" href="/beeldmerk.svg"><link rel="stylesheet" href="/os.css"><script src="/os.js" defer></script>
</head><body style="background:#07090c">
<header class="bar"><a class="brand" href="/"><span class="logo">${logo}</span>Orvel OS</a>${home ? '' : `<span class="crumb">${escapeHtml(title)}</span>`}
<span class="clock" data-clock>${now}</span></header>
<main>${home ? '' : `<h1>${escapeHtml(title)}</h1>`}${lead ? `<p class="lead">${lead}</p>` : ''}
${body}
</main></body></html>
`;
}

const ERRORS = {
  400: ['Onleesbaar adres', 'Dit verzoek kon niet worden gelezen.'],
  401: ['Geen toegang', 'Dit bestand hoort bij een sessie. Open eerst de beginpagina.'],
  403: ['Niet toegestaan', 'Deze opdracht kan alleen vanaf een pagina van deze server.'],
  404: ['Niet gevonden', 'Hier is niets. Misschien is het verplaatst, misschien is het er nooit geweest.'],
  405: ['Kan hier niet', 'Dit adres kent die opdracht niet.'],
  413: ['Te groot', 'Er is meer gestuurd dan deze server aanneemt.'],
  421: ['Onbekende naam', 'Deze server antwoordt alleen op een IP-adres of op localhost.'],
};

export function errorPage(status, request) {
  const [title, text] = ERRORS[status] ?? [STATUS_CODES[status], 'Er ging iets mis op de server.'];
  return page({
    title,
    request,
    kind: 'error',
    lead: text,
    body: `<p class="status">${status}</p><p><a class="button" href="/">Naar het begin</a></p>`,
  });
}
