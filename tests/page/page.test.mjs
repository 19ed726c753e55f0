import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { control, open, page, press, shown, sleep, slider, text, type, until } from './harness.mjs';
import { Proxy } from './proxy.mjs';

const brightness = 34;
const saturation = 2337;
const contrast = 2353;

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
  await one.click('#panel [data-view=history]');
  await one.waitForSelector('.history li button');
  await one.click('.history li button');
  await until(async () => (await camera.value(brightness)) === 128);
  await until(async () => (await control(one, brightness)) === 128);
  await until(() => grey(one).then(value => Math.abs(value - before) < 5));
  await camera.put(`/parameters/${brightness}`, { value: 99 });
  await one.click('[data-filter=factory]');
  await until(() => shown(one, `#row${brightness} .to-factory`));
  await one.click(`#row${brightness} .to-factory`);
  await until(async () => (await camera.value(brightness)) === 128 && !(await shown(one, `#row${brightness}`)));
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
  assert.equal(await one.evaluate(async user => { // the camera lets no such name in; the page would bear it
    const { store, tell } = await import('/store.js');
    store.session = { ...store.session, user };
    tell('session');
    return document.querySelector('#head .user').textContent;
  }, markup), `${markup} (administrator)`);
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
  await until(async () => (await text(one, '#head .scheme')).includes('scheme 0'));
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

page('refused, blocked, corrected, partly applied: what is in force is shown, and why', {}, async camera => {
  const proxy = await Proxy.start(camera);
  const one = await open(camera, { url: proxy.url });
  const note = key => text(one, `#n${key}`);
  const number = key => one.$eval(`#row${key} .number`, box => box.value);
  await type(one, `#row${brightness} .number`, '300');
  await until(async () => /takes 0\.\.255; 300 was refused\. 128 stays in force/.test(await note(brightness)));
  assert.deepEqual([await control(one, brightness), await number(brightness)], [128, '128']);
  await camera.put('/simulator', { limits: [{ command: saturation, default: 128, items: [0, 128] }] });
  await type(one, `#row${saturation} .number`, '53');
  await until(async () => /takes 0,128; 53 was refused/.test(await note(saturation)));
  assert.equal(await number(saturation), '128');

  proxy.change = ({ path: where, body, answer }) => { // a device that takes something else than it was asked for
    if (!where.startsWith(`/api/v1/parameters/${contrast}`)) return null;
    if (body) return body.replace('53', '55');
    return answer?.replace('"asked":55', '"asked":53').replace('"changed"', '"taken_differently"') ?? null;
  };
  await type(one, `#row${contrast} .number`, '53');
  await until(async () => (await note(contrast)) === 'Asked 53, the camera took 55.');
  assert.equal(await control(one, contrast), 55);

  const { parameters } = await camera.get('/parameters');
  const resting = parameters.find(one => one.flags.includes('inactive') && one.control === 'slider' &&
    parameters.find(other => other.key === one.blocker?.key)?.control === 'switch');
  await one.type('#search', resting.label);
  await until(() => shown(one, `#c${resting.key}`));
  assert.ok(await one.$eval(`#c${resting.key}`, element => element.disabled));
  assert.ok((await note(resting.key)).toLowerCase().startsWith(resting.why.toLowerCase()));
  await one.click(`#n${resting.key} button`);
  await until(async () => !(await one.$eval(`#c${resting.key}`, element => element.disabled)));

  // Two keys in one field, of which the device refuses the second.
  await camera.put('/parameters/dn-mode', { value: 3 });
  await camera.put('/simulator', { faults: [{ command: 150, code: -5 }], limits: [] });
  await one.$eval('#search', box => { box.value = 'night begins'; box.dispatchEvent(new Event('input')); });
  await until(async () => !(await one.$eval('#c149', element => element.disabled)));
  await type(one, '#c149', '21:30');
  await until(async () => /^1 of 2 set\. Refused: Night begins, minute\./.test(await note(149)));
  assert.equal(await one.$eval('#c149', box => box.value), '21:00');
  await one.evaluate(() => [...document.querySelectorAll('#n149 button')].at(-1).click());
  await until(async () => (await one.$eval('#c149', box => box.value)) === '18:00');
  await camera.put('/simulator', { faults: [] });
  await type(one, '#c149', '21:30');
  await until(async () => (await camera.value(149)) === 21 && (await camera.value(150)) === 30);
});

page('what takes long is said, and what found no room can be tried again', {}, async camera => {
  const proxy = await Proxy.start(camera);
  const one = await open(camera, { url: proxy.url });
  const own = `/api/v1/parameters/${brightness}`;
  const note = () => text(one, `#n${brightness}`);
  proxy.let(own, 'wait');
  await type(one, `#row${brightness} .number`, '90');
  await until(() => shown(one, `#row${brightness}.pending`), 400);
  await until(async () => (await note()) === 'The camera is busy; your change follows.', 1000);
  proxy.let(own, undefined);
  await until(async () => (await note()) === '' && (await camera.value(brightness)) === 90);
  proxy.change = ({ path: where }) => (where.startsWith(own)
    ? { status: 503, text: JSON.stringify({ code: 'busy', detail: 'the device is busy: again in 1 s', retry_after: 1 }) } : null);
  await type(one, `#row${brightness} .number`, '70');
  await until(async () => /^The device is busy: again in 1 s\.\s*Try again$/.test(await note()));
  assert.equal(await control(one, brightness), 90);
  proxy.change = null;
  await one.click(`#n${brightness} button`);
  await until(async () => (await camera.value(brightness)) === 70 && (await note()) === '');
});

