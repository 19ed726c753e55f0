// The controls, made from what the camera says of each parameter; no parameter is known here by name.

import { make, setText, show } from './dom.js';
import { beginGesture, isSending, send } from './sender.js';
import { on, store, targetIsInForce, targetScheme, tell } from './store.js';
import { word } from './words.js';

const rows = new Map(); // key -> row
const pendingAfter = 150;

const canChange = () => store.link === 'live' && store.session?.can.change;
const has = (parameter, flag) => parameter.flags.includes(flag);

/** The value of a parameter in the scheme that is being changed. */
export function shown(parameter) {
  if (targetIsInForce() || has(parameter, 'not_in_scheme')) {
    return { value: parameter.value, saved: parameter.saved };
  }
  const other = store.others?.get(targetScheme())?.get(parameter.key);
  return other ?? { value: null, saved: null };
}

/** How a value is written: a choice by its label. */
export function valueText(parameter, value) {
  if (value === null || value === undefined) return '';
  const choice = parameter.choices.find(one => one.value === value);
  return choice ? choice.label : String(value);
}

const asSentence = text => text[0].toUpperCase() + text.slice(1) + (/[.!?]$/.test(text) ? '' : '.');

class Row {
  constructor(parameter) {
    this.key = parameter.key;
    this.id = `c${parameter.key}`;
    this.gesture = null;
    this.held = false;
    this.note = make('p', { class: 'note', id: `n${parameter.key}`, hidden: true });
    this.label = make('label', { htmlFor: this.id });
    this.saved = make('span', { class: 'saved-text' });
    this.undo = make('button', { type: 'button', class: 'quiet', onclick: () => this.undoToSaved() });
    this.help = make('button', { type: 'button', class: 'help', onclick: () => tell('explain', this.key) }, '?');
    this.element = make('div', { class: 'row', id: `row${parameter.key}`, 'data-key': parameter.key });
    this.element.addEventListener('keydown', event => {
      if (event.key === 'F1') {
        event.preventDefault();
        tell('explain', this.key);
      }
    });
    this.element.addEventListener('focusin', () => tell('focus', this.key));
    this.build(parameter);
  }

  get parameter() { return store.parameters.get(this.key); }

  begin() { this.gesture ??= beginGesture(); }
  end() { this.gesture = null; }

  /** Sends a value that a hand gave. */
  give(value) {
    this.begin();
    this.setNote('');
    const gesture = this.gesture;
    clearTimeout(this.waiting);
    this.waiting = setTimeout(() => this.element.classList.add('pending'), pendingAfter);
    send(this.key, value, gesture, (result, problem) => this.answered(value, result, problem));
  }

  answered(value, result, problem) {
    clearTimeout(this.waiting);
    this.element.classList.remove('pending');
    const parameter = this.parameter;
    if (problem) {
      const text = problem.document.code === 'no_answer'
        ? word('noAnswer', { label: parameter.label }) : problem.message;
      this.setNote(text, 'error', this.remedies(problem.document));
    } else if (result?.outcome === 'taken_differently') {
      this.setNote(word('asked', { asked: valueText(parameter, result.asked), taken: result.value_text ?? result.value }), 'warn');
    } else if (result?.outcome === 'not_recorded') {
      this.setNote(result.text, 'hint');
    }
    this.update();
  }

  /** What a refusal offers to do about it. */
  remedies(problem) {
    const blocker = problem.blocker && store.parameters.get(problem.blocker.key);
    if (!blocker || blocker.control !== 'switch') return [];
    return [make('button', { type: 'button', onclick: () => rows.get(blocker.key)?.give(1) },
      `${blocker.label}: ${word('switchOn')}`)];
  }

  setNote(text, kind = '', extra = []) {
    this.note.className = `note ${kind}`;
    this.note.replaceChildren(text, ...extra);
    show(this.note, text !== '');
  }

  undoToSaved() {
    const { saved } = shown(this.parameter);
    if (saved !== null) this.give(saved);
    this.end();
  }

