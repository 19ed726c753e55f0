// The live picture. It is read as a stream of bytes: an image element would not tell when it stalls or
// ends. When it does, that is said within three seconds, and stills come meanwhile.

import { byId, fill, make, setText, show } from './dom.js';
import { cameraTime } from './head.js';
import { on, store, tell } from './store.js';
import { word } from './words.js';

const stalledAfter = 3000;
const stillEvery = 2000;
const delays = [1000, 2000, 5000, 10000];

const canvas = make('canvas', { id: 'live', width: 640, height: 360, role: 'img' });
const label = make('p', { class: 'state', role: 'status' });
let reading = null;
let tries = 0;
let lastAt = 0; // when any picture came
let streamAt = 0; // when the stream brought one, or was asked for
let streams = false; // it brings some
let drawnAt = null; // by the camera's clock; and of the last picture that moved
let movedAt = null;
let frozen = false;
let retry = null;
let wanted = false;
let chance = null;
let elsewhere = false; // another window of this browser has the moving picture

// A browser gives one host six connections, shared by all its windows. So one of them has the moving
// picture, the one that was looked at last, and the others have stills.
const windows = 'BroadcastChannel' in self ? new BroadcastChannel('picture') : null;
windows?.addEventListener('message', event => {
  if (event.data === 'mine') {
    elsewhere = true;
    stop();
    clearTimeout(retry);
    clearTimeout(chance);
  } else if (elsewhere && !document.hidden) chance = setTimeout(claim, Math.random() * 300); // one of those who heard it
});
addEventListener('focus', () => { if (elsewhere && !document.hidden) claim(); });
addEventListener('pagehide', () => { if (!elsewhere) windows?.postMessage('free'); });

function claim() {
  elsewhere = false;
  if (wanted) start();
}

const source = path => (preview.scheme === null ? path : `${path}?scheme=${preview.scheme}`);

/** Shows the picture as a scheme would make it; null: as it is. */
export function preview(scheme) {
  if (preview.scheme === scheme) return;
  preview.scheme = scheme;
  if (wanted) start();
}
preview.scheme = null;

export function setUp() {
  fill(byId('picture'), canvas, label);
  setInterval(watch, 250);
}

async function draw(bytes) {
  const bitmap = await createImageBitmap(new Blob([bytes], { type: 'image/jpeg' }));
  lastAt = performance.now();
  if (frozen) return bitmap.close();
  if (canvas.width !== bitmap.width || canvas.height !== bitmap.height) {
    canvas.width = bitmap.width;
    canvas.height = bitmap.height;
  }
  canvas.getContext('2d').drawImage(bitmap, 0, 0);
  bitmap.close();
  drawnAt = (cameraTime() ?? new Date()).toISOString().slice(11, 19);
  canvas.dataset.frames = String(Number(canvas.dataset.frames ?? 0) + 1);
  return undefined;
}

/** Cuts the parts of a multipart stream out of its bytes. */
class Parts {
  constructor() { this.bytes = new Uint8Array(0); }

  add(more) {
    const joined = new Uint8Array(this.bytes.length + more.length);
    joined.set(this.bytes);
    joined.set(more, this.bytes.length);
    this.bytes = joined;
  }

  /** The newest whole part, or null; older ones are skipped. */
  newest() {
    let found = null;
    for (;;) {
      const head = this.headEnd();
      if (head < 0) return found;
      const text = new TextDecoder('latin1').decode(this.bytes.subarray(0, head));
      const length = Number(/content-length:\s*(\d+)/i.exec(text)?.[1] ?? NaN);
      if (!Number.isInteger(length) || length > 8 << 20) throw new Error('no picture stream');
      if (this.bytes.length < head + length) return found;
      found = this.bytes.slice(head, head + length);
      this.bytes = this.bytes.slice(head + length);
    }
  }

  headEnd() {
    const bytes = this.bytes;
    for (let i = 3; i < bytes.length; i++) {
      if (bytes[i] === 10 && bytes[i - 1] === 13 && bytes[i - 2] === 10 && bytes[i - 3] === 13) {
        // A head that is only the rest of the part before has no length in it.
        const text = new TextDecoder('latin1').decode(bytes.subarray(0, i + 1));
        if (/content-length/i.test(text)) return i + 1;
      }
    }
    return -1;
  }
}

