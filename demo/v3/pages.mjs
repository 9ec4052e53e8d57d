// The pages of the demo OS.

import { labelOf } from './app_keys.mjs';
import { FILES } from './files.mjs';
import { home } from './home.mjs';
import { escapeHtml, page } from './layout.mjs';

/// Returns a list of links and buttons to try, each with the expected result.
const rows = (...items) =>
  `<ul class="rows">${items.map(([control, note]) => `<li><span>${control}</span><small>${note}</small></li>`).join('')}</ul>`;
const card = (title, ...content) => `<section class="card"><h2>${title}</h2>${content.join('')}</section>`;
const link = (href, text, attributes = '') => `<a href="${escapeHtml(href)}" ${attributes}>${text ?? escapeHtml(href)}</a>`;
/// Returns a button that calls the action of this name in os.js with the value.
const button = (name, text, value = '') =>
  `<button type="button" data-action="${name}" ` +
  `data-argument="${escapeHtml(value)}">${text}</button>`;

/// Returns the URL of the page /vreemd under the other host name of this server. Localhost and
/// 127.0.0.1 are the same server but different origins.
function otherOriginUrl(request) {
  const [, host = '127.0.0.1', port = ''] = /^([\w.-]+)(:\d+)?$/.exec(request.headers.host ?? '') ?? [];
  return `http://${host === 'localhost' ? '127.0.0.1' : 'localhost'}${port}/vreemd`;
}

const links = (request) => page({
  title: 'Links',
  request,
  lead: 'Wat buiten deze server ligt, hoort in de eigen app van de gebruiker; deze pagina blijft staan.',
  body: `<div class="grid">${card('Naar een ander programma', rows(
    [link('https://example.org/'), 'browser'],
    [link('http://example.org/pad?vraag=1#plek'), 'browser, met vraag en plek'],
    [link('mailto:iemand@example.org?subject=Hallo%20daar'), 'mail'],
    [link('tel:+31201234567'), 'telefoon'],
    [link(otherOriginUrl(request)), 'zelfde server, andere naam: browser'],
    [link('https://iemand@example.org:8443/'), 'met gebruiker en poort'],
  ))}${card('Naar nergens', rows(
    [link('data:text/html,<p>data</p>', 'data:'), 'gebeurt niets'],
    [link('file:///etc/hostname', 'file:'), 'gebeurt niets'],
    [link('ftp://example.org/', 'ftp:'), 'gebeurt niets'],
    [button('blob', 'blob:'), 'gebeurt niets'],
    [link("javascript:document.title='script'", 'javascript:'), 'blijft op de pagina'],
  ))}${card('Binnen de server', rows(
    [link('/lang'), 'gewone pagina'],
    [link('/lang#einde'), 'met plek'],
    [link('/omleiding/pagina'), 'omgeleid naar een pagina'],
    [link('/lang?caf%C3%A9=%E2%82%AC'), 'gecodeerd'],
    [link('/bestaat-niet'), 'foutpagina 404'],
    [link('/%E0%A4%A'), 'foutpagina 400'],
  ))}${card('Via een omweg', rows(
    [link('/omleiding/extern'), 'omgeleid naar buiten: browser'],
    [button('go', 'location = https:', 'https://example.org/script'), 'door script: browser'],
    [button('go', 'location = mailto:', 'mailto:script@example.org'), 'door script: mail'],
    ['<form method="post" action="https://example.org/formulier"><button name="a" value="1">Formulier naar buiten</button></form>', 'browser'],
  ))}</div>`,
});

