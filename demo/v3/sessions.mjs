// A session cookie and what is counted under it.

import { randomUUID } from 'node:crypto';

import { cookiesOf } from './marks.mjs';

const KEPT = 500;
const COOKIE = 'orvelsessie';
const visits = new Map();

/// The session that the request carries, or null.
export function sessionOf(headers) {
  const id = cookiesOf(headers).get(COOKIE);
  return id && /^[0-9a-f-]{36}$/.test(id) ? id : null;
}

/// Counts a visit; sets the cookie when the request carried none.
export function countVisit(request, response) {
  let id = sessionOf(request.headers);
  if (!id) {
    id = randomUUID();
    response.setHeader('Set-Cookie', `${COOKIE}=${id}; Path=/; HttpOnly; SameSite=Lax`);
  }
  const count = (visits.get(id) ?? 0) + 1;
  visits.delete(id);
  visits.set(id, count);
  if (visits.size > KEPT) visits.delete(visits.keys().next().value);
  return { id, count };
}
