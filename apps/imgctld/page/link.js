// The stream of what happens. It says every ten seconds that it lives; without a word for longer, or
// with an error, the connection counts as lost: what is shown is then from before, and nothing that a
// person does is kept to be sent later.

import { language } from './words.js';
import { readCamera, readParameters, readSchemes, readSession, refreshSoon, store, tell } from './store.js';

const silence = 25000;
const settling = 600;
const stateEvery = 10000;
const delays = [1000, 2000, 4000, 8000, 10000];

let source = null;
let quiet = null;
let retry = null;
let settled = null;
let tries = 0;
let last = '';

export const link = { next: null };

function setState(state) {
  if (store.link === state) return;
  store.link = state;
  tell('link');
}

function hear() {
  clearTimeout(quiet);
  quiet = setTimeout(lose, silence);
}

function lose() {
  close();
  // A login that is over ends the stream too, and is no lost connection.
  if (store.link !== 'lost') readSession().catch(() => {});
  setState('lost');
  const delay = delays[Math.min(tries++, delays.length - 1)];
  link.next = Date.now() + delay;
  clearTimeout(retry);
  retry = setTimeout(connect, delay);
  tell('link');
}

function isThere() {
  tries = 0;
  link.next = null;
  setState('live');
}

function close() {
  clearTimeout(quiet);
  source?.close();
  source = null;
}

function take(event) {
  hear();
  if (event.lastEventId) last = event.lastEventId;
  return JSON.parse(event.data);
}

/** Opens the stream, and reads everything anew. */
export async function connect() {
  clearTimeout(retry);
  close();
  if (document.hidden) return;
  try {
    const session = await readSession();
    if (!session.logged_in) return; // the login is there
    tell('session');
    if (!session.can.watch) { // the state is all that there is for a monitor, and no stream tells of it
      await readCamera();
      isThere();
      retry = setTimeout(connect, stateEvery);
      return;
    }
    const from = last ? `&last=${encodeURIComponent(last)}` : '';
    const stream = new EventSource(`/api/v1/events?lang=${language()}${from}`);
    source = stream;
    hear();
    stream.onerror = () => { if (source === stream) lose(); };
    for (const kind of ['change', 'scheme', 'save', 'trial', 'layer']) {
      stream.addEventListener(kind, event => {
        const entry = take(event);
        tell('journal', entry);
        refreshSoon();
        // What depends on the change is known once the camera has looked at its device again.
        clearTimeout(settled);
        settled = setTimeout(refreshSoon, settling);
      });
    }
    // Until it has said something it is no connection, whatever else is answered.
    const speaks = new Promise(done => {
      for (const kind of ['hello', 'reset', 'time']) stream.addEventListener(kind, done, { once: true });
    });
    stream.addEventListener('reset', event => { take(event); refreshSoon(0); });
    stream.addEventListener('hello', take);
    stream.addEventListener('time', event => {
      const said = take(event);
      tell('time', said);
      if (said.snapshot > (store.camera?.sequence ?? 0)) refreshSoon();
    });
    await Promise.all([speaks, readCamera(), readSchemes(), readParameters()]);
    if (source === stream) isThere();
  } catch (error) {
    if (error.status === 401) return;
    lose();
  }
}

export function disconnect() {
  clearTimeout(retry);
  close();
  if (store.link === 'lost') setState('connecting');
}

// A browser gives one host six connections, shared by all its tabs: one that nobody sees holds none.
document.addEventListener('visibilitychange', () => {
  if (document.hidden) disconnect();
  else connect();
});
addEventListener('online', () => { if (store.link === 'lost') connect(); });
