// The lens, under the picture: what its buttons do is the interface's own, and those that the camera's
// documents do not have are not shown.

import { post } from './api.js';
import { make, setText, show } from './dom.js';
import { repeatWhileHeld } from './hold.js';
import { on, refreshSoon, store, tell } from './store.js';
import { word } from './words.js';

const movements = [['zoom', 'zoom-out', 'zoom-in'], ['focus', 'focus-near', 'focus-far'], ['iris', 'iris-down', 'iris-up']];
const all = movements.flatMap(([, ...actions]) => actions);

/** Whether a parameter is a step of the lens. */
export const isLensStep = parameter => parameter.control === 'button' && all.includes(parameter.name);

/** Moves the lens by a step. @return whether it may go on */
export async function step(action) {
  if (store.link !== 'live') return false;
  try {
    await post(`/lens/${action}`);
    return true;
  } catch (error) {
    tell('problem', error.document ? error.message : word('noAnswerAtAll'));
    return false;
  } finally {
    refreshSoon();
  }
}

/** The pairs of buttons for the line under the picture. */
export const lensTools = movements.map(([name, ...actions]) => {
  const title = make('span', { 'aria-hidden': 'true' });
  const buttons = actions.map((action, i) => {
    const button = make('button', { type: 'button', 'data-lens': action }, i ? '+' : '\u2212');
    repeatWhileHeld(button, () => step(action));
    return button;
  });
  return { name, actions, title, buttons, element: make('span', { class: 'lens', role: 'group', hidden: true }, buttons[0], title, buttons[1]) };
});

function update() {
  const known = new Map([...store.parameters.values()].filter(isLensStep).map(one => [one.name, one]));
  for (const tool of lensTools) {
    setText(tool.title, word(tool.name));
    tool.element.setAttribute('aria-label', word(tool.name));
    show(tool.element, Boolean(store.session?.can.change) && tool.actions.every(action => known.has(action)));
    tool.buttons.forEach((button, i) => {
      const parameter = known.get(tool.actions[i]);
      button.setAttribute('aria-label', parameter?.label ?? '');
      button.title = parameter?.label ?? '';
      button.disabled = store.link !== 'live' || !parameter || parameter.flags.includes('inactive');
    });
  }
}
for (const topic of ['parameters', 'session', 'link', 'language']) on(topic, update);
