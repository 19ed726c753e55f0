// The kinds of controls: a slider, a switch, a choice, a time of day, a button, a notice.

import { make, setText, show } from './dom.js';
import { repeatWhileHeld } from './hold.js';
import { isLensStep, step } from './lens.js';
import { canChange, has, keepRow, Row, rowAt, shown } from './row.js';
import { on, store } from './store.js';
import { minutesOf, timeText } from './times.js';
import { word } from './words.js';

class SliderRow extends Row {
  build() {
    this.input = make('input', { type: 'range', id: this.id, 'aria-describedby': this.note.id });
    this.number = make('input', { type: 'text', inputMode: 'numeric', class: 'number', autocomplete: 'off' });
    this.markSaved = make('span', { class: 'mark saved-mark', 'aria-hidden': 'true' });
    this.markFactory = make('span', { class: 'mark factory-mark', 'aria-hidden': 'true' });
    this.element.append(
      this.line(make('span', { class: 'number-box' }, this.number)),
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
    this.element.append(this.line(this.input), this.note);
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
    this.element.append(this.line(this.input), this.note);
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
  build(parameter) {
    this.input = make('button', { type: 'button', id: this.id });
    if (isLensStep(parameter)) repeatWhileHeld(this.input, () => step(parameter.name));
    else this.input.addEventListener('click', () => { this.give(1); this.end(); });
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
    this.keys = [parameter.key];
    this.element = make('p', { class: 'notice' }, parameter.label);
  }
  update() {}
  setNote() {}
}

/** An hour and a minute that belong to each other, as one time. */
class TimeRow extends Row {
  build() {
    this.input = make('input', { type: 'text', id: this.id, class: 'time', inputMode: 'numeric', autocomplete: 'off', maxLength: 5,
      'aria-describedby': this.note.id, onchange: () => this.typed() });
    this.input.addEventListener('input', () => { this.typing = true; });
    this.input.addEventListener('blur', () => { this.typing = false; });
    this.element.append(this.line(this.input), this.note);
  }

  typed() {
    this.typing = false;
    const minutes = minutesOf(this.input.value);
    if (minutes === null) {
      this.setNote(word('noTime', { text: this.input.value }), 'error');
      return;
    }
    if (timeText(minutes) === this.shownValue) return;
    this.give(Math.floor(minutes / 60), minutes % 60);
    this.end();
  }

  title(parameter) {
    const [one, other] = [parameter.label, store.parameters.get(this.keys[1])?.label ?? ''];
    let same = 0;
    while (same < one.length && one[same] === other[same]) same++;
    return one.slice(0, same).replace(/[\s,:;(-]+$/, '') || one;
  }

  text(part) {
    const [hour, minute] = this.parameters.map(part);
    return hour === null || minute === null || hour === undefined || minute === undefined ? '' : timeText(hour * 60 + minute);
  }

  setEnabled(enabled) { this.input.disabled = !enabled; }
  display() {
    this.shownValue = this.text(one => shown(one).value);
    if (!this.typing) this.input.value = this.shownValue;
  }
}

const kinds = { slider: SliderRow, switch: SwitchRow, choice: ChoiceRow, button: ButtonRow };

/** The minute that belongs to an hour: the style has it next, with the same name. */
export function minuteOf(parameter) {
  const stem = /^(.*)hour$/i.exec(parameter.style_name ?? '')?.[1];
  if (!stem || parameter.control !== 'slider') return null;
  const tab = store.groups.flatMap(group => group.tabs).find(one => one.parameters.includes(parameter.key));
  const next = store.parameters.get(tab?.parameters[tab.parameters.indexOf(parameter.key) + 1]);
  return next?.style_name?.toLowerCase() === `${stem}minute`.toLowerCase() ? next : null;
}

/** The row of a parameter, made once; null for what a page cannot show. */
export function rowOf(key) {
  const parameter = store.parameters.get(key);
  if (!parameter) return null;
  if (!rowAt(key)) {
    const minute = minuteOf(parameter);
    const Kind = minute ? TimeRow : parameter.element === 'notice' ? NoticeRow : kinds[parameter.control];
    if (!Kind) return null;
    const row = minute ? new Kind(parameter, minute) : new Kind(parameter);
    for (const one of row.keys) keepRow(one, row);
  }
  return rowAt(key);
}

on('give', ({ key, value }) => {
  const row = rowOf(key);
  row?.give(value);
  row?.end();
});
