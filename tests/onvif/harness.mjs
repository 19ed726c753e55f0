// A camera with ONVIF in a temporary folder, and messages that clients would not send.

import { execFileSync, spawn } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import http from 'node:http';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { body } from './schema.mjs';

const root = fileURLToPath(new URL('../..', import.meta.url));
const programs = process.env.IMGCTL_BIN ?? path.join(root, 'build/dev/bin');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'onvif-test-'));
const running = new Set();
export const sleep = milliseconds => new Promise(done => { setTimeout(done, milliseconds); });

export class Camera {
  static async start(...options) {
    const camera = new Camera();
    camera.device = fs.mkdtempSync(path.join(folder, 'device-'));
    fs.cpSync(path.join(root, 'device'), camera.device, { recursive: true });
    camera.passwords = {};
    for (const role of ['operator', 'viewer']) camera.addUser(role, role);
    camera.process = spawn(path.join(programs, 'imgctld'),
      ['--device', camera.device, '--listen', '127.0.0.1:0', '--onvif', '--clock', '12:00', ...options], { stdio: ['ignore', 'pipe', 'inherit'] });
    running.add(camera.process);
    const said = await new Promise((done, fail) => {
      camera.process.stdout.once('data', done);
      camera.process.once('exit', status => fail(new Error(`imgctld ended with ${status}`)));
    });
    camera.port = Number(/:(\d+)\/\n/.exec(said)[1]);
    camera.url = `http://127.0.0.1:${camera.port}`;
    return camera;
  }

  access(...words) { return execFileSync(path.join(programs, 'imgctl'), ['onvif', ...words, '--device', this.device]).toString().trim(); }
  addUser(name, role) { this.passwords[name] = this.access('add', name, '--role', role); }

  /** The header of a login; what is given replaces what would be right. */
  login(user, { password = this.passwords[user], created = new Date().toISOString(), nonce = crypto.randomBytes(16).toString('base64'), plain = false } = {}) {
    const digest = crypto.createHash('sha1').update(Buffer.concat([Buffer.from(nonce, 'base64'), Buffer.from(created + password)])).digest('base64');
    return `<w:Security xmlns:w="urn:any" s:mustUnderstand="1"><w:UsernameToken><w:Username>${user}</w:Username><w:Password Type="urn:any#Password${plain ? 'Text' : 'Digest'}">${plain ? password : digest}</w:Password><w:Nonce>${nonce}</w:Nonce><w:Created>${created}</w:Created></w:UsernameToken></w:Security>`;
  }

  envelope(request, header = '') {
    return `<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope"><s:Header>${header}</s:Header><s:Body>${request}</s:Body></s:Envelope>`;
  }

  /** @param from  the loopback address that it comes from. @return status, headers and bytes of the answer */
  post(bytes, { service = 'imaging', from = '127.0.0.1' } = {}) {
    return new Promise((done, fail) => {
      const request = http.request(`${this.url}/onvif/${service}_service`,
        { method: 'POST', localAddress: from, headers: { 'Content-Type': 'application/soap+xml; charset=utf-8', 'Content-Length': Buffer.byteLength(bytes) } },
        response => {
          let text = '';
          response.on('data', part => { text += part; });
          response.on('end', () => done({ status: response.statusCode, headers: response.headers, text }));
        });
      request.on('error', fail);
      request.end(bytes);
    });
  }

  /** A request of the imaging service by an operator, or as the header says. @return status and body */
  async ask(request, { header = this.login('operator'), ...more } = {}) {
    const answer = await this.post(this.envelope(request, header), more);
    return { status: answer.status, body: body(answer.text) };
  }

  imaging(operation, content = '') {
    return this.ask(`<${operation} xmlns="http://www.onvif.org/ver20/imaging/wsdl"><VideoSourceToken>VideoSource0</VideoSourceToken>${content}</${operation}>`);
  }

  async api(method, where, content) {
    const answer = await fetch(`${this.url}/api/v1${where}`, { method, headers: { 'Content-Type': 'application/json' }, body: content && JSON.stringify(content) });
    if (!answer.ok) throw new Error(`${method} ${where}: ${await answer.text()}`);
    return answer.json();
  }

  /** The most memory that it has had, in KiB. */
  memory() { return Number(/VmHWM:\s+(\d+)/.exec(fs.readFileSync(`/proc/${this.process.pid}/status`))[1]); }
}

export function finish() {
  for (const one of running) one.kill('SIGKILL');
  fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
}
