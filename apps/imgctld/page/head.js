// The line at the top: which camera, what time it has, which scheme is in force and why; and the lines
// below it that concern everything: connection, device, encryption.

import { byId, fill, make, setText, show } from './dom.js';
import { get, post } from './api.js';
import { connect, link } from './link.js';
import { on, readSession, store, tell } from './store.js';
import { schemeClass, sign } from './looks.js';
import { choose, language, word } from './words.js';

const name = make('h1', { class: 'name' });
const clock = make('time', { class: 'clock' });
const badge = make('span');
const schemeTitle = make('span', { class: 'title' });
const schemeReason = make('span', { class: 'reason' });
const scheme = make('span', { class: 'scheme' }, badge, schemeTitle, schemeReason);
const watching = make('span', { class: 'quiet-text' });
const user = make('span', { class: 'user' });
const logout = make('button', { type: 'button', class: 'quiet', onclick: () => leave() });
const languages = make('select', { class: 'languages', onchange: () => changeLanguage(Number(languages.value)) });
const menu = make('button', { type: 'button', class: 'menu', 'aria-expanded': 'false', 'aria-controls': 'more', onclick: () => openMenu() }, sign('menu'));
const more = make('div', { id: 'more', onclick: event => { if (event.target.closest('button')) openMenu(false); } });
const bands = new Map(); // name -> element
const certificateWarning = 30 * 86400000;
let lostAt = ''; // the camera's time of the last word from it

/** Where a narrow page has what else stands beside the picture. */
export const menuPlace = make('div', { class: 'menu-place' });

function openMenu(open = !more.classList.contains('open')) {
  more.classList.toggle('open', open);
  menu.setAttribute('aria-expanded', String(open));
}

/** Says something to those who hear the page. */
function announce(text) {
  setText(byId('said'), text);
}

export async function setUp() {
  fill(byId('head'), name, clock, scheme, make('span', { class: 'space' }), menu, more);
  fill(more, menuPlace, watching, user, languages, logout);
  document.addEventListener('keydown', event => { if (event.key === 'Escape') openMenu(false); });
  document.addEventListener('pointerdown', event => { if (!event.target.closest('#more, .menu')) openMenu(false); });
  setInterval(tick, 500);
  await fillLanguages().catch(() => {});
}

export async function fillLanguages() {
  const list = (await get('/languages')).languages;
  fill(languages, list.map(one => make('option', { value: one.id, textContent: one.name })));
  languages.value = language();
  languages.setAttribute('aria-label', word('language'));
}

async function changeLanguage(id) {
  try { localStorage.setItem('language', String(id)); } catch { /* not kept then */ }
  await choose(id);
  tell('language');
  await connect();
}

async function leave() {
  await post('/logout').catch(() => {});
  tell('login', word('loggedOut'));
}

// Camera time between two words of the camera: it runs on at the speed that they show. They are whole seconds,
// so that only many of them tell a speed.
const manySeconds = 20000;
let known = null; // { camera, here, speed }
let measured = null; // from where the speed is measured
function hearTime(text) {
  const camera = Date.parse(`${text}Z`);
  const here = performance.now();
  measured ??= { camera, here };
  let speed = known?.speed ?? 1;
  if (Math.abs(camera - measured.camera) >= manySeconds) {
    speed = Math.max(0, (camera - measured.camera) / Math.max(1, here - measured.here));
    if (Math.abs(speed - 1) < 0.1) speed = 1;
    measured = { camera, here };
  }
  known = { camera, here, speed };
}

export function cameraTime() {
  if (!known) return null;
  const going = store.link === 'live' ? performance.now() - known.here : 0;
  return new Date(known.camera + going * known.speed);
}

function tick() {
  const time = cameraTime();
  if (time) setText(clock, time.toISOString().slice(11, 19));
  const differs = time && Math.abs(known.speed - 1) < 0.1 && store.link === 'live' &&
    Math.abs(((time.getTime() - Date.now() + new Date().getTimezoneOffset() * 60000) % 86400000)) > 120000;
  band('clock', differs ? word('clockDiffers', { camera: time.toISOString().slice(11, 16), here: new Date().toTimeString().slice(0, 5) }) : '', 'thin');
  if (store.link === 'lost') {
    band('lost', word('lost', { time: lostAt || '-', seconds: Math.max(0, Math.ceil((link.next - Date.now()) / 1000)) }),
      'error', [make('button', { type: 'button', onclick: connect }, word('now'))]);
  } else band('lost', '');
}

