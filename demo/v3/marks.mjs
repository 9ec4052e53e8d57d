// The desktop application marks its requests with its key, a text that is set when it is built
// (ORVELOS_KEY), in up to three places: a header field, a cookie and the user agent. An ordinary
// browser sends none of these marks.

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

/// Returns the key in each of the three marks: possibly empty, or null when the mark is absent.
export function marksOf(headers) {
  const agent = /(?:^| )ORVELOS\/(\S*)$/.exec(headers['user-agent'] ?? '');
  return {
    header: headers['x-orvel-app'] ?? null,
    cookie: cookiesOf(headers).get('orvelapp') ?? null,
    userAgent: agent ? agent[1] : null,
  };
}

export const MARK_NAMES = { header: 'header', cookie: 'cookie', userAgent: 'user agent' };

/// Returns the names of the marks that are set.
export function markNamesOf(marks) {
  return Object.keys(MARK_NAMES).filter((name) => marks[name] !== null).map((name) => MARK_NAMES[name]);
}

/// Returns the label of a request, such as "App via cookie en user agent" or "Gewone browser".
export function labelOf(marks) {
  const via = markNamesOf(marks);
  if (via.length === 0) return 'Gewone browser';
  const last = via.pop();
  return `App via ${via.length ? `${via.join(', ')} en ` : ''}${last}`;
}
