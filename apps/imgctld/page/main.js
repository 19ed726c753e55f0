// Puts the page together.

import { byId, fill, make } from './dom.js';
import { post, put } from './api.js';
import { openCompare } from './compare.js';
import * as day from './day.js';
import * as head from './head.js';
import { lensTools } from './lens.js';
import * as list from './list.js';
import * as panel from './panel.js';
import * as picture from './picture.js';
import * as save from './save.js';
import { connect } from './link.js';
import { narrow, sign } from './looks.js';
import { on, refreshSoon, tell } from './store.js';
import { choose, word } from './words.js';
import './login.js';

function setUpTools() {
  const tool = (name, text, onclick) => make('button', { type: 'button', class: 'tool', title: word(text), 'data-tool': name, onclick },
    sign(name), make('span', { class: 'name' }, word(text)));
  const freeze = frozen => {
    const button = tool(frozen ? 'unfreeze' : 'freeze', frozen ? 'unfreeze' : 'freeze', () => {
      const next = freeze(picture.toggleFreeze());
      button.replaceWith(next);
      next.focus();
    });
    return button;
  };
  const still = tool('still', 'still1', picture.saveStill);
  const place = narrow.matches ? head.menuPlace : null;
  const full = tool('full', 'full', () => byId('picture').requestFullscreen?.());
  fill(head.menuPlace, place ? [...panel.menuTabs, still] : []);
  fill(byId('tools'), freeze(picture.isFrozen()), tool('compare', 'compare', openCompare), place ? full : null,
    lensTools.map(one => one.element), place ? null : [make('span', { class: 'space' }), full, still]);
}
narrow.addEventListener('change', setUpTools);

/** Names what the page consists of, for those who hear it. */
function nameParts() {
  for (const [id, name] of [['head', 'camera'], ['bands', 'state'], ['day', 'day'], ['left', 'livePicture'], ['right', 'settings'], ['groups', 'groups'], ['tools', 'tools']]) {
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