page('outside all windows changes last until the next switch, and the page says so', { camera: { clock: '17:58', speed: 10 } }, async (camera, one) => {
  await camera.windows([[0, '18:00', '20:00']]);
  await until(async () => /No window holds now/.test(await text(one, '.target-note')));
  await type(one, `#row${brightness} .number`, '90');
  await until(async () => (await camera.value(brightness)) === 90);
  await until(() => shown(one, '#record'));
  await one.select('#record', '2');
  await until(async () => (await camera.stored(2, brightness)) === 90);
  assert.match(await text(one, '.target-note'), /until 18:00.*Recorded in scheme 2: Brightness/s);
  await until(async () => (await camera.get('/camera')).scheme.number === 0, 20000);
  await until(async () => (await control(one, brightness)) === 128);
  assert.equal(await text(one, '.target-note'), '');
});

page('an entry that a newer one hides is taken back with it', {}, async (camera, one) => {
  await type(one, `#row${brightness} .number`, '90');
  await until(async () => (await camera.value(brightness)) === 90);
  await sleep(2100); // changes of one hand in two seconds are one entry
  await type(one, `#row${brightness} .number`, '70');
  await until(async () => (await camera.value(brightness)) === 70);
  await one.click('#panel [data-view=history]');
  await until(() => one.$$eval('.history li', all => all.length === 2));
  await one.click('.history li:last-child [data-id^=undo]');
  await one.waitForSelector('[data-id^=both]');
  await one.click('[data-id^=both]');
  await until(async () => (await camera.value(brightness)) === 128);
});

page('the lens moves as long as its button is held, and no longer', {}, async (camera, one) => {
  const zoom = async () => (await camera.ask('POST', '/lens/read')).lens.zoom;
  const steps = async () => { const at = await zoom(); await sleep(300); return (await zoom()) - at; };
  const point = [() => one.hover('[data-lens=zoom-in]').then(() => one.mouse.down()), () => one.mouse.up()];
  const space = [() => one.focus('[data-lens=zoom-in]').then(() => one.keyboard.down(' ')), () => one.keyboard.up(' ')];
  const ends = [[...point], [...space], [point[0], () => one.evaluate(() => dispatchEvent(new Event('blur'))), point[1]],
    [point[0], () => one.$eval('[data-lens=zoom-in]', button => button.dispatchEvent(new Event('lostpointercapture'))), point[1]]];
  for (const [begin, end, after] of ends) {
    await camera.ask('POST', '/lens/zoom-to', { value: 16384 });
    await until(async () => (await zoom()) === 16384);
    await begin();
    await until(async () => (await steps()) > 0);
    await end();
    await until(async () => (await steps()) === 0, 2000); // what was begun is finished
    await after?.();
  }
});

page('two schemes are compared in one picture', {}, async (camera, one) => {
  await camera.ask('PATCH', '/parameters', { values: { [brightness]: 20 }, scheme: 1, record: true });
  const before = await until(() => grey(one).then(value => value > 20 && value));
  await one.select('#target', '1');
  await one.waitForSelector('[data-act=show]');
  await one.click('[data-act=show]');
  await until(() => grey(one).then(value => value < before - 20));
  await until(async () => /as scheme 1 would show it/.test(await text(one, '#picture .state')));
  await one.select('#target', '0');
  await until(() => grey(one).then(value => Math.abs(value - before) < 5));
  await one.click('[data-tool=compare]');
  await one.waitForSelector('.pair canvas[data-scheme="0"]');
  await one.waitForSelector('.pair canvas[data-scheme="1"]');
  const [other, first] = await one.$$eval('.pair canvas', all => all.map(canvas => {
    const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
    return data.reduce((sum, value) => sum + value, 0) / data.length;
  }));
  assert.ok(first > other + 20, `${first} ${other}`);
  await one.focus('.divider');
  await press(one, 'PageUp', 2);
  await press(one, 'ArrowLeft');
  assert.equal(await one.$eval('.pair', pair => pair.style.getPropertyValue('--at')), '69%');
  assert.match(await text(one, '.compare tbody'), /^Schedule\s+On\s+Off\s+Brightness\s+128\s+20$/);
});

page('the light of the last hour is drawn, and told as a table', { camera: { speed: 60 } }, async (camera, one) => {
  await camera.put('/simulator', { light: 30 });
  await until(async () => (await camera.get('/light')).samples.slice(-3).filter(one => one.light === 30).length === 3, 15000);
  await one.click('#panel [data-view=light]');
  await one.waitForSelector('.light-plot polyline');
  await until(async () => /^Light 30 of 100: (day|night)\./.test(await text(one, '.panel-body')));
  const { thresholds, samples } = await camera.get('/light');
  const { drawn, words, points } = await one.$eval('.light-plot', plot => ({ drawn: plot.querySelectorAll('.threshold').length,
    words: plot.textContent, points: plot.querySelector('polyline').getAttribute('points').split(' ').map(point => point.split(',').map(Number)) }));
  assert.equal(drawn, 2);
  for (const one of thresholds) assert.ok(words.includes(`${one.label} ${one.value}`));
  assert.ok(points.length >= 4 && points.length <= samples.length + 1 && points.every(([x], i) => i === 0 || x >= points[i - 1][0]));
  await one.$eval('.panel-body summary', summary => summary.click());
  await until(async () => /^\d\d:\d\d\s+30\s+(day|night)/.test(await text(one, '.panel-body tbody')));
});
