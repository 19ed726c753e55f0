import assert from 'node:assert/strict';
import http from 'node:http';
import { browser, control, login, open, page, press, shown, sleep, text, type, until } from './harness.mjs';
import { Proxy } from './proxy.mjs';

const brightness = 34;
const saturation = 2337;
const contrast = 2353;

page('four tabs: the fourth loads in two seconds and is answered in half a second', { noPage: true }, async camera => {
  for (let i = 0; i < 3; i++) await open(camera);
  const began = Date.now();
  const fourth = await open(camera);
  assert.ok(Date.now() - began < 2000, `${Date.now() - began} ms`);
  await fourth.$eval(`#row${contrast} .number`, box => { box.focus(); box.select(); });
  await fourth.keyboard.type('90');
  const answered = await fourth.evaluate(async key => {
    const { store } = await import('/store.js');
    const set = performance.now();
    document.activeElement.blur();
    while (store.parameters.get(key).value !== 90) await new Promise(done => { setTimeout(done, 5); });
    return performance.now() - set;
  }, contrast);
  assert.ok(answered < 500, `${answered} ms`);
  assert.equal(await camera.value(contrast), 90);
});

page('the clock runs with the camera\'s, and what nothing has changed stays as it was drawn', {}, async (camera, one) => {
  let asked = [];
  one.on('request', request => asked.push(request.url().slice(camera.url.length)));
  await one.click(`#row${brightness} .help`);
  await until(() => shown(one, '#panel .lines'));
  await one.evaluate(() => { document.querySelector('#panel .lines').mine = true; });
  await until(() => asked.some(path => path.includes('active=1'))); // that was the click
  asked = [];
  await sleep(2500);
  assert.deepEqual(asked.filter(path => !/^\/api\/v1\/session\?lang/.test(path)), []);
  assert.ok(asked.length);
  const seconds = clock => Date.parse(`1970-01-01T${clock}Z`) / 1000;
  const now = async () => seconds((await camera.get('/camera')).time.slice(11));
  const before = await now();
  const page = seconds(await text(one, '#head .clock'));
  assert.ok(before - 2 <= page && page <= await now() + 1, `${page}, the camera's ${before}`);
  assert.ok(await one.$eval('#panel .lines', lines => lines.mine));
});

page('of two windows that are seen one has the moving picture, the other stills, and it moves on', {}, async (camera, one) => {
  const state = some => text(some, '#picture .state');
  await until(async () => (await state(one)) === 'live');
  const session = await one.createCDPSession();
  await session.send('Emulation.setFocusEmulationEnabled', { enabled: true }); // seen, though another is in front
  const other = await open(camera);
  await until(async () => (await state(other)) === 'live');
  await until(async () => (await state(one)) === 'stills');
  const { frames } = await one.$eval('#live', canvas => ({ ...canvas.dataset }));
  await until(() => one.$eval('#live', (canvas, before) => Number(canvas.dataset.frames) > Number(before), frames));
  await other.close();
  await until(async () => (await state(one)) === 'live');
});

page('a foreign page gets no picture and changes nothing', { noPage: true }, async camera => {
  const server = http.createServer((request, answer) => answer.setHeader('Content-Type', 'text/html').end('<p>elsewhere'));
  await new Promise(done => { server.listen(0, '127.0.0.1', done); });
  const foreign = await browser.newPage();
  await foreign.goto(`http://localhost:${server.address().port}/`);
  const said = await foreign.evaluate(async url => {
    const image = await new Promise(done => {
      const element = new Image();
      element.onload = () => done('picture');
      element.onerror = () => done('none');
      element.src = `${url}/picture.jpg`;
    });
    const send = async (method, headers, body) => fetch(`${url}/api/v1/parameters/34`, { method, headers, body, mode: headers ? 'cors' : 'no-cors' })
      .then(answer => answer.type, () => 'none');
    await send('POST', undefined, '{"value":7}');
    await send('POST');
    for (const method of ['PUT', 'POST', 'PATCH']) await send(method, { 'Content-Type': 'application/json' }, '{"value":7}');
    await fetch(`${url}/api/v1/save`, { method: 'POST', mode: 'no-cors', body: '' }).catch(() => {});
    return image;
  }, camera.url);
  server.close();
  assert.equal(said, 'none');
  assert.equal(await camera.value(brightness), 128);
  assert.equal((await camera.get('/history')).entries.length, 0);
});

