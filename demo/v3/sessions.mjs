// Sessions: a cookie with an id, and the number of visits of each id.

import { randomUUID } from 'node:crypto';

import { cookiesOf } from './app_keys.mjs';

const MAX_SESSIONS = 500;
const COOKIE = 'orvelsessie';
const visits = new Map();

/// Returns the session id in the request, or null.
export function sessionOf(headers) {
  const id = cookiesOf(headers).get(COOKIE);
  return id && /^[0-9a-f-]{36}$/.test(id) ? id : null;
}

/// Counts a visit and returns the number of visits in this session. Sets the cookie of a new
/// session if the request has none.
export function countVisit(request, response) {
  let id = sessionOf(request.headers);
  if (!id) {
    id = randomUUID();
    response.setHeader('Set-Cookie', `${COOKIE}=${id}; Path=/; HttpOnly; SameSite=Lax`);
  }
  const count = (visits.get(id) ?? 0) + 1;
  // A Map keeps insertion order. Deleting and setting the id moves it to the end, so the first one
  // is the session without a visit for the longest time, which is dropped at the limit.
  visits.delete(id);
  visits.set(id, count);
  if (visits.size > MAX_SESSIONS) visits.delete(visits.keys().next().value);
  return count;
}