/** A line for everybody, by its name; an empty text takes it away. */
export function band(key, text, kind = '', extra = []) {
  let element = bands.get(key);
  if (!text) {
    element?.remove();
    bands.delete(key);
    return;
  }
  if (!element) {
    element = make('div', {}, make('span'), make('span', { class: 'extra' }));
    bands.set(key, element);
    byId('bands').append(element);
    announce(text);
  }
  element.className = `band ${kind}`;
  setText(element.firstChild, text);
  const signature = extra.map(one => one.textContent).join();
  if (element.dataset.extra !== signature) {
    element.dataset.extra = signature;
    fill(element.lastChild, extra);
  }
}

function update() {
  const camera = store.camera;
  const session = store.session;
  if (camera) {
    const title = camera.layer.device ?? camera.layer.name;
    setText(name, title);
    document.title = title;
    setText(schemeTitle, camera.scheme.name || camera.scheme.title);
    badge.className = `badge ${schemeClass(camera.scheme.number, camera.scheme.default)}`;
    setText(badge, camera.scheme.default ? '' : String(camera.scheme.number));
    show(badge, !camera.scheme.default);
    const until = camera.next ? ` ${word('until', { time: camera.next.time === '00:00' ? '24:00' : camera.next.time })}` : '';
    setText(schemeReason, `${until}, ${word(`reason_${camera.scheme.reason}`)}`);
    scheme.title = `${camera.scheme.title}${schemeReason.textContent}: ${camera.scheme.reason_text}`;
    const gone = camera.layer.state === 'gone';
    band('gone', gone ? word('gone', { device: camera.layer.device ?? camera.layer.name, seconds: camera.layer.gone_seconds }) : '', 'warn');
    band('manual', camera.mode === 'manual' ? word('byHand') : '', 'thin',
      session?.can.administrate ? [make('button', { type: 'button', onclick: () => tell('mode', 'schedule') }, word('followSchedule'))] : []);
  }
  if (session) {
    document.body.classList.toggle('viewer', !session.can.change);
    document.body.classList.toggle('monitor', session.logged_in && !session.can.watch);
    menu.setAttribute('aria-label', word('menu'));
    setText(user, session.user ? `${session.user} (${session.role})` : '');
    setText(logout, word('logout'));
    show(logout, session.login_needed && session.logged_in);
    band('plain', !session.encrypted && !session.local ? word('notEncrypted') : '', 'thin');
    const expires = session.can.administrate && session.certificate_expires ? Date.parse(session.certificate_expires) : Infinity;
    const over = expires <= Date.now();
    band('certificate', expires - Date.now() > certificateWarning ? ''
      : word(over ? 'certificateOver' : 'certificateEnds', { date: session.certificate_expires.slice(0, 10) }), over ? 'warn' : 'thin');
    band('open', session.login_needed ? '' : word('openToAll'), 'thin',
      [make('button', { type: 'button', class: 'quiet', title: word('addUserHow'), onclick: () => alertHow() }, word('addUser'))]);
    band('look', session.logged_in && !session.can.change ? word(session.can.watch ? 'mayLook' : 'mayStateOnly') : '', 'thin');
  }
}

on('problem', text => band('problem', text, 'error',
  [make('button', { type: 'button', onclick: () => band('problem', '') }, word('close'))]));

function alertHow() {
  const dialog = make('dialog', { class: 'sheet', onclose: () => dialog.remove() },
    make('p', {}, word('addUserHow')),
    make('button', { type: 'button', onclick: () => dialog.close() }, word('close')));
  document.body.append(dialog);
  dialog.showModal();
}

on('camera', () => {
  hearTime(store.camera.time);
  update();
});
on('session', update);
on('announce', announce);
on('link', () => {
  const lost = store.link === 'lost';
  if (lost && !document.body.classList.contains('lost')) lostAt = known ? cameraTime().toISOString().slice(11, 19) : '';
  document.body.classList.toggle('lost', lost);
  tick();
  update();
});
on('time', event => {
  hearTime(event.time);
  setText(watching, event.watching ? word('watching', { count: event.watching }) : '');
});

// A right that was taken away, or a login that has ended, shows within two seconds.
setInterval(() => {
  if (document.hidden || store.link !== 'live') return;
  const before = store.session?.role;
  readSession().then(session => {
    if (session.logged_in && before !== session.role) connect();
  }).catch(() => {});
}, 1000);
