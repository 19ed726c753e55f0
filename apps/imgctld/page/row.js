// What every control has in common: its label, what is in force and what is saved, and the line below
// that says how it stands. No parameter is known here by name.

import { post } from './api.js';
import { make, setText, show } from './dom.js';
import { beginGesture, isSending, send } from './sender.js';
import { on, store, targetIsInForce, targetScheme, tell } from './store.js';
import { timeLeft } from './trial.js';
import { word } from './words.js';

const pendingAfter = 150;
const busyAfter = 500;
const rows = new Map(); // key -> row

/** The row of a parameter, where one was made. */
export const rowAt = key => rows.get(key);
export const keepRow = (key, row) => rows.set(key, row);

export const canChange = () => store.link === 'live' && store.session?.can.change;
export const has = (parameter, flag) => parameter.flags.includes(flag);

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
  if (choice) return choice.label;
  return parameter.control === 'switch' ? word(value ? 'isOn' : 'isOff') : String(value);
}

const asSentence = text => text[0].toUpperCase() + text.slice(1) + (/[.!?]$/.test(text) ? '' : '.');
const button = (text, onclick) => make('button', { type: 'button', onclick }, text);

export class Row {
  /** @param keys  the parameter, and others that it shows with it */
  constructor(parameter, ...others) {
    this.key = parameter.key;
    this.keys = [this.key, ...others.map(one => one.key)];
    this.id = `c${parameter.key}`;
    this.gesture = null;
    this.held = false;
    this.note = make('p', { class: 'note', id: `n${parameter.key}`, hidden: true });
    this.label = make('label', { htmlFor: this.id });
    this.saved = make('span', { class: 'saved-text' });
    this.undo = make('button', { type: 'button', class: 'quiet undo', onclick: () => this.giveBack('saved') });
    this.toFactory = make('button', { type: 'button', class: 'to-factory', onclick: () => this.giveBack('factory') });
    this.read = make('span', { class: 'read' });
    this.help = make('button', { type: 'button', class: 'help', onclick: () => tell('explain', this.key) }, '?');
    this.element = make('div', { class: 'row', id: `row${parameter.key}`, 'data-key': this.keys.join(' ') });
    this.element.addEventListener('keydown', event => {
      if (event.key === 'F1') {
        event.preventDefault();
        tell('explain', this.key);
      }
    });
    this.element.addEventListener('focusin', () => tell('focus', this.key));
    this.build(parameter, ...others);
  }

  /** The line with the label, what is saved, the control itself and the question mark. */
  line(...control) {
    return make('div', { class: 'line' }, this.label, this.saved, this.undo, this.toFactory, this.read, ...control, this.help);
  }

  get parameter() { return store.parameters.get(this.key); }
  get parameters() { return this.keys.map(key => store.parameters.get(key)); }
  title(parameter) { return parameter.label; }
  text(part) { return valueText(this.parameter, part(this.parameter)); }

  begin() { this.gesture ??= beginGesture(); }
  end() { this.gesture = null; }

  /** Sends the values that a hand gave, of each of the row's parameters. */
  give(...values) {
    this.begin();
    this.setNote('');
    const gesture = this.gesture;
    clearTimeout(this.waiting);
    clearTimeout(this.busy);
    this.waiting = setTimeout(() => this.element.classList.add('pending'), pendingAfter);
    this.busy = setTimeout(() => this.setNote(word(store.camera.due === store.camera.scheme.number ? 'busy' : 'switching'), 'busy'), busyAfter);
    send(this.keys, values, gesture, (answer, problem) => this.answered(answer, problem, values));
  }

