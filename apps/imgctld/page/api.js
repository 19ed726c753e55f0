// The camera's interface. Every answer is a document, or a problem with a sentence.

import { knows, language, word } from './words.js';

const base = '/api/v1';
let loggedOut = () => {};

/** Who is told that a login is needed, or needed again. */
export function onLoggedOut(listener) { loggedOut = listener; }

/** What a refusal says: in the page's language where that has words for it, else as the camera put it. */
function sentence(document) {
  const name = `refused_${document.code}`;
  const refused = document.results?.find(one => one.outcome === 'refused') ?? {};
  const { items, min, max } = refused.range ?? {};
  const range = items?.length ? items.join(', ') : `${min} - ${max}`;
  const text = knows(name) ? word(`refused_${document.code}`, { ...document, ...refused, range, value: refused.value_text || (refused.value ?? refused.before) }) : '{';
  return text.includes('{') ? document.detail : text;
}

export class Problem extends Error {
  constructor(status, document) {
    super(sentence(document) ?? String(status));
    this.status = status;
    this.document = document;
  }
}

// A camera whose cable was pulled says nothing: what was asked of it ends all the same.
const patience = method => AbortSignal.timeout(method === 'GET' ? 10000 : 30000);

/** Asks the camera. @throws Problem for a refusal, TypeError when nobody answers */
export async function ask(method, path, body, { signal, type } = {}) {
  const headers = {};
  let data;
  if (method !== 'GET') {
    headers['Content-Type'] = type ?? 'application/json';
    data = type ? body : JSON.stringify(body ?? {});
  }
  const mark = path.includes('?') ? '&' : '?';
  const answer = await fetch(`${base}${path}${mark}lang=${language()}`,
    { method, headers, body: data, signal: signal ?? patience(method), credentials: 'same-origin', cache: 'no-store' });
  const kind = answer.headers.get('Content-Type') ?? '';
  const document = kind.includes('json') ? await answer.json() : { text: await answer.text() };
  if (answer.ok) return document;
  document.retry_after ??= answer.headers.get('Retry-After') ?? undefined;
  if (answer.status === 401 && path !== '/login') loggedOut();
  throw new Problem(answer.status, document);
}

/** Writes what the camera writes to its flash; it does so every two seconds at most. */
export async function write(request) {
  for (let tries = 0; ; tries++) {
    try {
      return await request();
    } catch (error) {
      if (error.document?.code !== 'too_many' || tries === 3) throw error;
      await new Promise(done => { setTimeout(done, 2100); });
    }
  }
}

export const get = (path, options) => ask('GET', path, undefined, options);
export const put = (path, body) => ask('PUT', path, body);
export const post = (path, body) => ask('POST', path, body);
export const patch = (path, body) => ask('PATCH', path, body);
export const remove = path => ask('DELETE', path);
