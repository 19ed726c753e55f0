import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { after, test } from 'node:test';
import { Camera, browser, control, finish, open, press, shown, sleep, slider, text, type, until } from './harness.mjs';

after(finish);
const brightness = 34;
const saturation = 2337;
const contrast = 2353;

/** A test with a camera and a page of its own, that must not complain. */
function page(name, options, body) {
  test(name, { timeout: 60000 }, async context => {
    const camera = await Camera.start(options.camera);
    try {
      const first = options.noPage ? null : await open(camera, options);
      await body(camera, first, context);
      for (const one of await browser.pages()) assert.deepEqual(one.faults ?? [], []);
    } finally {
      for (const one of (await browser.pages()).slice(1)) await one.close().catch(() => {});
      await camera.stop().catch(() => {});
    }
  });
}

const grey = one => one.$eval('#live', canvas => {
  const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
  let sum = 0;
  for (let i = 0; i < data.length; i += 4) sum += data[i] + data[i + 1] + data[i + 2];
  return sum / (data.length / 4 * 3);
});

page('a slider by keyboard changes the pixels, is one change, and one undo takes it back', {}, async (camera, one) => {
  await until(() => grey(one).then(value => value > 20));
  const before = await grey(one);
  await one.focus(`#c${brightness}`);
  await press(one, 'PageDown', 3);
  await press(one, 'ArrowLeft', 20);
  const set = await control(one, brightness);
  assert.ok(set < 100);
  await until(async () => (await camera.value(brightness)) === set);
  await until(() => grey(one).then(value => value < before - 5));
  const { entries } = await camera.get(`/history?key=${brightness}`);
  assert.deepEqual(entries.map(entry => [entry.changes[0].old, entry.changes[0].new]), [[128, set]]);
  await one.click('[data-view=history]');
  await one.waitForSelector('.history li button');
  await one.click('.history li button');
  await until(async () => (await camera.value(brightness)) === 128);
  await until(async () => (await control(one, brightness)) === 128);
  await until(() => grey(one).then(value => Math.abs(value - before) < 5));
});