  answered(answer, problem, values) {
    clearTimeout(this.waiting);
    clearTimeout(this.busy);
    this.element.classList.remove('pending');
    const result = answer?.results?.[0];
    if (this.note.classList.contains('busy')) this.setNote('');
    if (problem?.document.partly) this.sayPartly(problem.document);
    else if (problem) {
      const { code } = problem.document;
      const again = button(word('tryAgain'), () => {
        this.give(...values);
        this.end();
      });
      this.setNote(code === 'no_answer' ? word('noAnswer', { label: this.title(this.parameter) }) : asSentence(problem.message), 'error',
        ['no_answer', 'busy', 'layer_failed'].includes(code) ? [again] : this.remedies(problem.document));
    } else if (result?.outcome === 'taken_differently') {
      this.setNote(word('asked', { asked: valueText(this.parameter, result.asked), taken: result.value_text ?? result.value }), 'warn');
    } else if (result?.outcome === 'not_recorded') {
      this.setNote(result.text, 'hint');
    }
    this.update();
  }

  /** Of several values some are set: which ones are not, and the way back. */
  sayPartly(problem) {
    const named = outcome => problem.results.filter(one => one.outcome === outcome).map(one => one.label).join(', ');
    const done = problem.results.filter(one => one.outcome === 'changed' || one.outcome === 'taken_differently').length;
    const text = word('partly', { done, all: problem.results.length, refused: named('refused') });
    const rest = named('not_tried');
    const back = () => post('/undo', { entry: problem.entry }).then(() => this.setNote(''), error => this.setNote(error.message, 'error'));
    this.setNote(rest ? `${text} ${word('notTried', { rest })}` : text, 'error', [
      make('span', {}, problem.detail), problem.entry && done ? button(word('undoThose', { done }), back) : null].filter(Boolean));
  }

  /** What a refusal offers to do about what stands in the way. */
  remedies(problem) {
    const blocker = problem.blocker && store.parameters.get(problem.blocker.key);
    if (!blocker || blocker.key === this.key || !blocker.tab) return [];
    if (blocker.control === 'switch' && targetIsInForce()) {
      const other = blocker.value ? 0 : 1;
      return [button(`${blocker.label}: ${word(other ? 'switchOn' : 'switchOff')}`, () => tell('give', { key: blocker.key, value: other }))];
    }
    return [button(word('show', { label: blocker.label }), () => tell('reveal', blocker.key))];
  }

  setNote(text, kind = '', extra = []) {
    const signature = `${kind}|${text}|${extra.map(one => one.textContent).join('|')}`;
    if (this.noted === signature) return;
    this.noted = signature;
    this.note.className = `note ${kind}`;
    this.note.replaceChildren(text, ...extra);
    show(this.note, text !== '');
  }

  /** Sets what is saved, or what the factory gave. */
  giveBack(which) {
    const values = this.parameters.map(one => (which === 'saved' ? shown(one).saved : one.factory));
    if (!values.includes(null)) this.give(...values);
    this.end();
  }

  update() {
    const parameter = this.parameter;
    if (!parameter) return;
    const { value } = shown(parameter);
    const unsaved = this.parameters.some(one => shown(one).value !== null && shown(one).saved !== null && shown(one).value !== shown(one).saved);
    const trial = has(parameter, 'trial') && targetIsInForce();
    const label = this.title(parameter);
    setText(this.label, label);
    this.help.setAttribute('aria-label', word('explain', { label }));
    this.element.classList.toggle('unsaved', unsaved && !trial);
    this.element.classList.toggle('trial', trial);
    const saved = this.text(one => shown(one).saved);
    setText(this.saved, unsaved && !trial ? word('saved', { value: saved }) : '');
    setText(this.undo, word('undoToSaved'));
    this.undo.setAttribute('aria-label', word('undoToSavedOf', { label, value: saved }));
    show(this.undo, unsaved && !trial && canChange());
    setText(this.toFactory, word('factory', { value: this.text(one => one.factory) }));
    show(this.toFactory, Boolean(canChange()) && this.parameters.some(one => one.factory !== null && one.factory !== shown(one).value));
    setText(this.read, value === null ? word('notReadable') : this.text(one => shown(one).value));
    this.endTrial(parameter, value);
    // What rests on the device now can still be recorded for another scheme.
    const inactive = (has(parameter, 'inactive') && targetIsInForce()) || has(parameter, 'not_on_camera');
    this.element.classList.toggle('inactive', inactive);
    // A control that a hand is on stays in it: the browser would drop a disabled one.
    this.setEnabled(this.held || (canChange() && !inactive && value !== null));
    if (!this.held && !isSending(this.key)) {
      this.display(value, parameter, shown(parameter).saved);
      this.explainState(parameter, value, inactive, trial);
    } else if (this.held && value !== this.given && value !== this.shownValue && !isSending(this.key)) {
      this.setNote(word('someoneSet', { who: store.by.get(this.key) ?? word('somebody'), value: valueText(parameter, value) }), 'warn');
    }
  }

