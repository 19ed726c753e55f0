// Two schemes beside each other: only what differs.

import { get } from './api.js';
import { fill, make } from './dom.js';
import { canReveal, reveal } from './list.js';
import { store, targetScheme } from './store.js';
import { word } from './words.js';

export function openCompare() {
  const pick = chosen => make('select', { onchange: () => read() },
    store.schemes.map(scheme => make('option', { value: scheme.number, textContent: scheme.title, selected: scheme.number === chosen })));
  const first = targetScheme();
  const left = pick(first);
  const right = pick(store.schemes.find(scheme => scheme.number !== first)?.number);
  left.setAttribute('aria-label', word('compareTitle'));
  right.setAttribute('aria-label', word('compareWith'));
  const content = make('div', { class: 'compare-body', tabIndex: 0, role: 'region', 'aria-label': word('compareTitle') });
  const dialog = make('dialog', { class: 'sheet compare', 'aria-labelledby': 'compare-title', onclose: () => dialog.remove() },
    make('h1', { id: 'compare-title' }, word('compareTitle')),
    make('div', { class: 'bar' }, left, make('span', {}, word('compareWith')), right),
    make('p', { class: 'quiet-text' }, word('comparePicture')), content,
    make('div', { class: 'bar' }, make('button', { type: 'button', onclick: () => dialog.close() }, word('close'))));
  let count = 0;
  async function read() {
    const mine = ++count;
    try {
      const document = await get(`/compare?a=${left.value}&b=${right.value}`);
      if (mine !== count) return;
      fill(content, document.differences.length
        ? make('table', {}, make('thead', {}, make('tr', {}, ['compareKey'].map(name => make('th', { scope: 'col' }, word(name))),
          make('th', { scope: 'col' }, document.a_title), make('th', { scope: 'col' }, document.b_title))),
        make('tbody', {}, document.differences.map(row => make('tr', {},
          make('th', { scope: 'row' }, canReveal(row.key)
            ? make('button', { type: 'button', class: 'quiet', onclick: () => { dialog.close(); reveal(row.key); } }, row.label) : row.label),
          make('td', {}, row.a_text), make('td', {}, row.b_text)))))
        : make('p', {}, word('compareNone')));
    } catch (error) {
      if (mine === count) fill(content, make('p', { class: 'note error' }, error.document ? error.message : word('noAnswerAtAll')));
    }
  }
  document.body.append(dialog);
  dialog.showModal();
  read();
}
