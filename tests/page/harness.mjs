// A camera on the network in a temporary folder, and a browser of its own to look at its page.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import puppeteer from 'puppeteer-core';

const root = fileURLToPath(new URL('../..', import.meta.url));
const program = process.env.IMGCTLD ?? path.join(root, 'build/dev/bin/imgctld');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'page-test-'));
const running = new Set();
export const sleep = milliseconds => new Promise(done => { setTimeout(done, milliseconds); });

const freePort = () => new Promise(done => {
  const server = net.createServer().listen(0, '127.0.0.1', () => {
    const { port } = server.address();
    server.close(() => done(port));
  });
});

export class Camera {
  /** @param change is called with the folder of the device before the start */
  static async start({ clock = '12:00', speed, users, change } = {}) {
    const camera = new Camera();
    camera.device = fs.mkdtempSync(path.join(folder, 'device-'));
    fs.cpSync(path.join(root, 'device'), camera.device, { recursive: true });
    fs.rmSync(path.join(camera.device, 'run'), { recursive: true, force: true });
    change?.(camera.device);
    camera.port = await freePort();
    camera.url = `http://127.0.0.1:${camera.port}`;
    camera.arguments = ['--device', camera.device, '--listen', `127.0.0.1:${camera.port}`, '--clock', clock];
    if (speed) camera.arguments.push('--speed', String(speed));
    if (users) {
      camera.users = path.join(camera.device, 'users');
      camera.writeUsers(users);
      camera.arguments.push('--users', camera.users);
    }
    await camera.run();
    return camera;
  }

  /** @param users  names and roles; the password of all is "secret-words-9" */
  writeUsers(users) {
    const hash = '$y$j9T$abcdefghijklmnop$1yeV0qops4.LU/Bp81QnejIkE3bSB23KxpQbP7lFBT7';
    const file = `${this.users}.new`;
    fs.writeFileSync(file, 'imgctl-users 1\n' + Object.entries(users).map(([name, role]) => `user ${name} ${role} ${hash}\n`).join(''), { mode: 0o600 });
    fs.renameSync(file, this.users);
  }

  async run() {
    // A file that grows too large is an error to it, not its end: see fullFlash.
    this.process = spawn('sh', ['-c', 'trap "" XFSZ; exec "$0" "$@"', program, ...this.arguments], { stdio: ['ignore', 'pipe', 'pipe'] });
    running.add(this.process);
    let said = '';
    for (const stream of [this.process.stdout, this.process.stderr]) stream.on('data', data => { said += data; });
    for (let i = 0; i < 200; i++) {
      if (this.process.exitCode !== null) throw new Error(`the camera did not start: ${said}`);
      try {
        await fetch(`${this.url}/api/v1/session`);
        return;
      } catch { await sleep(50); }
    }
    throw new Error(`the camera does not answer: ${said}`);
  }

  async stop(signal = 'SIGKILL') {
    if (this.process.exitCode !== null || this.process.signalCode !== null) return;
    const ended = new Promise(done => { this.process.once('exit', done); });
    running.delete(this.process);
    this.process.kill(signal);
    await ended;
  }

  async ask(method, where, body) {
    const answer = await fetch(`${this.url}/api/v1${where}`, { method, headers: { 'Content-Type': 'application/json' },
      body: method === 'GET' ? undefined : JSON.stringify(body ?? {}) });
    const text = await answer.text();
    return { status: answer.status, ...(text.startsWith('{') ? JSON.parse(text) : { text }) };
  }

  /** From now on nothing more can be written to a file, or it can again. */
  fullFlash(full) {
    execFileSync('prlimit', ['--pid', String(this.process.pid), `--fsize=${full ? 0 : 'unlimited'}:unlimited`]);
  }

  get(where) { return this.ask('GET', where); }
  put(where, body) { return this.ask('PUT', where, body); }
  async value(key) { return (await this.get(`/parameters/${key}`)).value; }
  async stored(scheme, key) { return (await this.get(`/schemes/${scheme}`)).values.find(one => one.key === key).value; }
  async windows(list) {
    for (const [number, start, end] of list) await this.put(`/schemes/${number}`, { enabled: true, start, end });
  }
  style() { return path.join(this.device, 'hd1/moduleConfig/sensorConfig/style/Style.xml'); }
}

