// What the camera said last. Nothing here is the page's own: each document carries the camera's number,
// and an older number never replaces a newer one.

import { get } from './api.js';
import { person } from './words.js';

const listeners = new Map(); // topic -> functions
const numbers = new Map();   // document -> the camera's number of it

export const store = {
  boot: '',
  camera: null,
  session: null,
  groups: [],
  parameters: new Map(), // key -> document, each with the number it came with
  schemes: [],
  schemesNumber: null,   // the camera's number of them
  link: 'connecting',    // connecting, live, lost
  by: new Map(),         // key -> who changed it last, as far as this page heard
  target: null,          // the scheme that a person chose to change; null: the one in force
};

/** Calls a listener whenever a topic changes: camera, parameters, schemes, session, link, journal. */
export function on(topic, listener) {
  if (!listeners.has(topic)) listeners.set(topic, []);
  listeners.get(topic).push(listener);
}

export function tell(topic, value) {
  for (const listener of listeners.get(topic) ?? []) listener(value);
}

/** Whether a document is newer than what is known; of another start of the camera, it is. */
function isNews(name, document) {
  if (document.boot !== undefined && document.boot !== store.boot) {
    store.boot = document.boot;
    numbers.clear();
    for (const parameter of store.parameters.values()) parameter.number = 0;
  }
  if ((numbers.get(name) ?? -1) > document.sequence) return false;
  numbers.set(name, document.sequence);
  return true;
}

export function takeCamera(document) {
  if (!isNews('camera', document)) return;
  store.camera = document;
  tell('camera');
}

export function takeSchemes(document) {
  if (!isNews('schemes', document)) return;
  store.schemes = document.schemes;
  store.schemesNumber = document.sequence;
  tell('schemes');
}

export function takeParameters(document) {
  if (!isNews('parameters', document)) return;
  const known = new Map();
  const old = store.parameters;
  for (const parameter of document.parameters) {
    const before = old.get(parameter.key);
    const newer = !before || before.number <= document.sequence;
    known.set(parameter.key, newer ? { ...parameter, number: document.sequence } : before);
  }
  store.parameters = known;
  store.groups = document.groups;
  tell('parameters', document.sequence);
}

/** What a request about single keys brought: their values now. */
export function takeResults(document) {
  for (const result of document.results ?? []) {
    const parameter = store.parameters.get(result.key);
    if (!parameter || parameter.number > document.sequence || result.value === null) continue;
    parameter.number = document.sequence;
    parameter.value = result.value;
    parameter.value_text = result.value_text;
    tell('parameter', result.key);
  }
}

on('journal', entry => { for (const change of entry.changes ?? []) store.by.set(change.key, person(entry) || undefined); });

/** Reads a part of the camera's state; of several wishes at a time one more is carried out. */
function reader(path, take) {
  let running = null;
  let again = false;
  const read = async () => {
    do {
      again = false;
      take(await get(path()));
    } while (again);
  };
  return () => {
    if (running) {
      again = true;
      return running;
    }
    running = read().finally(() => { running = null; });
    return running;
  };
}

/** The scheme that changes mean: the chosen one, else the one in force. */
export const targetScheme = () => store.target ?? store.camera?.scheme.number ?? 0;
export const targetIsInForce = () => targetScheme() === store.camera?.scheme.number;

export const readCamera = reader(() => '/camera', takeCamera);
export const readSchemes = reader(() => '/schemes', takeSchemes);
export const readParameters = reader(() => '/parameters', takeParameters);

let asked = 0; // questions who one is, and the newest one that is answered
let answered = 0;
let touched = false; // by a hand, since the camera was told of it
for (const kind of ['pointerdown', 'pointermove', 'keydown', 'wheel']) {
  addEventListener(kind, () => { touched = true; }, { passive: true, capture: true });
}

/** Reads who one is and what one may, and tells the camera whether a person is there. */
export async function readSession() {
  const path = touched ? '/session?active=1' : '/session';
  touched = false;
  const mine = ++asked;
  const session = await get(path);
  if (mine < answered) return store.session;
  answered = mine;
  const isNew = JSON.stringify(session) !== JSON.stringify(store.session);
  store.session = session;
  if (isNew) tell('session');
  return session;
}

let due = null;
/** Reads what may have changed, soon; bursts are one reading. */
export function refreshSoon(delay = 40) {
  due ??= setTimeout(() => {
    due = null;
    Promise.all([readCamera(), readSchemes(), readParameters()]).catch(() => {});
  }, delay);
}
