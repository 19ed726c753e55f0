// What stands below the picture, one at a time: why a value is as it is, and what was changed. On a
// phone it is a sheet, never over the control that it is about.

import { ask, get, post } from './api.js';
import { byId, fill, make, setText, show } from './dom.js';
import { lightView } from './light.js';
import { reveal } from './list.js';
import { narrow } from './looks.js';
import { on, refreshSoon, store } from './store.js';
import { camerasOwn, person, word } from './words.js';

const looks = ['dark', 'bright', 'grey', 'blurred', 'noisy'];
const views = ['explain', 'history', 'light'];
const lightEvery = 10000;
const makeTabs = () => views.map(name => make('button', { type: 'button', 'data-view': name, onclick: () => view(name) }));
const tabs = makeTabs();
/** The same for a narrow page's menu: there the panel is not seen before it is asked for. */
export const menuTabs = makeTabs();
const close = make('button', { type: 'button', class: 'quiet close', onclick: () => hide() });
const body = make('div', { class: 'panel-body', tabIndex: -1 });
const state = { view: 'explain', subject: null, count: 0, open: false, onlyKey: false, mine: false };

export function setUp() {
  fill(byId('panel'), close, make('div', { class: 'panel-tabs', role: 'group' }, tabs), body);
  view('explain', false);
}

function view(name, open = true) {
  state.view = name;
  state.open = state.open || open;
  byId('panel').classList.toggle('open', state.open);
  for (const tab of [...tabs, ...menuTabs]) {
    setText(tab, word(tab.dataset.view === 'explain' ? 'explainTitle' : tab.dataset.view));
    tab.setAttribute('aria-pressed', String(tab.dataset.view === name));
  }
  setText(close, word('close'));
  return refresh();
}

function hide() {
  state.open = false;
  byId('panel').classList.remove('open');
  if (typeof state.subject === 'number') byId(`c${state.subject}`)?.focus();
}

/** Reads what is shown anew; an answer that a later wish overtook is dropped. */
async function refresh() {
  const mine = ++state.count;
  let content;
  try {
    content = await { history: historyView, light: lightView, explain: explainView }[state.view]();
  } catch (error) {
    content = [make('p', { class: 'note error' }, error.document ? error.message : word('noAnswerAtAll'))];
  }
  if (mine !== state.count) return;
  const drawn = make('div', {}, ...content.filter(Boolean)).innerHTML;
  if (drawn === body.innerHTML) return; // whoever presses a button in it just now is not to miss
  // What has the focus keeps it, when it is there again.
  const focused = body.contains(document.activeElement) ? document.activeElement.dataset.id : undefined;
  fill(body, content);
  if (focused) body.querySelector(`[data-id="${CSS.escape(focused)}"]`)?.focus();
}

const lookButtons = () => make('p', { class: 'looks' }, word('whyIsItSo'), ' ', looks.map(look =>
  make('button', { type: 'button', 'data-id': look, 'aria-pressed': String(state.subject === look),
    onclick: () => explain(look) }, word(`look_${look}`))));

async function explainView() {
  const subject = state.subject;
  if (subject === null) return [lookButtons(), make('p', { class: 'quiet-text' }, word('explainHow'))];
  if (typeof subject === 'object') return [...stretchView(subject), lookButtons()];
  const document = await get(`/explain/${subject}`);
  if (document.causes) {
    return [make('p', { lang: camerasOwn() }, document.text), make('ul', {}, document.causes.map((cause, i) =>
      make('li', {}, make('span', { lang: camerasOwn() }, cause.text), ' ', showButton(cause.key, cause.label), ' ', actionButton(cause.action, `cause${i}`)))), lookButtons()];
  }
  return [make('h2', {}, document.label), make('ul', { class: 'lines' }, document.lines.map((line, i) =>
    make('li', { 'data-topic': line.topic }, make('span', { lang: camerasOwn() }, line.text), ' ', actionButton(line.action, `line${i}`)))), lookButtons()];
}

function stretchView(part) {
  const next = part.next;
  return [make('h2', {}, `${part.from} - ${part.to}: ${part.title}`), make('p', {}, word(`rule_${part.reason}`)),
    next ? make('p', {}, word('thenSwitch', { time: next.time_of_day, scheme: next.to_title ?? '-' })) : null,
    next?.keys.length ? make('ul', {}, next.keys.map(key => make('li', {}, `${key.label}: ${key.old_text ?? '-'} → ${key.new_text ?? '-'}`))) : null];
}

const showButton = (key, label) => make('button', { type: 'button', class: 'quiet', 'data-id': `show${key}`, onclick: () => {
  if (narrow.matches) hide();
  else explain(key);
  reveal(key);
} }, word('show', { label }));