export const browser = await puppeteer.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', userDataDir: path.join(folder, 'browser'),
  args: [...(process.getuid() === 0 ? ['--no-sandbox'] : []), '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync', '--lang=en'],
});

/** A page of a camera. Whatever it complains about, and each foreign host it asks, is in page.faults.
 * @param url  of what stands between the page and the camera, if anything does */
export async function open(camera, { url = camera.url, width = 1280, height = 720, colours = 'light', language = 0, context = browser, ready = true, zoom = 1 } = {}) {
  const page = await context.newPage();
  page.faults = [];
  page.on('pageerror', error => page.faults.push(error.message));
  page.on('console', message => {
    // A refusal or a camera that is away is noted by the browser itself; that is what some tests are about.
    if (message.type() === 'error' && !/Failed to load resource|net::ERR_/.test(message.text())) page.faults.push(message.text());
  });
  page.on('request', request => {
    const asked = new URL(request.url());
    if (/^http/.test(asked.protocol) && asked.host !== new URL(url).host) page.faults.push(`asked ${asked.host}`);
  });
  page.on('dialog', dialog => dialog.accept());
  await page.setViewport({ width: Math.round(width / zoom), height: Math.round(height / zoom), deviceScaleFactor: zoom,
    isMobile: width < 500, hasTouch: width < 500 });
  await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: colours }]);
  await page.evaluateOnNewDocument(id => {
    try { localStorage.setItem('language', id); } catch { /* of a page without storage */ }
    addEventListener('securitypolicyviolation', event => console.error(`policy: ${event.violatedDirective}`));
  }, String(language));
  await page.goto(url);
  if (ready) await page.waitForSelector('body[data-ready]', { timeout: 15000 });
  return page;
}

/** Waits until a condition holds. @throws with what the condition said last */
export async function until(condition, milliseconds = 5000) {
  const end = Date.now() + milliseconds;
  let last;
  for (;;) {
    try {
      last = await condition();
      if (last) return last;
    } catch (error) { last = error; }
    if (Date.now() > end) throw new Error(`not within ${milliseconds} ms: ${condition} (${last})`);
    await sleep(40);
  }
}

export const text = (page, selector) => page.$eval(selector, element => element.innerText).catch(() => '');
export const shown = (page, selector) => page.$$eval(selector, all => all.some(one => one.checkVisibility()));
/** What a control shows. */
export const control = (page, key) => page.$eval(`#c${key}`, one => Number(one.value));
export const press = async (page, key, times = 1) => { for (let i = 0; i < times; i++) await page.keyboard.press(key); };
export async function type(page, selector, value) {
  await page.$eval(selector, one => { one.focus(); one.select(); });
  await page.keyboard.type(value);
  await press(page, 'Enter');
  await page.$eval(selector, one => one.blur());
}
export async function slider(page, key) {
  const box = await (await page.$(`#c${key}`)).boundingBox();
  return { x: part => box.x + 8 + (box.width - 16) * part, y: box.y + box.height / 2 };
}

after(async () => {
  await browser.close().catch(() => {});
  for (const one of running) one.kill('SIGKILL');
  fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
});

/** A test with a camera and a page of its own, that must not complain. */
export function page(name, options, body) {
  test(name, { timeout: 90000 }, async () => {
    const camera = await Camera.start(options.camera);
    try {
      const first = options.noPage ? null : await open(camera, options);
      await body(camera, first);
      for (const one of await browser.pages()) assert.deepEqual(one.faults ?? [], []);
    } finally {
      for (const one of (await browser.pages()).slice(1)) await one.close().catch(() => {});
      for (const one of camera.beside ?? []) one.stop();
      await camera.stop().catch(() => {});
    }
  });
}

export async function login(one, name, password = 'secret-words-9') {
  await one.waitForSelector('#login-name');
  for (const id of ['#login-name', '#login-password']) await one.$eval(id, box => { box.value = ''; });
  await one.type('#login-name', name);
  await one.type('#login-password', password);
  await press(one, 'Enter');
}