async function readStream(signal) {
  const answer = await fetch(source('/video.mjpg'), { signal, cache: 'no-store', credentials: 'same-origin' });
  if (!answer.ok) throw Object.assign(new Error(await problemText(answer)), { status: answer.status });
  const reader = answer.body.getReader();
  const parts = new Parts();
  for (;;) {
    const { done, value } = await reader.read();
    if (done) return;
    parts.add(value);
    const part = parts.newest();
    if (part) {
      streamAt = performance.now();
      await draw(part);
      streams = true;
      movedAt = drawnAt;
      tries = 0;
    }
  }
}

async function problemText(answer) {
  try {
    return (await answer.json()).detail;
  } catch {
    return String(answer.status);
  }
}

async function start() {
  clearTimeout(retry);
  stop();
  if (!wanted || document.hidden || elsewhere) return;
  windows?.postMessage('mine');
  const control = new AbortController();
  reading = control;
  streamAt = performance.now();
  let why = '';
  try {
    await readStream(control.signal);
  } catch (error) {
    why = error.status ? error.message : ''; // without one, the connection's own line says it
    if (preview.scheme !== null && error.status) {
      preview.scheme = null;
      tell('problem', why);
      tell('target');
      start();
      return;
    }
    if (error.status === 401 || error.status === 403) {
      setText(label, word('noPicture', { why }));
      return;
    }
    if (error.status === 503 && /watch/.test(why)) why = word('tooManyVideos');
  }
  if (reading !== control) return;
  stop();
  if (why) label.dataset.why = why;
  again();
}

function again() {
  retry = setTimeout(start, delays[Math.min(tries++, delays.length - 1)]);
}

export function stop() {
  reading?.abort();
  reading = null;
  streams = false;
}

let stillAt = 0;
let asking = false;
async function still() {
  if (asking || performance.now() - stillAt < stillEvery) return;
  asking = true;
  stillAt = performance.now();
  try {
    const answer = await fetch(source('/picture.jpg'), { cache: 'no-store', credentials: 'same-origin', signal: AbortSignal.timeout(5000) });
    if (answer.ok) await draw(new Uint8Array(await answer.arrayBuffer()));
    else label.dataset.why = await problemText(answer);
  } catch { /* said by the connection's own line */ }
  asking = false;
}

const titleOf = scheme => store.schemes.find(one => one.number === scheme)?.title ?? '';

/** Says how the picture is, and helps it along. */
function watch() {
  if (!wanted || document.hidden) return;
  const stalled = performance.now() - lastAt > stalledAfter;
  byId('picture').classList.toggle('stalled', stalled);
  if (frozen) setText(label, word('frozen'));
  else if (!stalled) {
    if (streams) delete label.dataset.why;
    const state = preview.scheme !== null && streams ? 'liveAs' : streams ? 'live' : movedAt && !elsewhere ? 'stoppedStills' : 'still';
    setText(label, label.dataset.why ?? word(state, { scheme: titleOf(preview.scheme), time: movedAt }));
  } else if (label.dataset.why) setText(label, word('noPicture', { why: label.dataset.why }));
  else setText(label, drawnAt ? word('stopped', { time: drawnAt }) : word('connecting'));
  if (reading && performance.now() - streamAt > stalledAfter) { // hangs without an end
    stop();
    again();
  }
  if (!streams && !frozen) still();
}

export function toggleFreeze() {
  frozen = !frozen;
  canvas.dataset.frozen = String(frozen);
  return frozen;
}

export const isFrozen = () => frozen;

/** The picture as a file. */
export function saveStill() {
  canvas.toBlob(blob => {
    const link = make('a', { href: URL.createObjectURL(blob), download: `picture-${(store.camera?.time ?? '').replace(/:/g, '')}.png` });
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
  });
}

/** Takes the picture off the screen: whoever is not logged in sees none. */
export function hidePicture() {
  wanted = false;
  stop();
  canvas.getContext('2d').clearRect(0, 0, canvas.width, canvas.height);
  show(byId('picture'), false);
}

on('session', () => {
  const may = Boolean(store.session?.can.watch);
  if (may === wanted) return;
  wanted = may;
  if (may) {
    show(byId('picture'), true);
    canvas.setAttribute('aria-label', word('camera'));
    start();
  } else hidePicture();
});
on('link', () => {
  if (store.link !== 'live' || !wanted || streams) return;
  tries = 0;
  start();
});
document.addEventListener('visibilitychange', () => {
  if (document.hidden) {
    stop();
    if (!elsewhere) windows?.postMessage('free');
  } else claim();
});
