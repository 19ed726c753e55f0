// Groups, tabs and their controls: found by group, by search, or by what is unsaved.

import { byId, fill, make, setText, show } from './dom.js';
import { rowOf } from './controls.js';
import { canChange, shown } from './row.js';
import { get, patch } from './api.js';
import { preview } from './picture.js';
import { on, refreshSoon, store, targetIsInForce, targetScheme, tell } from './store.js';
import { word } from './words.js';

let filter = 'all';
let search = '';
let chosen = null;
let built = '';

const searchBox = make('input', { type: 'search', id: 'search', oninput: () => { search = searchBox.value.trim(); layout(); } });
const filters = ['all', 'unsaved', 'factory'].map(name =>
  make('button', { type: 'button', 'data-filter': name, onclick: () => { filter = name; layout(); } }));
const target = make('select', { id: 'target', onchange: () => choose(Number(target.value)) });
const targetLabel = make('label', { htmlFor: 'target' });
const targetNote = make('p', { class: 'target-note', hidden: true });
const back = make('button', { type: 'button', onclick: () => choose(store.camera.scheme.number) });
const showIt = make('button', { type: 'button', 'data-act': 'show', onclick: () => {
  preview(preview.scheme === targetScheme() ? null : targetScheme());
  showTarget();
} });
const record = make('select', { id: 'record', onchange: () => recordIn(Number(record.value)) });
let recorded = ''; // what became of recording, until the next switch

export function setUp() {
  fill(byId('find'),
    make('div', { class: 'search' }, searchBox, make('div', { class: 'filters', role: 'group', 'aria-label': word('filters') }, ...filters)),
    make('div', { class: 'target' }, targetLabel, target), targetNote);
  document.addEventListener('keydown', event => {
    const typing = event.target.matches?.('input[type=text], input[type=search], input[type=password], select, textarea');
    if (event.key === '/' && !typing && !event.ctrlKey && !event.metaKey) {
      event.preventDefault();
      searchBox.focus();
    } else if (event.key === 'Escape' && event.target === searchBox) {
      searchBox.value = '';
      search = '';
      layout();
    }
  });
}

async function choose(scheme) {
  const inForce = scheme === store.camera.scheme.number;
  store.target = inForce ? null : scheme;
  preview(null);
  if (!inForce) await readOther(scheme);
  tell('target');
  layout();
  showTarget();
}

/** The values of a scheme that is not in force. */
async function readOther(scheme) {
  const document = await get(`/schemes/${scheme}`);
  store.others ??= new Map();
  store.others.set(scheme, new Map(document.values.map(one => [one.key, one])));
}

function showTarget() {
  setText(targetLabel, word('appliesTo'));
  const wanted = store.schemes.filter(scheme => !scheme.default || scheme.in_force);
  const options = wanted.map(scheme => ({
    value: scheme.number,
    text: scheme.in_force ? word('inForce', { scheme: scheme.title }) : scheme.title,
  }));
  const signature = JSON.stringify(options);
  if (target.dataset.signature !== signature) {
    target.dataset.signature = signature;
    fill(target, options.map(option => make('option', { value: option.value, textContent: option.text })));
  }
  target.value = targetScheme();
  const other = store.camera && !targetIsInForce();
  document.body.classList.toggle('other-scheme', Boolean(other));
  const scheme = store.schemes.find(one => one.number === targetScheme());
  setText(back, word('backToInForce'));
  setText(showIt, word(preview.scheme === targetScheme() ? 'showInForce' : 'showInPicture'));
  let parts = [];
  if (other && scheme) parts = [make('span', {}, word(preview.scheme === scheme.number ? 'notInForceShown' : 'notInForce', { scheme: scheme.title })), showIt, back];
  else if (store.camera?.scheme.default) parts = outsideParts();
  const saying = parts.map(one => one.id + one.textContent).join('|');
  if (targetNote.dataset.saying === saying) return;
  targetNote.dataset.saying = saying;
  fill(targetNote, parts);
  show(targetNote, targetNote.textContent !== '');
}

/** What was changed outside all windows, where nothing is recorded. */
const differsFromFactory = () => Object.fromEntries([...store.parameters.values()].filter(one => isShown(one) && one.value !== null &&
  one.factory !== null && one.value !== one.factory && !one.flags.includes('not_in_scheme')).map(one => [one.key, one.value]));