page('what fails is said in time, comes back by itself, and nothing that waited is sent', {}, async camera => {
  const proxy = await Proxy.start(camera);
  const one = await open(camera, { url: proxy.url });
  const state = () => text(one, '#picture .state');
  const within = async (condition, milliseconds) => {
    const began = Date.now();
    await until(condition, milliseconds);
    return Date.now() - began;
  };
  const live = async () => (await state()) === 'live';
  await until(live);
  // The day as a draft, which all of this must leave alone.
  await one.click('#edit-day');
  await one.$eval('[data-scheme="1"] [data-edge=start]', grip => grip.focus());
  await press(one, 'PageUp', 3);

  for (const fate of ['stall', 'refuse']) { // silent, or ended and not to be had
    proxy.let('/video.mjpg', fate);
    await within(async () => /^Picture stopped at \d\d:\d\d:\d\d/.test(await state()), 3500);
    const { frames } = await one.$eval('#live', canvas => ({ ...canvas.dataset }));
    await within(() => one.$eval('#live', (canvas, before) => Number(canvas.dataset.frames) > Number(before), frames), 3000); // stills
    proxy.let('/video.mjpg', undefined);
    await within(live, 6000);
  }

  await camera.put('/simulator', { unplugged: true });
  await within(async () => /^The camera at .* is not there since/.test(await text(one, '.band.warn')), 3000);
  assert.ok(!(await shown(one, '.band.error'))); // which is no lost connection
  await camera.put('/simulator', { unplugged: false });
  await within(async () => !(await shown(one, '.band.warn')), 12000);

  proxy.let('/api/v1/events', 'stall'); // without an error
  const silent = await within(() => shown(one, '.band.error'), 26000);
  assert.ok(silent > 14000, `${silent} ms`); // a word comes every ten seconds, and 25 without one are lost
  assert.match(await text(one, '.band.error'), /^No connection since \d\d:\d\d:\d\d\. Values are from then\. Next try in \d+ s\./);
  const disabled = () => one.$eval(`#c${brightness}`, element => element.disabled);
  assert.ok(await disabled() && await one.$eval('.day-editor .primary', button => button.disabled));
  await camera.put(`/parameters/${contrast}`, { value: 90 });
  proxy.let('/api/v1/events', undefined);
  await within(async () => !(await shown(one, '.band.error')), 15000);
  await until(() => shown(one, `#row${contrast}.fresh`)); // changed meanwhile
  assert.equal(await control(one, contrast), 90);

  // A hand on a control while nobody answers: what waits behind the request is never sent.
  camera.process.kill('SIGSTOP');
  await one.evaluate(async key => {
    const { beginGesture, send } = await import('/sender.js');
    const gesture = beginGesture();
    for (let value = 129; value < 140; value++) send([key], [value], gesture, () => {});
  }, saturation);
  await until(() => shown(one, '#picture.stalled'), 4000);
  await camera.stop('SIGKILL');
  await within(() => shown(one, '.band.error'), 2500);
  await one.evaluate(key => import('/sender.js').then(sender => sender.send([key], [200], sender.beginGesture(), () => {})), saturation);
  await camera.run();
  await within(async () => !(await shown(one, '.band.error')), 12000);
  await until(async () => !(await disabled()) && live(), 10000);
  await sleep(300);
  assert.ok(await camera.value(saturation) <= 129);
  assert.equal(await one.$eval('[data-scheme="1"] [data-edge=start]', grip => grip.getAttribute('aria-valuetext')), '03:00');
  assert.equal((await camera.get('/schemes/1')).start, '00:00');
});

page('two pages share one trial: kept, dropped, reloaded', {}, async (camera, one) => {
  await one.click('#try');
  await type(one, `#row${brightness} .number`, '80');
  await until(() => shown(one, '.band.trial'));
  await sleep(2000);
  const other = await open(camera);
  await until(() => shown(other, '.band.trial'));
  const left = async some => Number(/0:(\d\d) left/.exec(await text(some, '.band.trial'))[1]);
  const own = (await camera.get('/trial')).seconds_left;
  assert.ok(own <= 28, `${own} s of 30 are left`);
  for (const some of [one, other]) assert.ok(Math.abs(await left(some) - own) <= 2);
  assert.equal(await camera.stored(0, brightness), 128);
  await other.reload();
  await until(() => shown(other, '.band.trial'));
  await other.click('[data-act=drop]');
  await until(async () => (await camera.value(brightness)) === 128);
  await one.bringToFront();
  await until(async () => !(await shown(one, '.band.trial')));
  await until(async () => /Trial over: Brightness is 128 again/.test(await text(one, `#n${brightness}`)));
  await one.click(`#n${brightness} button`);
  await until(() => shown(one, '.band.trial'));
  await one.click('[data-act=keep]');
  await until(async () => (await camera.stored(0, brightness)) === 80);
  await until(async () => !(await shown(one, '.band.trial')));
  assert.equal(await control(one, brightness), 80);
  await type(one, `#row${brightness} .number`, '70'); // on trial as well
  await until(() => shown(one, '.band.trial'));
  await camera.put(`/parameters/${brightness}`, { value: 60 });
  await until(async () => (await text(one, `#n${brightness}`)) === 'Brightness: somebody on this machine set 60; your trial of it ended.');
  assert.equal(await control(one, brightness), 60);
});

