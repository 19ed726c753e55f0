// Changes on trial: they end by themselves at the camera's time, for everybody at once.

import { post, remove } from './api.js';
import { make } from './dom.js';
import { band } from './head.js';
import { on, refreshSoon, store, tell } from './store.js';
import { word } from './words.js';

const length = 30;
export const trying = { on: false };
let ends = 0;
let shown = null;

/** Puts a value on trial instead of setting it. */
export function tryValue(key, value, gesture) {
  return post('/trial', { seconds: length, scheme: gesture.scheme, gesture: gesture.number, values: { [key]: value } });
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
  seconds: Math.min(3600, Math.max(1, Math.round((ends - performance.now()) / 1000)) + 30), scheme: shown.scheme,
  values: Object.fromEntries(shown.values.map(one => [one.key, one.value])) })) });

function tick() {
  if (!shown) return;
  const left = Math.max(0, Math.ceil((ends - performance.now()) / 1000));
  const time = `${Math.floor(left / 60)}:${String(left % 60).padStart(2, '0')}`;
  const what = shown.values.map(one => one.label).join(', ');
  keep.textContent = word('keep');
  drop.textContent = word('drop');
  more.textContent = word('moreTime');
  band('trial', word('tryingBand', { what, time, who: shown.who ?? '' }), 'trial',
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
