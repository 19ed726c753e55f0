import assert from 'node:assert/strict';
import { page, press, shown, until } from './harness.mjs';

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

  // A window that somebody changes in the moment of Apply: nothing of the draft is set.
  await edit();
  await press(one, 'PageDown');
  await one.evaluate(async () => {
    const { put } = await import('/api.js');
    await put('/schemes/2', { enabled: true, start: '00:00', end: '03:00' });
    document.querySelector('.day-editor .primary').click();
  });
  await until(() => shown(one, '[data-act=theirs]'));
  await one.click('[data-act=theirs]');
  await one.evaluate(() => [...document.querySelectorAll('.day-editor .bar button')].at(-1).click());
  assert.equal((await camera.get('/schemes/1')).end, '24:00');

  await edit();
  await press(one, 'PageDown');
  await camera.windows([[0, '07:00', '17:00']]);
  await until(() => shown(one, '[data-act=mine]'));
  await one.click('[data-act=mine]');
  await one.click('.day-editor .primary');
  await until(async () => !(await one.$('.day-editor')));
  assert.equal((await camera.get('/schemes/0')).start, '08:00'); // the draft's own
  assert.equal((await camera.get('/schemes/1')).end, '23:00');

  // An edge by mouse; Escape gives it back, and the draft stays open.
  await edit();
  const at = await (await one.$(grip('end'))).boundingBox();
  const hour = await one.$eval('[data-scheme="1"] .lane', lane => lane.getBoundingClientRect().width / 24);
  const end = () => one.$eval(grip('end'), element => element.getAttribute('aria-valuetext'));
  for (const [escape, left] of [[true, '23:00'], [false, '22:00']]) {
    await one.mouse.move(at.x + at.width / 2, at.y + at.height / 2);
    await one.mouse.down();
    await one.mouse.move(at.x + at.width / 2 - hour, at.y + at.height / 2, { steps: 5 });
    assert.equal(await end(), '22:00');
    if (escape) await press(one, 'Escape');
    await one.mouse.up();
    assert.equal(await end(), left);
  }
  assert.equal((await camera.get('/schemes/1')).end, '23:00');
});

page('the strip shows what the plan says, over 200 random sets of windows', {}, async (camera, one) => {
  let seed = 12345;
  const random = most => { seed = (seed * 1103515245 + 12345) % 2147483648; return Math.floor(seed / 65536) % most; };
  const rounds = Array.from({ length: 200 }, () => {
    const windows = [0, 1, 2, 3].map(() => {
      const start = random(1439);
      return { enabled: random(4) > 0, start, end: start + 1 + random(1440 - start) };
    });
    const wanted = Array.from({ length: 1440 }, (_, minute) => {
      const winner = windows.findIndex(window => window.enabled && window.start <= minute && minute < window.end);
      return winner < 0 ? 4 : winner;
    });
    return { windows: windows.map(window => ({ ...window, start: clock(window.start), end: clock(window.end) })), wanted };
  });
  const wrong = await one.evaluate(async all => {
    const { get, put } = await import('/api.js');
    const minutes = (parts, read) => parts.flatMap(part => { const [from, to, scheme] = read(part); return Array(to - from).fill(scheme); });
    const same = (a, b) => a.length === b.length && a.every((value, i) => value === b[i]);
    for (const [round, { windows, wanted }] of all.entries()) {
      await Promise.all(windows.map((window, number) => put(`/schemes/${number}`, window)));
      const plan = minutes((await get('/plan')).day, part => [part.from_minute, part.to_minute, part.scheme]);
      if (!same(plan, wanted)) return `the plan of round ${round}`;
      const drawn = () => minutes([...document.querySelectorAll('#day .strip .part')], part => [part.dataset.from, part.dataset.to, part.dataset.scheme].map(Number));
      for (const end = performance.now() + 5000; !same(drawn(), plan);) {
        if (performance.now() > end) return `the strip of round ${round}: ${JSON.stringify(windows)}`;
        await new Promise(done => { setTimeout(done, 5); });
      }
    }
    return '';
  }, rounds);
  assert.equal(wrong, '');
});