page('four tabs: the fourth loads in two seconds and is answered at once', { noPage: true }, async camera => {
  for (let i = 0; i < 3; i++) await open(camera);
  const began = Date.now();
  const fourth = await open(camera);
  assert.ok(Date.now() - began < 2500, `${Date.now() - began} ms`);
  const set = Date.now();
  await type(fourth, `#row${contrast} .number`, '90');
  await until(async () => (await camera.value(contrast)) === 90, 500);
  assert.ok(Date.now() - set < 1000);
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

const markup = '<img src=x onerror="window.hit=1"><script>window.hit=1</script>';
page('markup in labels and names is shown as text', { camera: { change: device => {
  const file = path.join(device, 'hd1/moduleConfig/sensorConfig/language/0/language.xml');
  fs.writeFileSync(file, fs.readFileSync(file, 'utf8').replace('>Brightness<', `>${markup.replaceAll('<', '&lt;').replaceAll('>', '&gt;')}<`));
} } }, async (camera, one) => {
  assert.equal(await text(one, `#row${brightness} label`), markup);
  await camera.put('/schemes/0', { name: '<b onclick=1>x' });
  await until(async () => (await text(one, '#head .scheme')).includes('<b onclick=1>x'));
  await one.click(`#row${brightness} .help`);
  await until(async () => (await text(one, '#panel h2')) === markup);
  await one.click('#edit-day');
  await sleep(200);
  assert.equal(await one.evaluate(() => window.hit), undefined);
});

page('the thumb stays in the hand, the last writer wins, and pages end equal', {}, async (camera, one) => {
  const other = await open(camera);
  await one.bringToFront();
  const at = await slider(one, brightness);
  await one.mouse.move(at.x(0.5), at.y);
  await one.mouse.down();
  await one.mouse.move(at.x(0.7), at.y, { steps: 4 });
  const mine = await until(async () => (await camera.value(brightness)) > 150 && control(one, brightness));
  await camera.put(`/parameters/${brightness}`, { value: 60 });
  await until(async () => /60/.test(await text(one, `#n${brightness}`)));
  assert.equal(await control(one, brightness), mine);
  await one.mouse.up();
  await until(async () => (await control(one, brightness)) === 60); // the hand did not move since
  assert.equal(await camera.value(brightness), 60);
  await one.evaluate(async key => { // a late answer of before
    const store = await import('/store.js');
    store.takeResults({ sequence: 1, results: [{ key, value: 200 }] });
    const parameters = [...store.store.parameters.values()].map(parameter => ({ ...parameter, value: 11 }));
    store.takeParameters({ boot: store.store.boot, sequence: 1, groups: [], parameters });
  }, brightness);
  assert.equal(await control(one, brightness), 60);
  await other.bringToFront();
  await until(async () => (await control(other, brightness)) === 60);
});

page('what a hand changes while the clock switches does not land in the other scheme', { camera: { clock: '17:59:50' } }, async (camera, one) => {
  await camera.windows([[1, '18:00', '24:00'], [0, '08:00', '18:00']]);
  await camera.put(`/parameters/${brightness}`, { value: 128, scheme: 0 });
  await until(async () => (await text(one, '#head .scheme')).startsWith('scheme 0'));
  const at = await slider(one, brightness);
  await one.mouse.move(at.x(0.5), at.y);
  await one.mouse.down();
  for (let i = 0; i < 400 && (await camera.get('/camera')).scheme.number === 0; i++) {
    await one.mouse.move(at.x(0.5 + (i % 20) / 50), at.y);
    await sleep(50);
  }
  assert.equal((await camera.get('/camera')).scheme.number, 1);
  for (let i = 0; i < 8; i++) {
    await one.mouse.move(at.x(0.2 + i / 50), at.y);
    await sleep(50);
  }
  await one.mouse.up();
  await sleep(300);
  assert.equal(await camera.stored(1, brightness), 128);
  const left = await camera.stored(0, brightness); // where the hand went last
  assert.ok(left > 40 && left < 95, String(left));
});

page('changes in two schemes are counted, saved and there after a kill; a save that fails says so', {}, async (camera, one) => {
  await camera.windows([[0, '00:00', '24:00'], [1, '00:00', '24:00']]);
  await camera.ask('POST', '/save');
  await until(async () => (await text(one, '#save .primary')) === 'All saved');
  await type(one, `#row${brightness} .number`, '90');
  await until(() => shown(one, `#row${brightness}.unsaved`));
  await one.select('#target', '1');
  await until(async () => (await one.$eval('body', body => body.classList.contains('other-scheme'))));
  await type(one, `#row${contrast} .number`, '77');
  await until(async () => (await text(one, '#save .primary')) === 'Save 2 changes');
  await one.click('#save .bar .quiet');
  assert.match(await text(one, '#save .unsaved-list'), /scheme 0: Brightness\s+scheme 1: Contrast/);

  camera.fullFlash(true);
  await sleep(2100); // saving has a pace of its own
  await one.click('#save .primary');
  await until(() => shown(one, '#save .save-state.error'));
  assert.ok((await text(one, '#save .save-state.error')).length > 10);
  assert.doesNotMatch(await text(one, '#save .bar'), /Saved \d/);
  assert.equal(await text(one, '#save .primary'), 'Save 2 changes');

  camera.fullFlash(false);
  await sleep(2100);
  await one.click('#save .primary');
  await until(async () => /^Saved \d\d:\d\d:\d\d/.test(await text(one, '#save .save-state')));
  await until(async () => (await text(one, '#save .primary')) === 'All saved');
  await camera.stop('SIGKILL');
  await camera.run();
  assert.equal(await camera.stored(0, brightness), 90);
  assert.equal(await camera.stored(1, contrast), 77);
});

page('a value that is refused, or that something blocks, shows what is in force and why', {}, async (camera, one) => {
  await type(one, `#row${brightness} .number`, '300');
  await until(async () => /300/.test(await text(one, `#n${brightness}`)));
  assert.match(await text(one, `#n${brightness}`), /255/);
  assert.equal(await control(one, brightness), 128);
  assert.equal(await one.$eval(`#row${brightness} .number`, box => box.value), '128');
  const { parameters } = await camera.get('/parameters');
  const resting = parameters.find(parameter => parameter.tab && parameter.flags.includes('inactive') && parameter.blocker && parameter.control === 'slider');
  await one.type('#search', resting.symbol);
  await until(() => shown(one, `#c${resting.key}`));
  assert.ok(await one.$eval(`#c${resting.key}`, element => element.disabled));
  assert.ok((await text(one, `#n${resting.key}`)).toLowerCase().includes(resting.why.toLowerCase()));
});

page('outside all windows changes last until the next switch, and the page says so', { camera: { clock: '17:58', speed: 10 } }, async (camera, one) => {
  await camera.windows([[0, '18:00', '20:00']]);
  await until(async () => /No window holds now/.test(await text(one, '.target-note')));
  await type(one, `#row${brightness} .number`, '90');
  await until(async () => (await camera.value(brightness)) === 90);
  await until(async () => (await camera.get('/camera')).scheme.number === 0, 20000);
  await until(async () => (await control(one, brightness)) === 128);
  assert.equal(await text(one, '.target-note'), '');
});

page('a camera that hangs, goes or comes back is said, and nothing that waited is sent', {}, async (camera, one) => {
  await until(async () => (await text(one, '#picture .state')) === 'live');
  camera.process.kill('SIGSTOP');
  await until(async () => /Picture stopped at/.test(await text(one, '#picture .state')), 5000);
  await one.focus(`#c${saturation}`);
  await press(one, 'ArrowRight');
  await until(() => shown(one, `#row${saturation}.pending`), 1000);
  await press(one, 'ArrowRight', 9);
  await until(() => shown(one, '.band.error'), 27000); // the stream is silent, without an error
  camera.process.kill('SIGCONT');
  await until(async () => !(await shown(one, '.band.error')), 12000);
  await until(async () => (await text(one, '#picture .state')) === 'live', 12000);
  assert.ok(await camera.value(saturation) <= 129);

  const before = await camera.get('/camera');
  await one.click('#edit-day');
  await one.$eval('[data-scheme="1"] [data-edge=start]', grip => grip.focus());
  await press(one, 'PageUp', 3);
  await camera.stop('SIGKILL');
  await until(() => shown(one, '.band.error'), 2500);
  assert.match(await text(one, '.band.error'), /No connection since/);
  await one.evaluate(key => import('/sender.js').then(sender => sender.send(key, 200, sender.beginGesture(), () => {})), brightness);
  assert.ok(await one.$eval(`#c${brightness}`, element => element.disabled));
  assert.ok(await one.$eval('.day-editor .primary', element => element.disabled));
  await camera.run();
  await until(async () => !(await shown(one, '.band.error')), 12000);
  await until(async () => !(await one.$eval(`#c${brightness}`, element => element.disabled)));
  assert.equal(await camera.value(brightness), 128);
  assert.notEqual((await camera.get('/camera')).boot, before.boot);
  assert.equal(await one.$eval('[data-scheme="1"] [data-edge=start]', grip => grip.getAttribute('aria-valuetext')), '03:00');
});

page('two pages share one trial: kept, dropped, reloaded', {}, async (camera, one) => {
  await one.click('#try');
  await type(one, `#row${brightness} .number`, '80');
  await until(() => shown(one, '.band.trial'));
  const other = await open(camera);
  await until(() => shown(other, '.band.trial'));
  const left = async some => Number(/0:(\d\d) left/.exec(await text(some, '.band.trial'))[1]);
  const own = (await camera.get('/trial')).seconds_left;
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
});

const minutes = time => Number(time.slice(0, 2)) * 60 + Number(time.slice(3));
const clock = minute => `${String(Math.floor(minute / 60)).padStart(2, '0')}:${String(minute % 60).padStart(2, '0')}`;

page('the day by keyboard: to midnight and past it, applied, cancelled, overtaken', {}, async (camera, one) => {
  await camera.windows([[0, '08:00', '18:00'], [1, '18:00', '22:00']]);
  const grip = edge => `.lane-row[data-scheme="1"] [data-edge=${edge}]`;
  const edit = async () => {
    await one.click('#edit-day');
    await one.$eval(grip('end'), element => element.focus());
  };
  await until(() => one.$eval('#day .strip', strip => strip.childElementCount >= 3));
  await edit();
  await press(one, 'PageDown');
  await one.evaluate(() => [...document.querySelectorAll('.day-editor .bar button')].at(-1).click());
  assert.equal((await camera.get('/schemes/1')).end, '22:00');

  await edit();
  await press(one, 'PageUp', 2);
  await press(one, 'ArrowLeft');
  await press(one, 'ArrowRight', 2);
  await until(() => shown(one, '[data-act=next-day]'));
  await one.click('[data-act=next-day]');
  assert.equal((await camera.get('/schemes/1')).end, '22:00');
  await one.click('.day-editor .primary');
  await until(async () => !(await one.$('.day-editor')));
  assert.equal((await camera.get('/schemes/1')).end, '24:00');
  assert.deepEqual((({ enabled, start, end }) => [enabled, start, end])(await camera.get('/schemes/2')), [true, '00:00', '02:00']);

  await edit();
  await press(one, 'PageDown');
  await camera.windows([[0, '07:00', '17:00']]);
  await until(() => shown(one, '[data-act=mine]'));
  await one.click('[data-act=mine]');
  await one.click('.day-editor .primary');
  await until(async () => !(await one.$('.day-editor')));
  assert.equal((await camera.get('/schemes/0')).start, '08:00'); // the draft's own
  assert.equal((await camera.get('/schemes/1')).end, '23:00');
});

page('the strip shows the lowest window of each minute', {}, async (camera, one) => {
  let seed = 12345;
  const random = most => { seed = (seed * 1103515245 + 12345) % 2147483648; return Math.floor(seed / 65536) % most; };
  for (let round = 0; round < 40; round++) {
    const windows = [0, 1, 2, 3].map(() => {
      const start = random(1439);
      return { enabled: random(4) > 0, start: clock(start), end: clock(start + 1 + random(1440 - start)) };
    });
    for (const [number, window] of windows.entries()) await camera.put(`/schemes/${number}`, window);
    const wanted = Array.from({ length: 1440 }, (_, minute) => {
      const winner = windows.findIndex(window => window.enabled && minutes(window.start) <= minute && minute < minutes(window.end));
      return winner < 0 ? 4 : winner;
    });
    await until(async () => {
      const parts = await one.$$eval('#day .strip .part', all => all.map(part => [part.dataset.from, part.dataset.to, part.dataset.scheme].map(Number)));
      const seen = [];
      for (const [from, to, scheme] of parts) for (let minute = from; minute < to; minute++) seen[minute] = scheme;
      return seen.length === 1440 && seen.every((scheme, minute) => scheme === wanted[minute]);
    });
  }
});

async function login(one, name, password = 'secret-words-9') {
  await one.waitForSelector('#login-name');
  await one.$eval('#login-name', box => { box.value = ''; });
  await one.type('#login-name', name);
  await one.type('#login-password', password);
  await press(one, 'Enter');
}

page('each role sees what it may, and who loses it loses it at once',
  { camera: { users: { anna: 'administrator', olga: 'operator', vera: 'viewer' } }, ready: false }, async (camera, one) => {
    await login(one, 'vera', 'wrong-words-99');
    await until(async () => (await text(one, '.login .error')).length > 5);
    assert.ok(!(await shown(one, '#picture')));
    await one.$eval('#login-password', box => { box.value = ''; });
    await login(one, 'vera');
    await until(() => shown(one, '#picture'));
    assert.match(await text(one, '#bands'), /You may look/);
    assert.ok(!(await shown(one, '#save')));
    assert.equal(await one.$$eval('#list input:enabled, #list select:enabled', all => all.length), 0);

    const context = await browser.createBrowserContext();
    const two = await open(camera, { context, ready: false });
    await login(two, 'olga');
    await until(() => shown(two, '#save'));
    await until(async () => !(await two.$eval(`#c${brightness}`, element => element.disabled)));
    camera.writeUsers({ anna: 'administrator', olga: 'viewer' });
    await until(async () => !(await shown(two, '#save')) || shown(two, '.login'), 4000);
    await one.bringToFront();
    await until(async () => (await shown(one, '.login')) && !(await shown(one, '#picture')), 4000);
    await context.close();
  });

page('found, explained, changed, saved and undone by keyboard alone', {}, async (camera, one) => {
  const reach = async selector => {
    for (let i = 0; i < 60; i++) {
      await press(one, 'Tab');
      const [there, seen] = await one.evaluate(wanted => {
        const element = document.activeElement;
        const box = element.getBoundingClientRect();
        const top = document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2);
        return [element.matches(wanted), element.contains(top) || Boolean(top?.contains(element))];
      }, selector);
      if (there) {
        assert.ok(seen, `${selector} has the focus and is covered`);
        return;
      }
    }
    assert.fail(`the keyboard does not reach ${selector}`);
  };
  await press(one, '/');
  await one.keyboard.type('contrast');
  await reach(`#c${contrast}`);
  await press(one, 'ArrowRight', 3);
  await until(async () => (await camera.value(contrast)) === 131);
  await press(one, 'F1');
  await until(async () => /Contrast is 131/.test(await text(one, '#panel')));
  await reach('#save .primary');
  await press(one, 'Enter');
  await until(async () => (await text(one, '#save .primary')) === 'All saved');
  await one.focus('#search');
  await one.keyboard.down('Shift');
  await reach('[data-view=history]');
  await one.keyboard.up('Shift');
  await press(one, 'Enter');
  await one.waitForSelector('.history [data-id]');
  await reach('.history [data-id]');
  await press(one, 'Enter');
  await until(async () => (await camera.value(contrast)) === 128);
});

async function checkAxe(one, state) {
  const source = fs.readFileSync(new URL('node_modules/axe-core/axe.min.js', import.meta.url), 'utf8');
  await one.evaluate(source);
  const { violations } = await one.evaluate(() => window.axe.run(document, { resultTypes: ['violations'] }));
  assert.deepEqual(violations.map(found => [state, found.id, ...found.nodes.map(node => `${node.html.slice(0, 120)} ${node.failureSummary.slice(0, 200)}`)]), []);
}

for (const [colours, width] of [['light', 1280], ['dark', 390]]) {
  page(`axe finds nothing, ${colours} at ${width}`, { colours, width, height: 800 }, async (camera, one) => {
    await camera.windows([[0, '08:00', '18:00'], [1, '17:00', '23:00']]);
    await until(() => shown(one, '.warnings'));
    await checkAxe(one, 'rest');
    await type(one, `#row${brightness} .number`, '300');
    await type(one, `#row${contrast} .number`, '100');
    await camera.ask('POST', '/trial', { seconds: 60, values: { [saturation]: 90 } });
    await until(() => shown(one, '.band.trial'));
    await until(() => shown(one, `#n${brightness}.error`));
    await one.$eval(`#row${brightness} .help`, button => button.click());
    await one.waitForSelector('#panel h2');
    await checkAxe(one, 'trial, error, explained');
    await one.evaluate(() => document.querySelector('#panel .close').click());
    await one.$eval('[data-view=history]', button => button.click());
    await one.waitForSelector('.history');
    await checkAxe(one, 'history');
    await one.evaluate(() => document.querySelector('#panel .close').click());
    await one.$eval('#edit-day', button => button.click());
    await one.waitForSelector('.warning-list li');
    await checkAxe(one, 'the day');
    await one.evaluate(() => document.querySelector('.day-editor').close());
    await camera.stop();
    await until(() => shown(one, '.band.error'));
    await checkAxe(one, 'lost');
  });
}

for (const [name, options] of [['a phone in German', { width: 390, height: 844, language: 2 }], ['200 % zoom', { zoom: 2 }], ['a desk in German', { language: 2 }]]) {
  page(`${name}: nothing runs over, and targets are large enough`, options, async (camera, one) => {
    await camera.put(`/parameters/${contrast}`, { value: 100 });
    await until(() => shown(one, `#row${contrast}.unsaved`));
    const count = await one.$$eval('.group-name', all => all.length);
    for (let i = 0; i < count; i++) {
      await one.$$eval('.group-name', (all, at) => all[at].click(), i);
      const faults = await one.evaluate(wide => {
        const found = [];
        if (document.scrollingElement.scrollWidth > innerWidth) found.push(`page is ${document.scrollingElement.scrollWidth} wide`);
        for (const line of document.querySelectorAll('#list .line')) {
          const boxes = [...line.children].filter(child => child.checkVisibility()).map(child => child.getBoundingClientRect());
          boxes.forEach((a, n) => boxes.slice(n + 1).forEach(b => {
            if (a.left < b.right - 1 && b.left < a.right - 1 && a.top < b.bottom - 1 && b.top < a.bottom - 1) found.push(`overlap in ${line.innerText}`);
          }));
          if (line.scrollWidth > line.clientWidth + 1) found.push(`${line.innerText} runs over`);
        }
        if (!wide) {
          for (const target of document.querySelectorAll('button, select, input:not([type=checkbox])')) {
            const box = target.getBoundingClientRect();
            if (target.checkVisibility() && !target.classList.contains('part') && box.height > 0 && box.height < 43.5) found.push(`${target.outerHTML.slice(0, 80)} is ${box.height} high`);
          }
        }
        return found;
      }, !options.width && !options.zoom);
      assert.deepEqual(faults, []);
    }
  });
}

page('a strange style: all of it can be reached, and nothing is without a name', { camera: { change: device => {
  const base = path.join(device, 'hd1/moduleConfig');
  const style = path.join(base, 'sensorConfig/style/Style.xml');
  fs.writeFileSync(style, fs.readFileSync(style, 'utf8').replace('<tab key="picture" group="image">', '<tab key="picture"><sphere id="77777" name="unheardOf" value="3"/>'));
  const language = path.join(base, 'sensorConfig/language/2/language.xml');
  fs.writeFileSync(language, fs.readFileSync(language, 'utf8').replace(/.*<tab key="picture">.*\n/, '').replace(/.*<text id="34">.*\n/, ''));
  const modules = path.join(base, 'moduleConfig.xml');
  fs.writeFileSync(modules, fs.readFileSync(modules, 'utf8').replace('max_scheme=4', 'max_scheme=255'));
} }, language: 2 }, async (camera, one) => {
  const { parameters } = await camera.get('/parameters?lang=2');
  const controls = parameters.filter(parameter => parameter.tab && parameter.control !== 'none' && !parameter.flags.includes('window'));
  assert.ok(controls.length > 50);
  const seen = new Set();
  const groups = await one.$$eval('.group-name', all => all.length);
  for (let i = 0; i < groups; i++) {
    await one.$$eval('.group-name', (all, at) => all[at].click(), i);
    for (const key of await one.$$eval('#list [data-key]', all => all.map(row => Number(row.dataset.key)))) seen.add(key);
    assert.deepEqual(await one.$$eval('.group-name, .tab-name, #list h2, #list label, #list option', all =>
      all.filter(element => !element.textContent.trim()).map(element => element.outerHTML)), []);
  }
  assert.deepEqual(controls.filter(parameter => !seen.has(parameter.key)).map(parameter => parameter.symbol), []);
  assert.equal(await text(one, `#row${brightness} label`) || 'Brightness', 'Brightness');
  await one.click('#edit-day');
  await until(() => one.$$eval('.lane-row[data-scheme]', all => all.length === 255));
});

test('every word that the page says is in every language, and no other', () => {
  const folder = new URL('../../apps/imgctld/page/', import.meta.url);
  const source = fs.readdirSync(folder).filter(name => name.endsWith('.js')).map(name => fs.readFileSync(new URL(name, folder), 'utf8')).join('');
  const said = new Set([...source.matchAll(/word\('(\w+)'/g)].map(found => found[1]));
  const quoted = new Set([...source.matchAll(/'(\w+)'/g)].map(found => found[1]));
  const families = [...source.matchAll(/word\(`(\w+_)\$/g)].map(found => found[1]);
  for (const name of fs.readdirSync(new URL('words/', folder))) {
    const words = JSON.parse(fs.readFileSync(new URL(`words/${name}`, folder), 'utf8'));
    assert.deepEqual([...said].filter(one => !words[one]), [], name);
    assert.deepEqual(Object.keys(words).filter(one => !quoted.has(one) && !families.some(family => one.startsWith(family))), [], name);
  }
});
