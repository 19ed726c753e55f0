// Two schemes beside each other: their pictures with a divider between them, where the camera can draw
// them, and what differs.

import { get } from './api.js';
import { fill, make, setText, show } from './dom.js';
import { canReveal, reveal } from './list.js';
import { store, targetScheme } from './store.js';
import { word } from './words.js';

const pictureEvery = 2000;

/** The picture that a scheme would make, drawn anew as long as it is looked at. */
class SchemePicture {
  /** @param failed  told the sentence of a camera that cannot draw it */
  constructor(failed) {
    this.failed = failed;
    this.canvas = make('canvas', { width: 640, height: 360, role: 'img' });
    this.count = 0;
  }

  async show(scheme, title) {
    const mine = ++this.count;
    this.canvas.setAttribute('aria-label', word('pictureOf', { scheme: title }));
    while (mine === this.count && this.canvas.isConnected) {
      try {
        const answer = await fetch(`/picture.jpg?scheme=${scheme}`, { cache: 'no-store', credentials: 'same-origin', signal: AbortSignal.timeout(10000) });
        if (!answer.ok) throw Object.assign(new Error((await answer.json()).detail), { refused: true });
        const bitmap = await createImageBitmap(await answer.blob());
        if (mine !== this.count) return;
        [this.canvas.width, this.canvas.height] = [bitmap.width, bitmap.height];
        this.canvas.getContext('2d').drawImage(bitmap, 0, 0);
        this.canvas.dataset.scheme = scheme;
        bitmap.close();
      } catch (error) {
        if (mine === this.count && error.refused) {
          this.failed(error.message);
          return;
        }
      }
      await new Promise(done => { setTimeout(done, pictureEvery); });
    }
  }
}

export function openCompare() {
  const pick = chosen => make('select', { onchange: () => read() },
    store.schemes.map(scheme => make('option', { value: scheme.number, textContent: scheme.title, selected: scheme.number === chosen })));
  const first = targetScheme();
  const left = pick(first);
  const right = pick((store.schemes.find(scheme => scheme.number !== first && scheme.enabled) ?? store.schemes.find(scheme => scheme.number !== first))?.number);
  left.setAttribute('aria-label', word('compareTitle'));
  right.setAttribute('aria-label', word('compareWith'));
  const said = make('p', { class: 'quiet-text', role: 'status', hidden: true });
  const failed = text => {
    show(pair, false);
    setText(said, text);
    show(said, true);
  };
  const pictures = [new SchemePicture(failed), new SchemePicture(failed)];
  const names = [make('span', { class: 'side' }), make('span', { class: 'side right' })];
  const divider = make('input', { type: 'range', min: 0, max: 100, value: 50, class: 'divider', oninput: () => place() });
  divider.setAttribute('aria-label', word('divider'));
  divider.addEventListener('keydown', event => {
    const by = { PageUp: 10, PageDown: -10 }[event.key];
    if (!by) return;
    event.preventDefault();
    divider.value = Number(divider.value) + by;
    place();
  });
  const pair = make('div', { class: 'pair' }, pictures[1].canvas, make('div', { class: 'upper' }, pictures[0].canvas), names,
    make('div', { class: 'edge', 'aria-hidden': 'true' }), divider);
  const place = () => {
    pair.style.setProperty('--at', `${divider.value}%`);
    divider.setAttribute('aria-valuetext', `${divider.value} %`);
  };
  const content = make('div', { class: 'compare-body', tabIndex: 0, role: 'region', 'aria-label': word('compareTitle') });
  const dialog = make('dialog', { class: 'sheet compare', 'aria-labelledby': 'compare-title', onclose: () => dialog.remove() },
    make('h1', { id: 'compare-title' }, word('compareTitle')),
    make('div', { class: 'bar' }, left, make('span', {}, word('compareWith')), right),
    pair, said, content,
    make('div', { class: 'bar' }, make('button', { type: 'button', onclick: () => dialog.close() }, word('close'))));
  let count = 0;
  async function read() {
    const mine = ++count;
    [left, right].forEach((one, i) => {
      const title = one.selectedOptions[0]?.textContent ?? '';
      setText(names[i], title);
      pictures[i].show(Number(one.value), title);
    });
    show(pair, true);
    show(said, false);
    try {
      const document = await get(`/compare?a=${left.value}&b=${right.value}`);
      if (mine === count) fill(content, document.differences.length ? table(document, () => dialog.close()) : make('p', {}, word('compareNone')));
    } catch (error) {
      if (mine === count) fill(content, make('p', { class: 'note error' }, error.document ? error.message : word('noAnswerAtAll')));
    }
  }
  document.body.append(dialog);
  dialog.showModal();
  place();
  read();
}

function table(document, close) {
  const label = row => (canReveal(row.key)
    ? make('button', { type: 'button', class: 'quiet', onclick: () => { close(); reveal(row.key); } }, row.label) : row.label);
  return make('table', {},
    make('thead', {}, make('tr', {}, [word('compareKey'), document.a_title, document.b_title].map(text => make('th', { scope: 'col' }, text)))),
    make('tbody', {}, document.differences.map(row => make('tr', {}, make('th', { scope: 'row' }, label(row)), make('td', {}, row.a_text), make('td', {}, row.b_text)))));
}
