// Changes on trial: they end by themselves at the camera's time, for everybody at once.

import { post, remove } from './api.js';
import { make } from './dom.js';
import { band } from './head.js';
import { on, refreshSoon, store, tell } from './store.js';
import { person, word } from './words.js';

const length = 30;
export const trying = { on: false };
let ends = 0;
let shown = null;
let warned = false; // of those who hear the page: that it ends soon

const secondsLeft = () => Math.max(0, Math.ceil((ends - performance.now()) / 1000));
export const timeLeft = () => `${Math.floor(secondsLeft() / 60)}:${String(secondsLeft() % 60).padStart(2, '0')}`;

/** Puts values on trial instead of setting them. */
export function tryValues(values, gesture) {
  return post('/trial', { seconds: length, scheme: gesture.scheme, gesture: gesture.number, values });
}

async function act(request) {
  try {
    await request();
  } catch (error) {
    tell('problem', error.message);
  }
  refreshSoon(0);
}

const keep = make('button', { type: 'button', class: 'primary', 'data-act': 'keep', onclick: () => act(() => post('/trial/keep')) });
const drop = make('button', { type: 'button', 'data-act': 'drop', onclick: () => act(() => remove('/trial')) });
const more = make('button', { type: 'button', 'data-act': 'more', onclick: () => act(() => post('/trial', {
  seconds: Math.min(3600, Math.max(1, secondsLeft()) + 30), scheme: shown.scheme,
  values: Object.fromEntries(shown.values.map(one => [one.key, one.value])) })) });

function tick() {
  if (!shown) return;
  const time = timeLeft();
  const what = shown.values.length > 3 ? word('someValues', { count: shown.values.length }) : shown.values.map(one => one.label).join(', ');
  const text = word('tryingBand', { what, time, who: person(shown) });
  if (secondsLeft() <= 10 && !warned) tell('announce', text);
  warned = secondsLeft() <= 10;
  tell('trial-time');
  keep.textContent = word('keep');
  drop.textContent = word('drop');
  more.textContent = word('moreTime');
  band('trial', text, 'trial',
    store.session?.can.change && store.link === 'live' ? [keep, drop, more] : []);
}
setInterval(tick, 500);

on('camera', () => {
  const trial = store.camera.trial;
  if (trial) ends = performance.now() + trial.seconds_left * 1000;
  else if (shown) {
    band('trial', '');
    const before = shown;
    // What was on trial and is not kept is as it was before; each says so in its own place.
    for (const one of before.values) tell('trial-over', one);
  }
  shown = trial;
  tick();
});
on('link', tick);
on('session', tick);
