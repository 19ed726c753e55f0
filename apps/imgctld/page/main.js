// Puts the page together.

import { byId, fill, make, setText } from './dom.js';
import { post, put } from './api.js';
import { openCompare } from './compare.js';
import * as day from './day.js';
import * as head from './head.js';
import * as list from './list.js';
import * as panel from './panel.js';
import * as picture from './picture.js';
import * as save from './save.js';
import { connect } from './link.js';
import { on, refreshSoon, tell } from './store.js';
import { choose, word } from './words.js';
import './login.js';

function setUpTools() {
  const freeze = make('button', { type: 'button', 'aria-pressed': 'false', onclick: () => {
    const frozen = picture.toggleFreeze();
    freeze.setAttribute('aria-pressed', String(frozen));
    setText(freeze, word(frozen ? 'unfreeze' : 'freeze'));
  } }, word('freeze'));
  fill(byId('tools'), ...panel.tabs, make('span', { class: 'space' }), freeze,
    make('button', { type: 'button', onclick: openCompare }, word('compare')),
    make('button', { type: 'button', onclick: () => byId('picture').requestFullscreen?.() }, word('full')),
    make('button', { type: 'button', onclick: picture.saveStill }, word('still1')));
}

/** Names what the page consists of, for those who hear it. */
function nameParts() {
  for (const [id, name] of [['head', 'camera'], ['day', 'day'], ['left', 'livePicture'], ['right', 'settings'], ['groups', 'groups'], ['tools', 'tools']]) {
    byId(id).setAttribute('aria-label', word(name));
  }
}

const tellProblem = error => tell('problem', error.document ? error.message : word('noAnswerAtAll'));
on('restore', key => post('/restore', { keys: [key] }).catch(tellProblem).then(() => refreshSoon(0)));
on('mode', mode => put('/mode', { mode }).catch(tellProblem).then(() => refreshSoon(0)));
on('language', () => { nameParts(); setUpTools(); });

let kept = null;
try { kept = localStorage.getItem('language'); } catch { /* none is kept then */ }
const asked = { zh: 1, de: 2 }[navigator.language.slice(0, 2)] ?? 0;
await choose(kept === null ? asked : Number(kept));
nameParts();
picture.setUp();
day.setUp();
panel.setUp();
list.setUp();
save.setUp();
setUpTools();
await connect();
await head.setUp();
document.body.dataset.ready = '1';