const windows = (request) => page({
  title: 'Vensters',
  request,
  lead: 'Er is maar één venster. Een nieuw venster van deze server wordt een download, een van elders gaat naar de browser.',
  body: `<div class="grid">${card('Link met een nieuw venster', rows(
    [link('/lang', 'Pagina van deze server', 'target="_blank"'), 'opgeslagen en geopend'],
    [link('/api/export', 'Export', 'target="_blank"'), 'opgeslagen en geopend'],
    [link('/api/bestand/1', 'Bestand', 'target="_blank"'), 'opgeslagen en geopend'],
    [link('https://example.org/', 'Andere site', 'target="_blank"'), 'browser'],
    [link(otherOriginUrl(request), 'Andere naam', 'target="anders"'), 'browser, benoemd venster'],
    [link('mailto:iemand@example.org', 'Mail', 'target="_blank"'), 'mail'],
  ))}${card('Venster door script', rows(
    [button('open', 'Pagina van deze server', '/lang'), 'opgeslagen en geopend'],
    [button('open', 'Export met vraag', '/api/export?formaat=json'), 'opgeslagen en geopend'],
    [button('open', 'Bestand', '/api/bestand/3'), 'opgeslagen en geopend'],
    [button('open', 'Andere site', 'https://example.org/venster'), 'browser'],
    [button('open', 'Leeg venster', ''), 'geen tweede venster'],
    [button('open', 'about:blank', 'about:blank'), 'geen tweede venster'],
  ))}${card('Formulier met een nieuw venster', rows(
    ['<form method="get" action="/formulier" target="_blank"><button name="tekst" value="venster">Naar deze server</button></form>', 'opgeslagen en geopend'],
    ['<form method="get" action="https://example.org/zoek" target="_blank"><button name="q" value="orvel">Naar buiten</button></form>', 'browser'],
  ))}${card('Wat de pagina terugkreeg', '<p class="result" id="venster">Nog niets geopend.</p>')}</div>`,
});

const dialogs = (request) => page({
  title: 'Dialogen',
  request,
  lead: 'Meldingen en vragen van de pagina verschijnen als panelen van het systeem.',
  body: `<div class="grid">${card('Probeer', rows(
    [button('alert', 'Melding', 'De taak is bewaard.'), 'één knop'],
    [button('alert', 'Lange melding', `Eerste regel.\nTweede regel met <b>tekens</b> & "aanhaling".\n${'Een lange zin die doorloopt. '.repeat(8)}`), 'meer regels, geen opmaak'],
    [button('confirm', 'Vraag', 'Wil je deze taak verwijderen?'), 'OK of Annuleren'],
    [button('alerts', 'Drie meldingen', '3'), 'na elkaar'],
    [button('alerts', 'Meldingen zonder einde', 'Infinity'), 'stoppen kan alleen door de app te sluiten'],
  ))}${card('Wat de pagina terugkreeg', '<p class="result" id="antwoord">Nog niets gevraagd.</p><p><small>Het antwoord gaat ook naar <code>/api/antwoord</code>, zodat het in het verslag staat.</small></p>')}</div>`,
});

const files = (request) => page({
  title: 'Bestanden',
  request,
  lead: 'De export en opgeslagen bestanden komen in Downloads en gaan open; in een kader worden ze daar getoond.',
  body: `<div class="grid">${card('Export', rows(
    [link('/api/export'), 'orvel-export.csv'],
    [link('/api/export?formaat=json'), 'orvel-export.json'],
    [link('/omleiding/export'), 'omgeleid'],
    [link('/api/export/1'), 'gewone pagina'],
    [link('/api/exports'), 'gewone pagina'],
  ))}${card('Bijzondere gevallen', rows(
    [link('/omleiding/bestand'), 'omgeleid'],
    [link('/api/bestand/besloten', 'Besloten'), 'alleen met de cookie van de sessie'],
    [link('/api/bestand/groot?mib=64', 'Groot, 64 MiB'), 'rechtstreeks naar schijf'],
    [link('/api/bestand/groot?mib=1024', 'Groot, 1 GiB'), 'rechtstreeks naar schijf'],
    [link('/api/bestand/traag', 'Traag, 10 s'), 'zonder lengte'],
    [link('/api/bestand/afgebroken', 'Afgebroken'), 'er blijft niets achter'],
    [link('/api/bestand/stil', 'Stil'), 'zegt nooit iets'],
    [link('/api/bestand/weg', 'Weg'), '404, er blijft niets achter'],
  ))}</div>${card('Opgeslagen bestanden', `<ul class="rows files">${[...FILES].map(([id, [name]]) => {
    const href = `/api/bestand/${id}`;
    return `<li><span><a href="${href}">${escapeHtml(name)}</a></span><small><a href="${href}" target="_blank">venster</a> <a href="${href}" target="kader">kader</a></small></li>`;
  }).join('')}</ul><iframe name="kader" title="Kader"></iframe>`)}`,
});