/** Outside all windows: how long a change lasts, and where it could be kept. */
function outsideParts() {
  const next = store.camera.next?.time;
  const said = make('span', {}, next ? word('outsideUntil', { time: next === '00:00' ? '24:00' : next }) : word('outsideWindows'));
  const offers = canChange() && Object.keys(differsFromFactory()).length > 0;
  if (offers) fillRecord();
  return [said, offers ? record : null, recorded ? make('span', { role: 'status' }, recorded) : null].filter(Boolean);
}

function fillRecord() {
  record.setAttribute('aria-label', word('recordIn'));
  const options = store.schemes.filter(scheme => !scheme.default).map(scheme => make('option', { value: scheme.number, textContent: scheme.title }));
  const signature = word('recordIn') + options.map(one => one.textContent).join();
  if (record.dataset.signature === signature) return;
  record.dataset.signature = signature;
  fill(record, make('option', { value: '', textContent: word('recordIn'), selected: true }), options);
}

async function recordIn(scheme) {
  const values = differsFromFactory();
  record.value = '';
  try {
    await patch('/parameters', { values, scheme, record: true });
    recorded = word('recordedIn', { scheme: store.schemes.find(one => one.number === scheme)?.title ?? scheme,
      what: Object.keys(values).map(key => store.parameters.get(Number(key)).label).join(', ') });
  } catch (error) {
    recorded = error.document ? error.message : word('noAnswerAtAll');
  }
  refreshSoon(0);
  showTarget();
}

const isShown = parameter => parameter.element === 'notice' ||
  (parameter.control !== 'none' && !parameter.flags.includes('window') && parameter.tab);

function isUnsaved(parameter) {
  const { value, saved } = shown(parameter);
  return saved !== null && value !== saved && !(targetIsInForce() && parameter.flags.includes('trial'));
}

function wanted(parameter) {
  if (search) {
    const text = `${parameter.label} ${parameter.name} ${parameter.key} ${parameter.symbol}`.toLowerCase();
    return search.toLowerCase().split(/\s+/).every(part => text.includes(part));
  }
  if (filter === 'unsaved') return isUnsaved(parameter);
  if (filter === 'factory') return parameter.factory !== null && shown(parameter).value !== parameter.factory;
  return true;
}

/** Names that are a few letters away from what was searched for. */
function nearest(text) {
  const distance = (a, b) => {
    let line = Array.from({ length: b.length + 1 }, (_, i) => i);
    for (let i = 1; i <= a.length; i++) {
      const next = [i];
      for (let j = 1; j <= b.length; j++) {
        next[j] = Math.min(next[j - 1] + 1, line[j] + 1, line[j - 1] + (a[i - 1] === b[j - 1] ? 0 : 1));
      }
      line = next;
    }
    return line[b.length];
  };
  return [...store.parameters.values()].filter(isShown)
    .map(parameter => ({ label: parameter.label, away: distance(text.toLowerCase(), parameter.label.toLowerCase()) }))
    .filter(one => one.away <= Math.max(2, text.length / 3))
    .sort((a, b) => a.away - b.away).slice(0, 3).map(one => one.label);
}

function emptyText() {
  if (search) {
    const names = nearest(search);
    return `${word('nothingFound', { text: search })} ${names.length ? word('nearest', { names: names.join(', ') }) : ''}`;
  }
  if (filter === 'unsaved') return word('nothingUnsaved');
  if (filter === 'factory') return word('allFactory');
  return word('noSettings');
}

function countUnsaved(tab) {
  return tab.parameters.map(key => store.parameters.get(key))
    .filter(parameter => parameter && isShown(parameter) && isUnsaved(parameter)).length;
}

