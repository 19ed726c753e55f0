// A day's parts and hours, drawn where they are in it.

import { make } from './dom.js';
import { schemeClass } from './looks.js';
import { store } from './store.js';
import { dayMinutes } from './times.js';
import { word } from './words.js';

const isDefault = scheme => scheme === null ? false : store.schemes.find(one => one.number === scheme)?.default ?? false;

/** The parts of a day as buttons that stand where they are in it. */
export function stripParts(parts, onclick) {
  return parts.map(part => {
    const title = part.scheme === null ? word('lightDecides') : isDefault(part.scheme) ? word('factoryPart') : part.title;
    const element = make('button', { type: 'button', class: schemeClass(part.scheme, isDefault(part.scheme)),
      'aria-label': `${part.from} - ${part.to}: ${title}`, title: `${part.from} - ${part.to}: ${title}`,
      'data-scheme': part.scheme ?? 'light', 'data-from': part.from_minute, 'data-to': part.to_minute,
      onclick: () => onclick(part) }, make('span', {}, title));
    element.style.setProperty('--from', part.from_minute / dayMinutes);
    element.style.setProperty('--size', (part.to_minute - part.from_minute) / dayMinutes);
    return element;
  });
}

export const tickMarks = () => [0, 3, 6, 9, 12, 15, 18, 21, 24].map(hour => {
  const element = make('span', { class: hour % 6 ? 'minor' : '' }, String(hour));
  element.style.setProperty('--at', hour / 24);
  return element;
});