/** A button that does what the camera advises. */
function actionButton(action, id) {
  if (!action) return null;
  const reads = action.method === 'GET';
  if (!reads && (!store.session?.can.change || store.link !== 'live')) return null;
  return make('button', { type: 'button', 'data-id': id, onclick: async event => {
    if (reads) {
      const key = /^\/explain\/(\d+)$/.exec(action.path);
      if (key) reveal(Number(key[1]));
      return explain(key ? Number(key[1]) : state.subject);
    }
    event.currentTarget.disabled = true;
    try {
      await ask(action.method, action.path, action.body);
    } catch (error) {
      fill(body, make('p', { class: 'note error', role: 'alert' }, error.message), ...body.childNodes);
      return undefined;
    }
    refreshSoon(0);
    return refresh();
  } }, action.text);
}

/** Explains a key, a look of the picture or a part of the day. */
export function explain(subject) {
  state.subject = subject;
  return view('explain').then(() => {
    if (!narrow.matches) return;
    // The sheet stands below what it is about.
    byId(`row${subject}`)?.scrollIntoView({ block: 'start' });
    body.focus({ preventScroll: true });
  });
}

// History

const undone = new Map(); // entry -> what was said of taking it back
async function historyView() {
  const key = state.onlyKey && typeof state.subject === 'number' ? state.subject : 0;
  const document = await get(`/history?count=60${key ? `&key=${key}` : ''}`);
  const label = store.parameters.get(state.subject)?.label;
  const only = label ? make('label', { class: 'check' }, make('input', { type: 'checkbox', checked: state.onlyKey, 'data-id': 'only',
    onchange: event => { state.onlyKey = event.target.checked; refresh(); } }), word('onlyThis', { label })) : null;
  const user = store.session?.user;
  const mine = user ? make('label', { class: 'check' }, make('input', { type: 'checkbox', checked: state.mine, 'data-id': 'mine',
    onchange: event => { state.mine = event.target.checked; refresh(); } }), word('mine')) : null;
  const entries = document.entries.filter(entry => !user || !state.mine || entry.who === user);
  const filters = only || mine ? make('p', { class: 'looks' }, only, mine) : null;
  if (!entries.length) return [filters, make('p', { class: 'quiet-text' }, word('noHistory'))];
  return [filters, make('ol', { class: 'history' }, entries.map(entry => entryItem(entry, document.entries)))];
}

/** The scheme that an entry is about, as people call it. */
function schemeOf(entry) {
  const number = entry.scheme >= 0 ? entry.scheme : entry.changes[0]?.scheme ?? null;
  return store.schemes.find(one => one.number === number)?.title ?? null;
}

/** What stands in the way of taking an entry back: the newer changes of its keys. */
const newerThan = (entry, entries) => entries.filter(one => one.id > entry.id && one.kind === 'values' &&
  one.changes.some(change => entry.changes.some(mine => mine.key === change.key && mine.scheme === change.scheme)));

/** Offers to take the newer changes back first, where that is possible. */
function undoAll(entry, entries) {
  const newer = newerThan(entry, entries);
  if (!newer.length || !newer.every(one => one.undoable)) return null;
  return make('button', { type: 'button', 'data-id': `both${entry.id}`, onclick: () => undo(entry.id, false, newer.map(one => one.id)) },
    newer.length === 1 ? word('undoBoth') : word('undoThose', { done: newer.length + 1 }));
}

function entryItem(entry, entries) {
  const changes = entry.changes.map(change => word('changed', { label: change.label, old: change.old_text ?? '-', now: change.new_text ?? '-' })).join('; ');
  const said = undone.get(entry.id);
  const may = entry.undoable && store.session?.can.change && store.link === 'live';
  return make('li', { 'data-entry': entry.id },
    make('time', {}, entry.time.slice(11)), ' ',
    make('span', { class: 'what' }, changes || entry.text || word(`kind_${entry.kind}`)), ' ',
    make('span', { class: 'quiet-text' }, [person(entry) || null, word(`cause_${entry.cause}`), schemeOf(entry), changes ? entry.text : null].filter(Boolean).join(', ')), ' ',
    may ? make('button', { type: 'button', class: 'quiet', 'data-id': `undo${entry.id}`,
      'aria-label': `${word('undo')}: ${changes}`, onclick: () => undo(entry.id, false) }, word('undo')) : null,
    said ? make('p', { class: 'note error', role: 'alert' }, said.text, said.newer ? undoAll(entry, entries) : null,
      said.newer ? make('button', { type: 'button', 'data-id': `anyway${entry.id}`, onclick: () => undo(entry.id, true) }, word('undoAnyway')) : null) : null);
}

async function undo(entry, force, before = []) {
  undone.delete(entry);
  try {
    for (const newer of before) await post('/undo', { entry: newer });
    await post('/undo', force ? { entry, force } : { entry });
  } catch (error) {
    undone.set(entry, { text: error.message, newer: error.document?.code === 'newer_change' });
  }
  refreshSoon(0);
  await refresh();
}

on('explain', explain);
on('language', () => view(state.view, false));
let due = null;
const soon = () => {
  if (state.subject === null && state.view === 'explain') return;
  due ??= setTimeout(() => { due = null; refresh(); }, 150);
};
for (const topic of ['journal', 'session', 'link']) on(topic, soon);
setInterval(() => { if (state.view === 'light' && !document.hidden && store.link === 'live') soon(); }, lightEvery);
