// The day as a bar: what will be in force in each minute, as the camera's own plan has it.

import { get } from './api.js';
import { byId, fill, make, setText, show } from './dom.js';
import { cameraTime } from './head.js';
import { editDay } from './dayeditor.js';
import { sign } from './looks.js';
import { on, store, tell } from './store.js';
import { stripParts, tickMarks } from './strip.js';
import { dayMinutes } from './times.js';
import { word } from './words.js';

const bar = make('div', { class: 'strip', role: 'group' });
const now = make('div', { class: 'now', 'aria-hidden': 'true' });
const ticks = make('div', { class: 'ticks', 'aria-hidden': 'true' });
const editName = make('span', { class: 'name' });
const edit = make('button', { type: 'button', id: 'edit-day', onclick: () => editDay() }, sign('edit'), editName);
const warn = make('button', { type: 'button', class: 'quiet warnings', onclick: () => editDay() });
let newest = -1;
let boot = '';
let reading = null;
let again = false;
let plan = null;

export function setUp() {
  fill(byId('day'), make('div', { class: 'day-bar' }, bar, ticks, now), make('div', { class: 'day-side' }, edit, warn));
  fill(ticks, tickMarks());
  setInterval(moveNow, 1000);
}

function moveNow() {
  const time = cameraTime();
  show(now, time !== null);
  if (time) now.style.setProperty('--at', (time.getUTCHours() * 60 + time.getUTCMinutes()) / dayMinutes);
}

function draw() {
  if (!plan) return;
  bar.setAttribute('aria-label', word('dayOf'));
  const parts = stripParts(plan.day, part => {
    const next = plan.switches.find(one => !one.at_once && one.minute % dayMinutes === part.to_minute % dayMinutes);
    tell('explain', { ...part, next });
  });
  const focused = bar.contains(document.activeElement) ? document.activeElement.dataset.from : undefined;
  fill(bar, parts);
  if (focused !== undefined) parts.find(part => part.dataset.from === focused)?.focus();
  const count = plan.warnings.length;
  setText(warn, count === 0 ? '' : count === 1 ? word('oneWarning') : word('someWarnings', { count }));
  show(warn, count > 0);
  warn.title = plan.warnings.map(one => one.text).join('\n');
  setText(editName, word(store.session?.can.change ? 'editDay' : 'showDay'));
  moveNow();
}

async function read() {
  do {
    again = false;
    const document = await get('/plan');
    if (document.boot === boot && document.sequence < newest) continue;
    boot = document.boot;
    newest = document.sequence;
    plan = document;
  } while (again);
  draw();
}

function readSoon() {
  if (reading) {
    again = true;
    return;
  }
  reading = read().catch(() => {}).finally(() => { reading = null; });
}

on('schemes', readSoon);
on('session', draw);
on('language', () => { draw(); readSoon(); });
