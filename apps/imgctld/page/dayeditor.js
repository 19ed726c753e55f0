// The windows of the schemes, by hand, by keyboard and by numbers. It is a draft: the camera tells what
// would be in force, and gets nothing before it is applied.

import { Problem, post, put, write } from './api.js';
import { fill, make, setText, show } from './dom.js';
import { schemeClass } from './looks.js';
import { on, readSchemes, refreshSoon, store } from './store.js';
import { stripParts, tickMarks } from './strip.js';
import { dayMinutes, minutesOf, timeText } from './times.js';
import { camerasOwn, word } from './words.js';

const least = 5;
const step = 5;
let editor = null;

const windowsOf = schemes => new Map(schemes.filter(scheme => !scheme.default).map(scheme =>
  [scheme.number, { enabled: scheme.enabled, start: minutesOf(scheme.start), end: minutesOf(scheme.end) }]));
const asked = (number, { enabled, start, end }) => ({ number, enabled, start: timeText(start), end: timeText(end) });
const same = (a, b) => a.enabled === b.enabled && a.start === b.start && a.end === b.end;

class Lane {
  constructor(owner, scheme) {
    this.owner = owner;
    this.number = scheme.number;
    this.title = scheme.title;
    this.on = make('input', { type: 'checkbox', role: 'switch', onchange: () => this.change({ enabled: this.on.checked }) });
    this.on.setAttribute('aria-label', word('laneOn', { scheme: this.title }));
    this.name = make('input', { type: 'text', class: 'lane-name', maxLength: 32, autocomplete: 'off', value: scheme.name, placeholder: scheme.title,
      onchange: () => { owner.names.set(this.number, this.name.value.trim()); owner.changed(); } });
    this.name.setAttribute('aria-label', word('schemeName', { scheme: this.title }));
    this.from = this.field('start', 'windowFrom');
    this.to = this.field('end', 'windowTo');
    this.grips = [this.grip('start', 'windowFrom'), this.grip('end', 'windowTo')];
    this.body = make('div', { class: schemeClass(this.number, false) }, make('span', {}, this.title));
    this.losing = make('div', { class: 'losing' });
    this.lane = make('div', { class: 'lane', ondblclick: event => this.make(event) }, this.body, this.losing, ...this.grips);
    this.body.addEventListener('pointerdown', event => this.drag(event, 'body'));
    this.element = make('div', { class: 'lane-row', role: 'group', 'aria-label': this.title, 'data-scheme': this.number },
      this.name, this.on, this.lane, this.from, make('span', { 'aria-hidden': 'true' }, '-'), this.to);
  }

  get window() { return this.owner.draft.get(this.number); }

  field(which, name) {
    const input = make('input', { type: 'text', class: 'time', inputMode: 'numeric', autocomplete: 'off', maxLength: 5,
      onchange: () => {
        const minutes = minutesOf(input.value);
        const wrong = minutes === null;
        input.setAttribute('aria-invalid', String(wrong));
        if (wrong) this.owner.say(word('noTime', { text: input.value }), 'error');
        else this.change({ [which]: minutes });
      } });
    input.setAttribute('aria-label', `${this.title}: ${word(name)}`);
    return input;
  }

  grip(which, name) {
    const element = make('div', { class: 'grip', role: 'slider', tabIndex: 0, 'aria-valuemin': 0, 'aria-valuemax': dayMinutes,
      'aria-label': `${this.title}: ${word(name)}`, 'data-edge': which });
    element.addEventListener('pointerdown', event => this.drag(event, which));
    element.addEventListener('keydown', event => this.key(event, which));
    return element;
  }

  key(event, which) {
    const small = event.shiftKey ? 1 : step;
    const moves = { ArrowLeft: -small, ArrowDown: -small, ArrowRight: small, ArrowUp: small, PageDown: -60, PageUp: 60, Home: -dayMinutes, End: dayMinutes };
    if (event.key in moves) {
      event.preventDefault();
      this.move(which, this.window[which] + moves[event.key], event.key !== 'End');
    } else if (event.key === 'Enter') {
      event.preventDefault();
      (which === 'start' ? this.from : this.to).select();
    } else if (event.key === ' ') {
      event.preventDefault();
      this.change({ enabled: !this.window.enabled });
    }
  }

  /** Moves an edge; never past the other one, and never past midnight, which is offered instead. */
  move(which, minutes, offers) {
    const { start, end } = this.window;
    if (which === 'end' && minutes > dayMinutes && offers) this.owner.offerNextDay(this, minutes - dayMinutes);
    const wanted = which === 'start' ? Math.max(0, Math.min(minutes, Math.max(end - least, 0)))
      : Math.min(dayMinutes, Math.max(minutes, start + least));
    if (wanted !== this.window[which]) this.change({ [which]: wanted });
  }