const frames = (request, response, { query }) => {
  // Without a prototype, so that a name such as "constructor" is not a choice.
  const choices = { __proto__: null, bestand: '/api/bestand/1', pagina: '/api/bestand/8', vreemd: otherOriginUrl(request), site: 'https://example.org/' };
  const src = choices[query.get('toon')] ?? '/kader';
  return page({
    title: 'Kaders',
    request,
    lead: 'Een kader van deze server laadt; een kader van elders gaat naar de browser en blijft hier leeg.',
    body: `<div class="grid wide">${card('Inhoud van het kader', rows(
      [link('/kaders', 'Pagina van deze server'), 'met links erin'],
      [link('/kaders?toon=pagina', 'Opgeslagen pagina'), 'getoond in het kader'],
      [link('/kaders?toon=bestand', 'Opgeslagen pdf'), 'getoond in het kader'],
      [link('/kaders?toon=vreemd', 'Andere naam'), 'browser, kader blijft leeg'],
      [link('/kaders?toon=site', 'Andere site'), 'browser, kader blijft leeg'],
      [link('/api/export', 'Export in het kader', 'target="kader"'), 'opgeslagen en geopend'],
      [link('/omleiding/bestand', 'Omgeleid in het kader', 'target="kader"'), 'getoond in het kader'],
    ))}${card('Kader', `<iframe name="kader" title="Kader" src="${escapeHtml(src)}"${src === choices.bestand ? ' class="paper"' : ''}></iframe>`)}</div>`,
  });
};

const framed = (request) => page({
  title: 'In het kader',
  request,
  kind: 'framed',
  body: rows(
    [link('/api/bestand/2', 'Bestand'), 'in dit kader'],
    [link('/api/bestand/2', 'Bestand', 'target="_top"'), 'opgeslagen'],
    [link('https://example.org/kader', 'Andere site'), 'browser'],
    [link('https://example.org/kader', 'Andere site', 'target="_blank"'), 'browser'],
    [link('/lang', 'Pagina'), 'in dit kader'],
    [button('confirm', 'Vraag vanuit het kader', 'Vraagt het kader dit?'), 'paneel'],
  ) + '<p class="result" id="antwoord">Nog niets gevraagd.</p>',
});

const form = (request, response, { formFields }) => page({
  title: 'Formulier',
  request,
  lead: 'Om te typen, te knippen, te plakken en ongedaan te maken.',
  body: `<div class="grid">${card('Tekst', `<form method="post" action="/formulier" class="fields">
<label>Naam<input name="naam" autocomplete="off" value="${escapeHtml(formFields?.get('naam') ?? '')}" autofocus></label>
<label>Wachtwoord<input name="geheim" type="password" autocomplete="off"></label>
<label>Bericht<textarea name="bericht" rows="4">${escapeHtml(formFields?.get('bericht') ?? '')}</textarea></label>
<label>Keuze<select name="keuze"><option>Een</option><option>Twee</option></select></label>
<p><button>Verstuur</button> <button type="reset">Wis</button></p></form>`)}
${card('Vrije tekst', '<div class="editable" contenteditable spellcheck="false">Deze tekst is vrij te bewerken.</div>',
    '<h2>Ontvangen</h2>', `<pre class="result" id="ontvangen">${formFields ? escapeHtml([...formFields].map(([name, value]) => `${name}: ${name === 'geheim' ? '•'.repeat([...value].length) : value}`).join('\n')) : 'Nog niets verstuurd.'}</pre>`)}</div>`,
});

const PARAGRAPHS = [
  'Een venster is niet meer dan een lijst om iets wat elders leeft. Wie het sluit, neemt afscheid van het beeld, niet van het werk dat erachter doorgaat.',
  'In de vroege ochtend is het stil op de lijn. De server telt zijn bezoekers op één hand en heeft tijd om elk verzoek met zorg te beantwoorden.',
  'Niets is zo geruststellend als een machine die doet wat ze belooft: ze begint als je haar roept, ze wacht als je zwijgt en ze gaat uit als je gaat.',
];

