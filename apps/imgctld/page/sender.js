// Values on their way to the camera: one request at a time for each key, and of those that wait only the
// newest. A request names the scheme that was shown when the movement of the hand began.

import { Problem, put } from './api.js';
import { on, refreshSoon, store, takeResults, targetIsInForce, targetScheme } from './store.js';
import { trying, tryValue } from './trial.js';

const running = new Map(); // key -> { next }
export const own = { changes: 0 };

/** A movement of the hand: all its requests are one change to the camera. */
export function beginGesture() {
  return {
    number: 1 + Math.floor(Math.random() * 2147483646),
    scheme: targetScheme(),
    record: !targetIsInForce(),
    trial: trying.on && targetIsInForce(),
  };
}

/** Sends a value. @param done receives the result of the key, or a problem */
export function send(key, value, gesture, done) {
  if (store.link === 'lost') return;
  const busy = running.get(key);
  if (busy) {
    busy.next = { value, gesture, done };
    return;
  }
  run(key, { value, gesture, done });
}

export const isSending = key => running.has(key);

async function run(key, job) {
  const state = { next: null };
  running.set(key, state);
  let result = null;
  let problem = null;
  try {
    const body = { value: job.value, scheme: job.gesture.scheme, gesture: job.gesture.number };
    // The clock may have switched since the hand began: its change still belongs where it began.
    if (job.gesture.record || job.gesture.scheme !== store.camera.scheme.number) body.record = true;
    const answer = await (job.gesture.trial ? tryValue(key, job.value, job.gesture) : put(`/parameters/${key}`, body));
    if (job.gesture.trial) refreshSoon();
    else own.changes++;
    takeResults(answer);
    result = answer.results?.[0] ?? null;
  } catch (error) {
    problem = error instanceof Problem ? error : new Problem(0, { detail: null, code: 'no_answer' });
    // The camera has switched, and this page hears of it only now.
    if (problem.document.code === 'scheme_conflict' && !job.gesture.record && !job.gesture.trial) {
      job.gesture.record = true;
      run(key, state.next ?? job);
      return;
    }
    takeResults(problem.document);
  }
  running.delete(key);
  if (state.next) run(key, state.next);
  else job.done(result, problem);
}

// What a person did while nobody answered is not done later, behind his back.
on('link', () => {
  if (store.link === 'lost') for (const state of running.values()) state.next = null;
});