/** Builds the list: all tabs of the chosen group below each other, or what was found. */
function layout() {
  searchBox.placeholder = word('search');
  searchBox.setAttribute('aria-label', word('search'));
  for (const button of filters) {
    setText(button, word({ all: 'all', unsaved: 'unsavedOnly', factory: 'notFactory' }[button.dataset.filter]) +
      (button.dataset.filter === 'unsaved' && store.camera?.unsaved.count ? ` ${store.camera.unsaved.count}` : ''));
    button.setAttribute('aria-pressed', String(filter === button.dataset.filter));
  }
  const groups = store.groups.map(group => ({
    ...group,
    tabs: group.tabs.map(tab => ({ ...tab, keys: tab.parameters.filter(key => {
      const parameter = store.parameters.get(key);
      return parameter && isShown(parameter);
    }) })).filter(tab => tab.keys.length),
  })).filter(group => group.tabs.length);
  const everywhere = search !== '' || filter !== 'all';
  if (!groups.some(group => group.id === chosen)) chosen = groups[0]?.id ?? null;
  const nav = groups.map(group => make('div', { class: 'group' },
    make('button', { type: 'button', class: 'group-name', 'aria-pressed': String(!everywhere && group.id === chosen),
      onclick: () => { chosen = group.id; clearSearch(); layout(); byId('list').scrollTop = 0; } }, group.label || word('otherSettings')),
    ...(group.id === chosen && !everywhere ? group.tabs.map(tab => {
      const count = countUnsaved(tab);
      return make('button', { type: 'button', class: 'tab-name',
        onclick: () => byId(`tab-${tab.key}`)?.scrollIntoView({ block: 'start' }) },
        tab.label, count ? make('span', { class: 'count' }, String(count)) : null);
    }) : [])));
  const visible = everywhere ? groups : groups.filter(group => group.id === chosen);
  const sections = [];
  for (const group of visible) {
    for (const tab of group.tabs) {
      const keys = tab.keys.filter(key => wanted(store.parameters.get(key)));
      const elements = [...new Set(keys.map(rowOf).filter(Boolean).map(row => row.element))];
      if (elements.length) sections.push({ tab, keys, elements });
    }
  }
  const navSignature = JSON.stringify([nav.map(one => one.textContent), chosen, everywhere]);
  if (byId('groups').dataset.signature !== navSignature) {
    byId('groups').dataset.signature = navSignature;
    const focused = document.activeElement?.closest?.('#groups') ? document.activeElement.textContent : null;
    fill(byId('groups'), nav);
    if (focused !== null) [...byId('groups').querySelectorAll('button')].find(one => one.textContent === focused)?.focus();
  }
  byId('list').dataset.filter = filter;
  const signature = JSON.stringify([sections.map(section => [section.tab.key, section.tab.label, section.keys]), emptyText()]);
  if (built === signature) return;
  built = signature;
  fill(byId('list'), sections.length
    ? sections.map(section => make('section', { id: `tab-${section.tab.key}`, 'aria-label': section.tab.label },
      make('h2', {}, section.tab.label), ...section.elements))
    : make('p', { class: 'empty' }, emptyText()));
  for (const section of sections) for (const key of section.keys) rowOf(key)?.update();
}

function clearSearch() {
  search = '';
  searchBox.value = '';
  filter = 'all';
}

/** Whether a parameter has a control in the list; the hours of windows have none. */
export const canReveal = key => Boolean(store.parameters.get(key) && isShown(store.parameters.get(key)));

/** Shows a parameter, whatever was searched for, and puts the focus on it. */
export function reveal(key) {
  const parameter = store.parameters.get(key);
  const group = store.groups.find(one => one.tabs.some(tab => tab.parameters.includes(key)));
  if (!parameter || !group) return;
  clearSearch();
  chosen = group.id;
  layout();
  const row = rowOf(key);
  row?.element.scrollIntoView({ block: 'center' });
  if (row) byId(row.id)?.focus();
}

on('reveal', reveal);

on('parameters', async () => {
  if (store.target !== null && store.target === store.camera?.scheme.number) store.target = null;
  if (store.target !== null) {
    await readOther(store.target).catch(() => {});
    tell('target-values');
  }
  layout();
  showTarget();
});
on('schemes', showTarget);
on('camera', () => {
  // What a person was changing stays what he changes, also when the clock switches meanwhile.
  if (store.camera && store.inForce !== undefined && store.inForce !== store.camera.scheme.number &&
      store.target === null && document.activeElement?.closest?.('#list')) {
    store.target = store.inForce;
    readOther(store.inForce).then(() => tell('target')).catch(() => {});
  }
  if (store.inForce !== store.camera?.scheme.number) recorded = '';
  store.inForce = store.camera?.scheme.number;
  showTarget();
});