const long = (request) => page({
  title: 'Lange tekst',
  request,
  kind: 'reading',
  lead: '<a href="#einde">Naar het einde</a>',
  body: `${Array.from({ length: 40 }, (_, index) =>
    `<h2>${index + 1}. Hoofdstuk</h2>${PARAGRAPHS.map((_paragraph, position) => `<p>${PARAGRAPHS[(position + index) % PARAGRAPHS.length]}</p>`).join('')}`).join('')}
<p id="einde"><a href="#">Terug naar boven</a></p>`,
});

const release = (request, response, { releaseFolder }) => page({
  title: 'Uitgave',
  request,
  lead: 'Een nieuwe versie van de app staat hier klaar als de map met uitgaven is gekozen.',
  body: card('Wat hier klaarstaat', rows(
    [link('/download/linux.json'), 'manifest voor Linux'],
    [link('/download/mac.json'), 'manifest voor macOS'],
  ), `<p class="result">${releaseFolder ? `Map: <code>${escapeHtml(releaseFolder)}</code>` : 'Geen map gekozen: zet <code>ORVEL_DEMO_RELEASES</code> op de map met manifest en archief.'}</p>
<p><small>Een app op een lokaal adres vraagt hier nooit naar; kies een online adres om het te proberen.</small></p>`),
});

function report(request, response, { record }) {
  // `appKeys` are the application's keys in the request, by place; `time` is in ISO 8601.
  const lines = record.requests.slice(-100).reverse().map((
    { time, method, url, status, appKeys }) =>
    `<tr><td>${time.slice(11, 23)}</td><td>${escapeHtml(method)}</td><td class="url">${escapeHtml(url.slice(0, 120))}</td><td>${status ?? '…'}</td><td>${labelOf(appKeys)}</td></tr>`);
  return page({
    title: 'Verslag',
    request,
    lead: 'De laatste verzoeken, het nieuwste eerst (tijd in UTC). Alles, met de cookies erbij: <a href="/api/verslag">/api/verslag</a>.',
    body: `<p><a class="button" href="/verslag">Ververs</a></p><table><thead><tr><th>Tijd</th><th>Opdracht</th><th>Adres</th><th>Status</th><th>Herkend</th></tr></thead><tbody>${lines.join('')}</tbody></table>`,
  });
}

function serverPage(request, response, { state }) {
  const { PORT = '', PATH = '', HOME = '' } = process.env;
  const facts = { Proces: process.pid, Node: process.version, Sinds: new Date(state.started).toLocaleTimeString('nl-NL'), PORT, HOME, PATH, Map: process.cwd() };
  return page({
    title: 'Server',
    request,
    lead: 'Het proces achter deze pagina’s, en de storingen die het kan nadoen.',
    body: `<div class="grid">${card('Proces', `<dl>${Object.entries(facts).map(([name, value]) => `<dt>${name}</dt><dd>${escapeHtml(value)}</dd>`).join('')}</dl>`)}
${card('Storing', rows(
    [button('stop', 'Stop met code 3', 'code'), 'de app meldt code 3'],
    [button('stop', 'Stop door signaal 9', 'kill'), 'de app meldt code 9'],
    [button('stop', 'Word doof', 'doof'), 'SIGTERM doet niets meer'],
  ), '<p class="result" id="storing">Alles werkt.</p>')}</div>`,
  });
}

const plain = (title, text) => (request) => page({ title, request, lead: text, body: '<p><a class="button" href="/bestanden">Bestanden</a></p>' });

/// The pages by path. Each function takes the request, the response and a context (record,
/// state, releaseFolder, query, and formFields: the submitted fields or null) and returns HTML.
export const PAGES = new Map(Object.entries({
  '/': home,
  '/links': links,
  '/vensters': windows,
  '/dialogen': dialogs,
  '/bestanden': files,
  '/kaders': frames,
  '/kader': framed,
  '/formulier': form,
  '/lang': long,
  '/uitgave': release,
  '/verslag': report,
  '/server': serverPage,
  '/vreemd': plain('Vreemde site', 'Deze pagina is er voor de browser; in de app hoort zij niet te verschijnen.'),
  '/api/export/1': plain('Geen export', 'Dit adres lijkt op de export, maar is een gewone pagina.'),
  '/api/exports': plain('Geen export', 'Dit adres lijkt op de export, maar is een gewone pagina.'),
}));