  /** Says what became of a trial that is over, once the camera's values tell it. */
  endTrial(parameter, value) {
    const tried = this.tried;
    if (!tried || has(parameter, 'trial')) return;
    this.tried = null;
    if (value === tried.value || value === null) return;
    if (tried.returns_to !== null && value !== tried.returns_to) {
      this.setNote(word('superseded', { label: parameter.label, who: store.by.get(this.key) ?? word('somebody'), value: valueText(parameter, value) }), 'warn');
      return;
    }
    const text = word('trialOver', { label: parameter.label, value: valueText(parameter, value) });
    tell('announce', text);
    this.setNote(text, 'warn', canChange() ? [button(word('tryAgain'), () => this.tryAgain(tried.value))] : []);
  }

  tryAgain(value) {
    this.begin();
    this.gesture.trial = true;
    this.give(value);
    this.end();
  }

  /** The line below a control that is not simply in force. Refusals stay until the next change. */
  explainState(parameter, value, inactive, trial) {
    if (['error', 'warn', 'busy'].some(kind => this.note.classList.contains(kind))) return;
    if (inactive && parameter.why) {
      this.setNote(asSentence(parameter.why), 'hint', canChange() ? this.remedies(parameter) : []);
    } else if (targetIsInForce() && parameter.hardware !== null && value !== null &&
               parameter.hardware !== value && !trial && !has(parameter, 'held')) {
      this.setNote(word('hardwareDiffers', { hardware: valueText(parameter, parameter.hardware), value: valueText(parameter, value) }),
        'hint', canChange() ? [button(word('sendAgain'), () => tell('restore', this.key))] : []);
    } else if (has(parameter, 'held') && parameter.why) {
      this.setNote(asSentence(parameter.why), 'hint');
    } else if (trial) {
      const back = store.camera?.trial?.values.find(one => one.key === this.key)?.returns_to ?? null;
      this.setNote(word(back === null ? 'tryingStill' : 'returnsTo', { time: timeLeft(), value: valueText(parameter, back) }), 'trial');
    } else if (has(parameter, 'not_in_scheme') && value !== null) {
      this.setNote(word('notStored'), 'hint');
    } else if (this.note.classList.contains('hint') || this.note.classList.contains('trial')) {
      this.setNote('');
    }
  }
}

function updateAll() {
  for (const row of rows.values()) row.update();
}

on('parameters', updateAll);
on('parameter', key => rows.get(key)?.update());
on('trial-over', one => {
  const row = rows.get(one.key);
  if (row) row.tried = one;
});
on('trial-time', () => { for (const one of store.camera.trial.values) rows.get(one.key)?.update(); });
on('session', updateAll);
on('language', updateAll);
on('target', () => {
  for (const row of rows.values()) row.setNote('');
  updateAll();
});

// What changed while there was no connection is marked for a while when there is one again.
let before = null;
on('link', () => {
  if (store.link === 'lost') before ??= new Map([...store.parameters].map(([key, one]) => [key, one.value]));
  updateAll();
  if (store.link !== 'live' || !before) return;
  for (const [key, row] of rows) {
    if (!before.has(key) || before.get(key) === store.parameters.get(key)?.value) continue;
    row.element.classList.add('fresh');
    setTimeout(() => row.element.classList.remove('fresh'), 5000);
  }
  before = null;
});