  update() {
    const parameter = this.parameter;
    if (!parameter) return;
    const { value, saved } = shown(parameter);
    const unsaved = value !== null && saved !== null && value !== saved;
    const trial = has(parameter, 'trial') && targetIsInForce();
    setText(this.label, parameter.label);
    this.help.setAttribute('aria-label', word('explain', { label: parameter.label }));
    this.element.classList.toggle('unsaved', unsaved && !trial);
    this.element.classList.toggle('trial', trial);
    setText(this.saved, unsaved && !trial ? word('saved', { value: valueText(parameter, saved) }) : '');
    setText(this.undo, word('undoToSaved'));
    this.undo.setAttribute('aria-label', word('undoToSavedOf', { label: parameter.label, value: valueText(parameter, saved) }));
    show(this.undo, unsaved && !trial && canChange());
    this.endTrial(parameter, value);
    // What rests on the device now can still be recorded for another scheme.
    const inactive = (has(parameter, 'inactive') && targetIsInForce()) || has(parameter, 'not_on_camera');
    this.element.classList.toggle('inactive', inactive);
    // A control that a hand is on stays in it: the browser would drop a disabled one.
    this.setEnabled(this.held || (canChange() && !inactive && value !== null));
    if (!this.held && !isSending(this.key)) {
      this.display(value, parameter, saved);
      this.explainState(parameter, value, inactive, trial);
    } else if (this.held && value !== this.given && value !== this.shownValue && !isSending(this.key)) {
      this.setNote(word('someoneSet', { who: store.lastBy ?? word('somebody'), value: valueText(parameter, value) }), 'warn');
    }
  }

  /** Says what became of a trial that is over, once the camera's values tell it. */
  endTrial(parameter, value) {
    const tried = this.tried;
    if (!tried || has(parameter, 'trial')) return;
    this.tried = null;
    if (value === tried.value || value === null) return;
    this.setNote(word('trialOver', { label: parameter.label, value: valueText(parameter, value) }), 'warn',
      canChange() ? [make('button', { type: 'button', onclick: () => this.tryAgain(tried.value) }, word('tryAgain'))] : []);
  }

  tryAgain(value) {
    this.begin();
    this.gesture.trial = true;
    this.give(value);
    this.end();
  }

  /** The line below a control that is not simply in force. Refusals stay until the next change. */
  explainState(parameter, value, inactive, trial) {
    if (this.note.classList.contains('error') || this.note.classList.contains('warn')) return;
    if (inactive && parameter.why) {
      this.setNote(asSentence(parameter.why), 'hint', canChange() ? this.remedies(parameter) : []);
    } else if (targetIsInForce() && parameter.hardware !== null && value !== null &&
               parameter.hardware !== value && !trial && !has(parameter, 'held')) {
      this.setNote(word('hardwareDiffers', { hardware: valueText(parameter, parameter.hardware), value: valueText(parameter, value) }),
        'hint', canChange() ? [make('button', { type: 'button', onclick: () => tell('restore', this.key) }, word('sendAgain'))] : []);
    } else if (has(parameter, 'held') && parameter.why) {
      this.setNote(asSentence(parameter.why), 'hint');
    } else if (trial) {
      const back = store.camera?.trial?.values.find(one => one.key === this.key)?.returns_to;
      this.setNote(back === null || back === undefined ? '' : word('returnsTo', { value: valueText(parameter, back) }), 'trial');
    } else if (has(parameter, 'not_in_scheme') && value !== null) {
      this.setNote(word('notStored'), 'hint');
    } else if (this.note.classList.contains('hint') || this.note.classList.contains('trial')) {
      this.setNote('');
    }
  }
}

class SliderRow extends Row {
  build() {
    this.input = make('input', { type: 'range', id: this.id, 'aria-describedby': this.note.id });
    this.number = make('input', { type: 'text', inputMode: 'numeric', class: 'number', autocomplete: 'off' });
    this.markSaved = make('span', { class: 'mark saved-mark', 'aria-hidden': 'true' });
    this.markFactory = make('span', { class: 'mark factory-mark', 'aria-hidden': 'true' });
    this.element.append(
      make('div', { class: 'line' }, this.label, this.saved, this.undo, this.number, this.help),
      make('div', { class: 'track' }, this.markFactory, this.markSaved, this.input), this.note);
    const take = () => {
      this.hold();
      this.given = Number(this.input.value);
      this.number.value = this.input.value;
      this.moved = true;
      this.give(this.given);
    };
    this.input.addEventListener('input', take);
    this.input.addEventListener('pointerdown', () => { this.hold(); this.begin(); this.moved = false; });
    for (const end of ['pointerup', 'pointercancel', 'blur']) {
      this.input.addEventListener(end, () => this.release());
    }
    this.input.addEventListener('keyup', () => {
      clearTimeout(this.rest);
      this.rest = setTimeout(() => this.release(), 600);
    });
    // What is being typed is nobody else's to change.
    this.number.addEventListener('input', () => { this.typing = true; });
    this.number.addEventListener('blur', () => { this.typing = false; });
    const typed = () => {
      this.typing = false;
      const value = Number(this.number.value.trim());
      if (this.number.value.trim() === '' || !Number.isInteger(value)) return this.update();
      if (value === this.shownValue) return undefined;
      this.give(value);
      this.end();
      return undefined;
    };
    this.number.addEventListener('change', typed);
    this.number.addEventListener('keydown', event => {
      if (event.key !== 'Escape') return;
      this.typing = false;
      this.update();
    });
  }

