// The light of the last hour, with the values at which day becomes night and night day; drawn, and as a
// table of the same.

import { get } from './api.js';
import { make } from './dom.js';
import { word } from './words.js';

const hour = 3600000;
const area = { width: 600, height: 104, left: 28, top: 4, bottom: 16 };
const across = area.width - area.left;
const down = area.height - area.top - area.bottom;
const rowEvery = 5 * 60000;

function shape(name, properties, text = '') {
  const element = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(properties)) element.setAttribute(key, value);
  element.textContent = text;
  return element;
}

const clock = time => time.slice(11, 16);
const named = dayNight => word({ day: 'lightDay', night: 'lightNight' }[dayNight] ?? 'lightUnknown');

function plot(light) {
  const until = Date.parse(`${light.time}Z`);
  const x = time => area.left + across * Math.max(0, 1 - (until - Date.parse(`${time}Z`)) / hour);
  const y = value => area.top + down * (1 - value / 100);
  const svg = shape('svg', { viewBox: `0 0 ${area.width} ${area.height}`, class: 'light-plot', role: 'img', 'aria-label': summary(light) });
  light.samples.forEach((one, i) => {
    const from = x(one.time);
    const to = i + 1 < light.samples.length ? x(light.samples[i + 1].time) : area.width;
    if (one.day_night) svg.append(shape('rect', { class: `band-${one.day_night}`, x: from, y: area.top, width: Math.max(0, to - from), height: down }));
  });
  for (const value of [0, 50, 100]) svg.append(shape('text', { x: 0, y: y(value) + 4 }, String(value)));
  for (const minutes of [60, 40, 20, 0]) {
    const time = new Date(until - minutes * 60000).toISOString();
    svg.append(shape('text', { x: area.left + across * (1 - minutes / 60), y: area.height - 3, 'text-anchor': minutes === 0 ? 'end' : minutes === 60 ? 'start' : 'middle' }, clock(time)));
  }
  light.thresholds.forEach((one, i) => {
    svg.append(shape('line', { class: 'threshold', x1: area.left, x2: area.width, y1: y(one.value), y2: y(one.value) }),
      // One name above its line and the other below, so that near ones do not cover each other.
      shape('text', { x: area.left + 6, y: y(one.value) + (i ? -3 : 12) }, `${one.label} ${one.value}`));
  });
  svg.append(shape('polyline', { class: 'line', points: [...light.samples.map(one => `${x(one.time)},${y(one.light)}`),
    `${area.width},${y(light.samples.at(-1).light)}`].join(' ') }));
  return svg;
}

function summary(light) {
  const last = light.samples.at(-1);
  return word('lightNow', { light: last.light, state: named(light.day_night) });
}

/** A row for each five minutes, and for each change between day and night. */
function table(light) {
  let at = 0;
  const rows = light.samples.filter((one, i) => {
    const time = Date.parse(`${one.time}Z`);
    const wanted = time - at >= rowEvery || one.day_night !== light.samples[i - 1]?.day_night || i === light.samples.length - 1;
    if (wanted) at = time;
    return wanted;
  });
  return make('table', {},
    make('thead', {}, make('tr', {}, ['lightTime', 'light', 'lightState'].map(name => make('th', { scope: 'col' }, word(name))))),
    make('tbody', {}, rows.reverse().map(one => make('tr', {}, make('th', { scope: 'row' }, clock(one.time)), make('td', {}, String(one.light)), make('td', {}, named(one.day_night))))));
}

let open = false;

/** What the panel shows of it. */
export async function lightView() {
  const light = await get('/light');
  if (!light.samples.length) return [make('p', { class: 'quiet-text' }, word('noLight'))];
  return [make('p', {}, summary(light), light.decides ? '' : ` ${word('lightDoesNotDecide')}`), plot(light),
    make('details', { open, ontoggle: event => { open = event.target.open; } }, make('summary', { 'data-id': 'light-table' }, word('asTable')), table(light))];
}