  drag(event, what) {
    if (!this.owner.may || event.button !== 0) return;
    event.preventDefault();
    event.currentTarget.focus?.();
    const began = { ...this.window };
    const width = this.lane.getBoundingClientRect().width;
    const target = event.currentTarget;
    target.setPointerCapture(event.pointerId);
    const move = moved => {
      const unit = moved.shiftKey ? 1 : step;
      const by = (moved.clientX - event.clientX) / width * dayMinutes;
      if (what === 'body') {
        const size = began.end - began.start;
        const start = Math.max(0, Math.min(dayMinutes - size, Math.round((began.start + by) / unit) * unit));
        if (start !== this.window.start) this.change({ start, end: start + size });
      } else this.move(what, Math.round((began[what] + by) / unit) * unit, true);
    };
    const stop = () => {
      target.removeEventListener('pointermove', move);
      document.removeEventListener('keydown', escape, true);
    };
    const escape = pressed => {
      if (pressed.key !== 'Escape') return;
      pressed.preventDefault();
      pressed.stopPropagation();
      this.change(began);
      stop();
    };
    target.addEventListener('pointermove', move);
    target.addEventListener('pointerup', stop, { once: true });
    target.addEventListener('pointercancel', stop, { once: true });
    document.addEventListener('keydown', escape, true);
  }

  /** A double click in an empty lane makes a window of two hours. */
  make(event) {
    if (!this.owner.may || this.window.enabled) return;
    const box = this.lane.getBoundingClientRect();
    const at = Math.round((event.clientX - box.left) / box.width * 24) * 60;
    const start = Math.max(0, Math.min(dayMinutes - 120, at - 60));
    this.change({ enabled: true, start, end: start + 120 });
  }

  change(parts) {
    Object.assign(this.window, parts);
    this.owner.changed();
  }

  update(warnings) {
    const { enabled, start, end } = this.window;
    this.on.checked = enabled;
    for (const input of [this.on, this.name, this.from, this.to]) input.disabled = !this.owner.may;
    for (const [input, value] of [[this.from, start], [this.to, end]]) {
      if (document.activeElement !== input || input.getAttribute('aria-invalid') !== 'true') {
        input.value = timeText(value);
        input.setAttribute('aria-invalid', 'false');
      }
    }
    this.element.classList.toggle('off', !enabled);
    const place = (element, from, to) => {
      element.style.setProperty('--from', from / dayMinutes);
      element.style.setProperty('--size', Math.max(0, to - from) / dayMinutes);
    };
    place(this.body, start, end);
    this.grips.forEach((grip, i) => {
      const value = i === 0 ? start : end;
      grip.style.setProperty('--at', value / dayMinutes);
      grip.setAttribute('aria-valuenow', value);
      grip.setAttribute('aria-valuetext', timeText(value));
      grip.setAttribute('aria-disabled', String(!this.owner.may));
    });
    const lost = warnings.find(one => one.kind === 'overlap' && one.schemes.at(-1) === this.number);
    show(this.losing, Boolean(lost));
    if (lost) place(this.losing, lost.from_minute, lost.to_minute);
    // The name stands where the scheme is in force.
    const beside = lost && lost.from_minute <= start && lost.to_minute < end;
    this.body.style.paddingLeft = beside ? `calc(${(lost.to_minute - start) / dayMinutes * 100}% + 6px)` : '';
  }
}

class Editor {
  constructor() {
    this.base = windowsOf(store.schemes);
    this.seen = store.schemesNumber; // of the windows that the draft began with
    this.draft = windowsOf(store.schemes);
    this.copies = new Map(); // scheme -> the one that it becomes a copy of
    this.names = new Map(); // scheme -> its new name
    this.asked = 0;
    this.warnings = [];
    this.strip = make('div', { class: 'strip' });
    this.lanes = store.schemes.filter(scheme => !scheme.default).map(scheme => new Lane(this, scheme));
    this.said = make('p', { class: 'note', role: 'status', hidden: true });
    this.offer = make('div', { class: 'note hint', hidden: true, role: 'status' });
    this.theirs = make('div', { class: 'note warn', hidden: true, role: 'alert' });
    this.list = make('ul', { class: 'warning-list' });
    this.plan = make('p', { class: 'plan-text' });
    this.apply = make('button', { type: 'button', class: 'primary', onclick: () => this.send() }, word('apply'));
    this.cancel = make('button', { type: 'button', onclick: () => this.element.close() }, word(this.may ? 'cancel' : 'close'));
    this.element = make('dialog', { class: 'day-editor', 'aria-labelledby': 'day-title', onclose: () => { this.element.remove(); editor = null; } },
      make('h1', { id: 'day-title' }, word('dayTitle')),
      make('p', { class: 'quiet-text' }, word('dayHow')),
      make('div', { class: 'lanes' },
        make('div', { class: 'lane-row result' }, make('div', { class: 'day-bar' }, this.strip, make('div', { class: 'ticks', 'aria-hidden': 'true' }, tickMarks()))),
        this.lanes.map(lane => lane.element)),
      this.offer, this.theirs, this.list, this.plan, this.said,
      make('div', { class: 'bar' }, this.apply, this.cancel));
    document.body.append(this.element);
    this.element.showModal();
    this.changed();
  }

  get may() { return Boolean(store.session?.can.change) && store.link === 'live'; }
  get changes() { return [...this.draft].filter(([number, window]) => !same(window, this.base.get(number))); }