  hold() {
    clearTimeout(this.rest);
    this.held = true;
  }

  release() {
    if (!this.held) return;
    this.held = false;
    this.given = undefined;
    this.end();
    this.update();
  }

  setEnabled(enabled) {
    this.input.disabled = !enabled;
    this.number.disabled = !enabled;
  }

  display(value, parameter, saved) {
    const range = parameter.range ?? parameter.style_range ?? { min: 0, max: 100, step: 1 };
    for (const [name, wanted] of [['min', range.min], ['max', range.max], ['step', range.step]]) {
      if (this.input[name] !== String(wanted)) this.input[name] = wanted;
    }
    this.shownValue = value;
    this.input.value = value ?? range.min;
    if (!this.typing) this.number.value = value ?? '';
    this.number.setAttribute('aria-label', `${parameter.label}, ${range.min} - ${range.max}`);
    this.input.setAttribute('aria-valuetext', `${value ?? word('notReadable')}${parameter.unit ? ` ${parameter.unit}` : ''}`);
    const place = (mark, at, visible) => {
      show(mark, visible && range.max > range.min);
      mark.style.setProperty('--at', String((at - range.min) / (range.max - range.min)));
    };
    place(this.markSaved, saved, saved !== null && saved !== value);
    place(this.markFactory, parameter.factory, parameter.factory !== null && parameter.factory !== value && parameter.factory !== saved);
  }
}

class SwitchRow extends Row {
  build() {
    this.input = make('input', { type: 'checkbox', role: 'switch', id: this.id, 'aria-describedby': this.note.id,
      onchange: () => { this.give(this.input.checked ? 1 : 0); this.end(); } });
    this.element.append(make('div', { class: 'line' }, this.label, this.saved, this.undo, this.input, this.help), this.note);
  }
  setEnabled(enabled) { this.input.disabled = !enabled; }
  display(value) {
    this.shownValue = value;
    this.input.checked = value !== null && value !== 0;
  }
}

class ChoiceRow extends Row {
  build() {
    this.input = make('select', { id: this.id, 'aria-describedby': this.note.id,
      onchange: () => { this.give(Number(this.input.value)); this.end(); } });
    this.element.append(make('div', { class: 'line' }, this.label, this.saved, this.undo, this.input, this.help), this.note);
  }
  setEnabled(enabled) { this.input.disabled = !enabled; }
  display(value, parameter) {
    this.shownValue = value;
    const wanted = parameter.choices.filter(choice => choice.available || choice.value === value);
    const signature = wanted.map(choice => `${choice.value}:${choice.label}`).join();
    if (this.signature !== signature) {
      this.signature = signature;
      this.input.replaceChildren(...wanted.map(choice =>
        make('option', { value: choice.value, textContent: choice.label })));
    }
    this.input.value = value ?? '';
  }
}

class ButtonRow extends Row {
  build() {
    this.input = make('button', { type: 'button', id: this.id, onclick: () => { this.give(1); this.end(); } });
    this.element.append(make('div', { class: 'line' }, this.input, this.help), this.note);
  }
  update() {
    setText(this.input, this.parameter.label);
    this.help.setAttribute('aria-label', word('explain', { label: this.parameter.label }));
    const inactive = has(this.parameter, 'inactive') || has(this.parameter, 'not_on_camera');
    this.input.disabled = !canChange() || inactive;
    this.explainState(this.parameter, null, inactive, false);
  }
}

class NoticeRow {
  constructor(parameter) {
    this.key = parameter.key;
    this.element = make('p', { class: 'notice' }, parameter.label);
  }
  update() {}
  setNote() {}
}

const kinds = { slider: SliderRow, switch: SwitchRow, choice: ChoiceRow, button: ButtonRow };

/** The row of a parameter, made once; null for what a page cannot show. */
export function rowOf(key) {
  const parameter = store.parameters.get(key);
  if (!parameter) return null;
  if (!rows.has(key)) {
    const Kind = parameter.element === 'notice' ? NoticeRow : kinds[parameter.control];
    if (!Kind) return null;
    rows.set(key, new Kind(parameter));
  }
  return rows.get(key);
}

export const anyRow = key => rows.get(key);

function updateAll() {
  for (const row of rows.values()) row.update();
}

on('parameters', updateAll);
on('parameter', key => rows.get(key)?.update());
on('trial-over', one => {
  const row = rows.get(one.key);
  if (row) row.tried = one;
});
on('session', updateAll);
on('link', updateAll);
on('target', () => {
  for (const row of rows.values()) row.setNote('');
  updateAll();
});