page('each role sees what it may, and who loses a right loses it within two seconds',
  { camera: { users: { anna: 'administrator', olga: 'operator', vera: 'viewer', mona: 'monitor' } }, ready: false }, async (camera, one) => {
    await login(one, 'vera', 'wrong-words-99');
    await until(async () => (await text(one, '.login .error')).length > 5);
    assert.ok(!(await shown(one, '#picture')));
    await login(one, 'vera');
    await until(() => shown(one, '#picture'));
    assert.match(await text(one, '#bands'), /You may look/);
    await until(() => shown(one, `#row${brightness} .read`)); // values as text, no forest of dead controls
    assert.equal(await one.$eval(`#row${brightness} .read`, value => value.innerText), '128');
    assert.ok(!(await shown(one, '#save')) && !(await shown(one, '#list input, #list select')));

    const own = async (name, act) => { // a browser of its own
      const context = await browser.createBrowserContext();
      const some = await open(camera, { context, ready: false });
      if (name) await login(some, name);
      await act(some);
      await context.close();
    };
    await own('mona', async some => {
      await until(async () => /state only/.test(await text(some, '#bands')));
      assert.match(await text(some, '#head .scheme'), /scheme 0/);
      await sleep(1500); // of which nothing is a lost connection
      assert.ok(!(await shown(some, '#picture, #list, #save, .band.error')));
    });
    const gone = async (some, condition) => {
      const began = Date.now();
      await until(condition, 4000);
      assert.ok(Date.now() - began < 2000, `${Date.now() - began} ms`);
    };
    await own('anna', async admin => {
      await until(() => shown(admin, '#save'));
      const ask = (method, where, body) => admin.evaluate(async (...all) => (await import('/api.js')).ask(...all), method, where, body);
      await own('olga', async two => {
        await until(async () => (await shown(two, '#save')) && !(await two.$eval(`#c${brightness}`, element => element.disabled)));
        await ask('PUT', '/users/olga', { role: 'viewer' });
        await gone(two, async () => !(await shown(two, '#save')) && !(await shown(two, '#list input')));
      });
      const { token } = await ask('POST', '/tokens', { name: 'wall', role: 'operator' });
      await own('', async two => {
        await two.setExtraHTTPHeaders({ Authorization: `Bearer ${token}` });
        await two.reload();
        await until(async () => (await shown(two, '#save')) && (await text(two, '#picture .state')) === 'live');
        await ask('DELETE', '/tokens/wall', {});
        await gone(two, async () => (await shown(two, '.login')) && !(await shown(two, '#picture')));
      });
    });
    await one.bringToFront();
    await until(async () => (await text(one, '#picture .state')) === 'live');
    camera.writeUsers({ anna: 'administrator' });
    await gone(one, async () => (await shown(one, '.login')) && !(await shown(one, '#picture')));
    assert.equal(await text(one, '.login .note'), 'Logged out: this account was changed.');
  });

page('the end of a login says why, and an administrator hears in time of the certificate\'s',
  { camera: { users: { anna: 'administrator' } }, noPage: true }, async camera => {
    const proxy = await Proxy.start(camera);
    const date = days => new Date(Date.now() + days * 86400000).toISOString();
    let session = {};
    proxy.change = ({ path, answer }) => (!path.startsWith('/api/v1/session') ? null
      : answer ? JSON.stringify({ ...JSON.parse(answer), ...session }) : '');
    const one = await open(camera, { url: proxy.url, language: 2, ready: false });
    await login(one, 'anna');
    await until(() => shown(one, '#picture'));
    const bands = () => text(one, '#bands');
    for (const [days, said] of [[31, /^((?!Zertifikat)[^])*$/], [9, /Zertifikat .* läuft am \d{4}-\d\d-\d\d ab/], [-1, /Zertifikat .* abgelaufen/]]) {
      session = { certificate_expires: date(days) };
      await until(async () => said.test(await bands()));
    }
    await type(one, `#row${brightness} .number`, '300'); // and a refusal stands in that language
    await until(async () => (await text(one, `#n${brightness}`)) === 'Helligkeit nimmt 0 - 255; 300 wurde abgelehnt. 128 bleibt in Kraft.');
    session = { logged_in: false, ended: 'unused', can: {} };
    await until(async () => (await text(one, '.login .note')) === 'Abgemeldet nach 30 Minuten ohne Benutzung.');
    assert.ok(!(await shown(one, '#picture')));
  });
