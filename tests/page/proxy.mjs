// Stands between a page and its camera, and lets one thing fail while all else goes on.

import http from 'node:http';
import { sleep } from './harness.mjs';

export class Proxy {
  static async start(camera) {
    const proxy = new Proxy();
    proxy.fates = new Map(); // a path's begin -> stall, refuse, wait
    // Sees each request's body and each answer to it: { path, body, answer } => a text instead, or, of a
    // request, { status, text } to answer it with.
    proxy.change = null;
    proxy.open = new Set();
    proxy.server = http.createServer((request, answer) => proxy.pass(camera, request, answer));
    await new Promise(done => { proxy.server.listen(0, '127.0.0.1', done); });
    camera.beside = [...camera.beside ?? [], proxy]; // and ends with it
    proxy.url = `http://127.0.0.1:${proxy.server.address().port}`;
    return proxy;
  }

  /** @param fate stall: not a word more; refuse: ended, and again whenever it is tried; wait: held back until
   * it is none: as before */
  let(path, fate) {
    this.fates.set(path, fate);
    for (const one of this.open) if (one.path.startsWith(path) && fate === 'refuse') one.answer.destroy();
  }

  fate(path) { return [...this.fates].find(([begin]) => path.startsWith(begin))?.[1]; }

  async pass(camera, request, answer) {
    const path = request.url;
    if (this.fate(path) === 'refuse') return answer.destroy();
    const one = { path, answer };
    this.open.add(one);
    let body = Buffer.concat(await request.toArray());
    while (this.fate(path) === 'wait') await sleep(20);
    const asked = this.change?.({ path, body: String(body) }) ?? null;
    if (asked?.status) return answer.writeHead(asked.status, { 'content-type': 'application/problem+json' }).end(asked.text);
    if (asked !== null) body = Buffer.from(asked);
    const headers = { ...request.headers, host: `127.0.0.1:${camera.port}`, 'content-length': body.length };
    if (headers.origin) headers.origin = camera.url;
    const up = http.request({ port: camera.port, host: '127.0.0.1', method: request.method, path, headers }, async from => {
      if (asked !== null) {
        const changed = this.change({ path, answer: String(Buffer.concat(await from.toArray())) });
        answer.writeHead(from.statusCode, { 'content-type': from.headers['content-type'] }).end(changed);
        return;
      }
      answer.writeHead(from.statusCode, from.headers);
      from.on('data', data => { if (this.fate(path) !== 'stall') answer.write(data); });
      from.on('end', () => { if (this.fate(path) !== 'stall') answer.end(); });
      from.on('error', () => answer.destroy());
    });
    up.on('error', () => answer.destroy());
    answer.on('close', () => { this.open.delete(one); up.destroy(); });
    up.end(body);
    return undefined;
  }

  stop() {
    this.server.close();
    this.server.closeAllConnections();
  }
}
