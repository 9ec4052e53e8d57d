// The home page: the clock, how requests were recognised, a tile for each page.

import { APP_KEY_PLACES, appKeysOf, labelOf } from './app_keys.mjs';
import { escapeHtml, page } from './layout.mjs';
import { countVisit } from './sessions.mjs';

const icon = (path) =>
  `<svg viewBox="0 0 24 24" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linecap="round" stroke-linejoin="round">${path}</svg>`;

/// The tiles of the home page: path, name, note, tint, icon.
const TILES = [
  ['/links', 'Links', 'Web, mail, bellen', '#7cc4f0', '<path d="M10 14a4 4 0 0 0 6 .4l3-3a4 4 0 0 0-6-5.8l-1 1M14 10a4 4 0 0 0-6-.4l-3 3a4 4 0 0 0 6 5.8l1-1"/>'],
  ['/vensters', 'Vensters', 'Nieuwe vensters', '#8fa8ff', '<rect x="3" y="7" width="13" height="12" rx="2"/><path d="M8 4h11a2 2 0 0 1 2 2v9"/>'],
  ['/dialogen', 'Dialogen', 'Melding en vraag', '#b79cf5', '<path d="M4 5h16v11H11l-4 4v-4H4z"/><path d="M8 9h8M8 12h5"/>'],
  ['/bestanden', 'Bestanden', 'Export en opslag', '#f0a8c8', '<path d="M12 4v11m-4-4 4 4 4-4M4 19h16"/>'],
  ['/kaders', 'Kaders', 'Ingebedde pagina’s', '#f2b48a', '<rect x="3" y="4" width="18" height="16" rx="2"/><rect x="8" y="9" width="9" height="7" rx="1"/>'],
  ['/formulier', 'Formulier', 'Tekst en knippen', '#e9d27f', '<path d="M4 20h4L19 9l-4-4L4 16zM13 7l4 4"/>'],
  ['/lang', 'Lange tekst', 'Schuiven', '#b5d67a', '<path d="M6 3h12v18H6zM9 8h6M9 12h6M9 16h4"/>'],
  ['/uitgave', 'Uitgave', 'Nieuwe versies', '#7fd6a4', '<path d="M12 3l8 4.5v9L12 21l-8-4.5v-9zM4 7.5l8 4.5 8-4.5M12 12v9"/>'],
  ['/verslag', 'Verslag', 'Alle verzoeken', '#74d3cf', '<path d="M3 12h4l3-7 4 14 3-7h4"/>'],
  ['/server', 'Server', 'Proces en storing', '#9fb3c8', '<rect x="4" y="4" width="16" height="6" rx="1.5"/><rect x="4" y="14" width="16" height="6" rx="1.5"/><path d="M8 7h.01M8 17h.01"/>'],
];

/// Returns a row with a chip for each place in which a request may have the application's key.
/// `appKeys` is null before the first readiness probe (GET /api/wie).
function appKeysRow(title, appKeys, note) {
  const chips = Object.entries(APP_KEY_PLACES).map(([key, name]) => {
    const value = appKeys?.[key] ?? null;
    const hint = value === null ? 'niet gezien' : `sleutel: ${value || 'leeg'}`;
    return `<span class="chip${value === null ? '' : ' on'}" title="${escapeHtml(hint)}">${name}</span>`;
  });
  return `<div class="app-keys-row"><b>${title}</b><span class="chips">${chips.join('')}</span>
<strong>${appKeys ? labelOf(appKeys) : 'Nog niet gezien'}</strong><small>${note}</small></div>`;
}

export function home(request, response, { record }) {
  const count = countVisit(request, response);
  const now = new Date();
  const { probes } = record;
  const seconds = ((now - probes.time) / 1000).toLocaleString('nl-NL', { maximumFractionDigits: 1 });
  const times = probes.count === 1 ? '1 keer' : `${probes.count} keer`;
  const tiles = TILES.map(([href, name, note, tint, path]) =>
    `<a class="tile" href="${href}" style="--tint:${tint}">${icon(path)}<b>${name}</b><small>${note}</small></a>`);
  return page({
    title: 'Orvel OS',
    request,
    kind: 'home',
    body: `<div class="hero"><div><time class="big" data-clock>${now.toLocaleTimeString('nl-NL', { hour: '2-digit', minute: '2-digit' })}</time>
<p class="date" data-date>${now.toLocaleDateString('nl-NL', { weekday: 'long', day: 'numeric', month: 'long', year: 'numeric' })}</p>
<p class="visit">Bezoek <b id="bezoek">${count}</b> in deze sessie</p></div>
<section class="card recognition">${appKeysRow('Deze pagina', appKeysOf(request.headers), 'Hoe dit verzoek zich bekend maakte.')}
${appKeysRow('Proef', probes.appKeys, probes.count ? `<code>api/wie</code> ${times} gevraagd, laatst ${seconds} s geleden.` : '<code>api/wie</code> is nog niet gevraagd.')}</section></div>
<nav class="tiles">${tiles.join('')}</nav>`,
  });
}
