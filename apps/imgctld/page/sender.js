// Values on their way to the camera: one request at a time for each key, and of those that wait only the
// newest. A request names the scheme that was shown when the movement of the hand began.

import { patch, Problem, put } from './api.js';
import { on, refreshSoon, store, takeResults, targetIsInForce, targetScheme } from './store.js';
import { trying, tryValues } from './trial.js';

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

/** Sends values of keys that belong together: one of each.
 * @param done receives the camera's answer, or a problem */
export function send(keys, values, gesture, done) {
  if (store.link === 'lost') {
    done(null, noAnswer());
    return;
  }
  const job = { keys, values, gesture, done };
  const busy = running.get(keys[0]);
  if (busy) busy.next = job;
  else run(job);
}

const noAnswer = () => new Problem(0, { detail: null, code: 'no_answer' });
export const isSending = key => running.has(key);

function request({ keys, values, gesture }) {
  const pairs = Object.fromEntries(keys.map((key, i) => [key, values[i]]));
  if (gesture.trial) return tryValues(pairs, gesture);
  const body = { scheme: gesture.scheme, gesture: gesture.number };
  // The clock may have switched since the hand began: its change still belongs where it began.
  if (gesture.record || gesture.scheme !== store.camera.scheme.number) body.record = true;
  return keys.length === 1 ? put(`/parameters/${keys[0]}`, { value: values[0], ...body }) : patch('/parameters', { values: pairs, ...body });
}

async function run(job) {
  const state = { next: null };
  running.set(job.keys[0], state);
  let answer = null;
  let problem = null;
  try {
    answer = await request(job);
    if (job.gesture.trial) refreshSoon();
    else own.changes++;
    takeResults(answer);
  } catch (error) {
    problem = error instanceof Problem ? error : noAnswer();
    // The camera has switched, and this page hears of it only now.
    if (problem.document.code === 'scheme_conflict' && !job.gesture.record && !job.gesture.trial) {
      job.gesture.record = true;
      run(state.next ?? job);
      return;
    }
    if (problem.document.partly) {
      own.changes++;
      refreshSoon();
    }
    takeResults(problem.document);
  }
  running.delete(job.keys[0]);
  if (state.next) run(state.next);
  else job.done(answer, problem);
}

// What a person did while nobody answered is not done later, behind his back.
on('link', () => {
  if (store.link === 'lost') for (const state of running.values()) state.next = null;
});
