// What is kept and what is not: the camera counts, in all schemes; the page only says it.

import { Problem, post, write } from './api.js';
import { byId, fill, make, setText, show } from './dom.js';
import { own } from './sender.js';
import { on, readCamera, refreshSoon, store } from './store.js';
import { trying } from './trial.js';
import { word } from './words.js';

const button = make('button', { type: 'button', class: 'primary', onclick: save });
const what = make('button', { type: 'button', class: 'quiet', 'aria-expanded': 'false', onclick: () => toggle() });
const discard = make('button', { type: 'button', class: 'quiet', onclick: askDiscard });
const state = make('p', { class: 'save-state', role: 'status' });
const tryBox = make('input', { type: 'checkbox', id: 'try', onchange: () => { trying.on = tryBox.checked; } });
const tryLabel = make('span');
const list = make('ul', { class: 'unsaved-list' });
let saving = false;

export function setUp() {
  fill(byId('save'), make('div', { class: 'unsaved', hidden: true }, list, discard), make('div', { class: 'bar' }, button, what,
    make('label', { class: 'check try' }, tryBox, tryLabel), state));
}

function toggle(open = list.parentElement.hidden) {
  show(list.parentElement, open);
  what.setAttribute('aria-expanded', String(open));
}

function say(text, kind = '') {
  state.className = `save-state ${kind}`;
  setText(state, text);
}

async function save() {
  saving = true;
  update();
  try {
    const answer = await write(() => post('/save'));
    own.changes = 0;
    say(word('savedAt', { time: answer.time.slice(11) }));
  } catch (error) {
    const failed = error instanceof Problem ? error.document.failed ?? [] : [];
    say(failed.length ? failed.map(one => one.text).join(' ') : error.message, 'error');
  }
  saving = false;
  await readCamera().catch(() => {});
  refreshSoon();
  update();
}

function askDiscard() {
  const inForce = store.camera.unsaved.schemes.find(one => one.scheme === store.camera.scheme.number);
  const dialog = make('dialog', { class: 'sheet', onclose: () => dialog.remove() },
    make('p', {}, word('discardAsk', { scheme: store.camera.scheme.title, count: inForce?.count ?? 0 })),
    make('div', { class: 'bar' },
      make('button', { type: 'button', class: 'primary', onclick: async () => {
        dialog.close();
        try {
          await post('/reload');
          own.changes = 0;
        } catch (error) { say(error.message, 'error'); }
        refreshSoon(0);
      } }, word('yes')),
      make('button', { type: 'button', onclick: () => dialog.close() }, word('no'))));
  document.body.append(dialog);
  dialog.showModal();
}

function update() {
  const unsaved = store.camera?.unsaved ?? { count: 0, schemes: [] };
  const may = store.session?.can.change;
  show(byId('save'), Boolean(may));
  if (!may) return;
  const count = unsaved.count;
  setText(button, saving ? word('saving')
    : count === 0 ? word('allSaved') : count === 1 ? word('saveOne') : word('save', { count }));
  button.disabled = saving || count === 0 || store.link !== 'live';
  setText(what, word('whatIsUnsaved'));
  show(what, count > 0);
  setText(tryLabel, word('tryFirst'));
  setText(discard, word('discard'));
  show(discard, Boolean(store.session.can.administrate) &&
    unsaved.schemes.some(one => one.scheme === store.camera.scheme.number));
  if (count === 0) toggle(false);
  fill(list, unsaved.schemes.map(scheme => make('li', {}, `${scheme.title}: ${scheme.keys
    .map(key => store.parameters.get(key)?.label ?? key).join(', ')}`)));
  if (count > 0 && !saving && !state.classList.contains('error')) say('');
}

// Who leaves something of his own unsaved is asked once.
addEventListener('beforeunload', event => {
  if (own.changes > 0 && store.camera?.unsaved.count > 0) {
    event.preventDefault();
    event.returnValue = word('leave');
  }
});

for (const topic of ['camera', 'session', 'link', 'parameters']) on(topic, update);
