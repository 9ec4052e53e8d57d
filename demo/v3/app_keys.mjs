// The desktop application sends its key, a text that is set when it is built (ORVELOS_KEY), in up
// to three places of a request: a header field, a cookie and the user agent. An ordinary browser
// sends no key.

/// Returns the cookies of a request by name. Of cookies with the same name, the first counts.
export function cookiesOf(headers) {
  const cookies = new Map();
  for (const pair of (headers.cookie ?? '').split(';')) {
    const equalsSign = pair.indexOf('=');
    if (equalsSign < 1) continue;
    const name = pair.slice(0, equalsSign).trim();
    if (!cookies.has(name)) cookies.set(name, pair.slice(equalsSign + 1).trim());
  }
  return cookies;
}

/// Returns the key in each of the three places: possibly empty, or null when it is absent.
export function appKeysOf(headers) {
  const agent = /(?:^| )ORVELOS\/(\S*)$/.exec(headers['user-agent'] ?? '');
  return {
    header: headers['x-orvel-app'] ?? null,
    cookie: cookiesOf(headers).get('orvelapp') ?? null,
    userAgent: agent ? agent[1] : null,
  };
}

export const APP_KEY_PLACES = { header: 'header', cookie: 'cookie', userAgent: 'user agent' };

/// Returns the names of the places that have a key.
export function appKeyPlacesOf(appKeys) {
  return Object.entries(APP_KEY_PLACES)
    .filter(([key]) => appKeys[key] !== null).map(([, name]) => name);
}

/// Returns the label of a request, such as "App via cookie en user agent" or "Gewone browser".
export function labelOf(appKeys) {
  const via = appKeyPlacesOf(appKeys);
  if (via.length === 0) return 'Gewone browser';
  const last = via.pop();
  return `App via ${via.length ? `${via.join(', ')} en ` : ''}${last}`;
}
