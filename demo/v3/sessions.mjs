// Sessions: a cookie with an id, and the number of visits of each id.

import { randomUUID } from 'node:crypto';

import { cookiesOf } from './marks.mjs';

const MAX_SESSIONS = 500;
const COOKIE = 'orvelsessie';
const visits = new Map();

/// Returns the session id in the request, or null.
export function sessionOf(headers) {
  const id = cookiesOf(headers).get(COOKIE);
  return id && /^[0-9a-f-]{36}$/.test(id) ? id : null;
}

/// Counts a visit and returns the session id and its number of visits. Sets the cookie if the
/// request has no session.
export function countVisit(request, response) {
  let id = sessionOf(request.headers);
  if (!id) {
    id = randomUUID();
    response.setHeader('Set-Cookie', `${COOKIE}=${id}; Path=/; HttpOnly; SameSite=Lax`);
  }
  const count = (visits.get(id) ?? 0) + 1;
  // A Map keeps insertion order: this moves the id to the end, so that the session without a
  // visit for the longest time is the first one and is dropped at the limit.
  visits.delete(id);
  visits.set(id, count);
  if (visits.size > MAX_SESSIONS) visits.delete(visits.keys().next().value);
  return { id, count };
}