  say(text, kind = '') {
    this.said.className = `note ${kind}`;
    setText(this.said, text);
    show(this.said, text !== '');
  }

  changed() {
    this.say('');
    this.update();
    this.ask();
  }

  update() {
    for (const lane of this.lanes) lane.update(this.warnings);
    this.apply.disabled = !this.may || (this.changes.length === 0 && this.names.size === 0);
    show(this.apply, Boolean(store.session?.can.change));
  }

  /** Asks the camera what the draft would do; only the newest answer counts. */
  async ask() {
    const mine = ++this.asked;
    const schemes = this.changes.map(([number, window]) => asked(number, window));
    try {
      const plan = await post('/plan', { schemes });
      if (mine !== this.asked) return;
      this.warnings = plan.warnings;
      fill(this.strip, stripParts(plan.day, part => this.focus(part.scheme)));
      fill(this.list, plan.warnings.map(one => make('li', {}, make('button', { type: 'button', class: 'quiet', lang: camerasOwn(),
        onclick: () => this.focus(one.schemes.at(-1)) }, one.text))));
      fill(this.plan, this.changes.length ? `${word('apply')}: ` : '', make('span', { lang: camerasOwn() }, plan.text));
      this.update();
    } catch (error) {
      if (mine === this.asked) this.say(error.message, 'error');
    }
  }

  focus(scheme) {
    this.lanes.find(lane => lane.number === scheme)?.grips[0].focus();
  }

  offerNextDay(lane, minutes) {
    const free = [...this.draft].find(([number, window]) => !window.enabled && number !== lane.number);
    const hide = () => show(this.offer, false);
    show(this.offer, true);
    if (!free) {
      fill(this.offer, word('noFreeScheme'));
      return;
    }
    const other = this.lanes.find(one => one.number === free[0]);
    if (this.offer.dataset.free === String(other.number) && this.offer.childElementCount) return;
    this.offer.dataset.free = other.number;
    fill(this.offer, make('span', {}, word('nextDay', { scheme: other.title })),
      make('button', { type: 'button', 'data-act': 'next-day', onclick: () => {
        this.copies.set(other.number, lane.number);
        other.change({ enabled: true, start: 0, end: Math.max(120, minutes) });
        fill(this.offer);
        hide();
        other.grips[1].focus();
      } }, word('useScheme', { scheme: other.title })),
      make('button', { type: 'button', onclick: () => { fill(this.offer); hide(); } }, word('no')));
  }

  /** What stands at the camera changed while the draft was made. */
  others(schemes) {
    const now = windowsOf(schemes);
    const changed = [...now].filter(([number, window]) => this.base.has(number) && !same(window, this.base.get(number)));
    if (this.sending) return;
    if (!changed.length) {
      this.seen = store.schemesNumber;
      return;
    }
    if (!this.changes.length) {
      this.take(now);
      return;
    }
    const text = word('windowsChanged', { windows: changed.map(([number, window]) =>
      `${this.lanes.find(lane => lane.number === number).title} ${timeText(window.start)} - ${timeText(window.end)}${window.enabled ? '' : ` (${word('off')})`}`).join('; ') });
    if (!this.theirs.hidden && this.theirs.firstChild?.textContent === text) return; // its buttons may have the focus
    show(this.theirs, true);
    fill(this.theirs, make('span', {}, text),
      make('button', { type: 'button', 'data-act': 'theirs', onclick: () => this.take(now) }, word('takeTheirs')),
      make('button', { type: 'button', 'data-act': 'mine', onclick: () => {
        this.base = now;
        this.seen = store.schemesNumber;
        show(this.theirs, false);
        this.changed();
      } }, word('keepMine')));
  }

  take(windows) {
    this.base = windows;
    this.seen = store.schemesNumber;
    this.draft = new Map([...windows].map(([number, window]) => [number, { ...window }]));
    this.copies.clear();
    show(this.theirs, false);
    this.changed();
  }

  async send() {
    this.sending = true;
    this.apply.disabled = true;
    try {
      for (const [number, name] of this.names) {
        await write(() => put(`/schemes/${number}`, { name }));
        this.names.delete(number);
      }
      const changes = this.changes;
      let seen = this.seen;
      for (const [number, from] of this.copies) {
        if (changes.some(([changed]) => changed === number)) seen = (await post(`/schemes/${from}/copy`, { to: number })).sequence;
      }
      this.copies.clear();
      if (changes.length) await put('/schemes', { sequence: seen, schemes: changes.map(([number, window]) => asked(number, window)) });
      await readSchemes();
      refreshSoon(0);
      this.element.close();
    } catch (error) {
      this.say(error instanceof Problem ? error.message : word('noAnswerAtAll'), 'error');
      this.sending = false; // what others did meanwhile is to be seen
      await readSchemes().catch(() => {});
      refreshSoon(0);
    }
    this.sending = false;
    this.update();
  }
}

/** Opens the day, or brings it to the front. */
export function editDay() {
  editor ??= store.schemes.length ? new Editor() : null;
}

on('schemes', () => editor?.others(store.schemes));
for (const topic of ['link', 'session']) on(topic, () => editor?.update());
