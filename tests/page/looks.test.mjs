import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { page, press, shown, sleep, text, type, until } from './harness.mjs';

const brightness = 34;
const saturation = 2337;
const contrast = 2353;

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
  await reach('#panel [data-view=history]');
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


for (const width of [1280, 390]) {
  page(`axe finds nothing at ${width}, light or dark, in any state`, { width, height: 800 }, async (camera, one) => {
    const check = async state => {
      for (const value of ['light', 'dark']) {
        await one.emulateMediaFeatures([{ name: 'prefers-color-scheme', value }]);
        await checkAxe(one, `${state}, ${value}`);
      }
    };
    const click = selector => one.$eval(selector, button => button.click());
    await camera.windows([[0, '08:00', '18:00'], [1, '17:00', '23:00']]);
    await until(() => shown(one, '.warnings'));
    await check('rest');
    await type(one, `#row${brightness} .number`, '300');
    await type(one, `#row${contrast} .number`, '100');
    await camera.ask('POST', '/trial', { seconds: 60, values: { [saturation]: 90 } });
    await until(() => shown(one, '.band.trial'));
    await until(() => shown(one, `#n${brightness}.error`));
    await click(`#row${brightness} .help`);
    await one.waitForSelector('#panel h2');
    await check('trial, error, sheet');
    await click('#panel [data-view=history]');
    await one.waitForSelector('.history');
    await check('history');
    await click('#panel [data-view=light]');
    await one.waitForSelector('.light-plot');
    await check('light');
    await click('#panel .close');
    await click('[data-tool=compare]');
    await one.waitForSelector('.compare canvas[data-scheme]');
    await check('compare');
    await one.$eval('.compare', dialog => dialog.close());
    await click('#edit-day');
    await one.waitForSelector('.warning-list li');
    await check('the day');
    await one.$eval('.day-editor', dialog => dialog.close());
    await camera.stop();
    await until(() => shown(one, '.band.error'));
    await check('offline');
  });
}

for (const [name, options] of [['a phone in German', { width: 390, height: 844, language: 2 }], ['200 % zoom', { zoom: 2 }],
  ['a phone on its side', { width: 740, height: 390 }], ['a desk in German', { language: 2 }]]) {
  page(`${name}: nothing runs over or overlaps, and targets are large enough`, options, async (camera, one) => {
    await camera.windows([[0, '08:00', '18:00'], [1, '17:00', '23:00']]);
    await camera.put(`/parameters/${contrast}`, { value: 100 });
    await until(() => shown(one, `#row${contrast}.unsaved`));
    const faultsNow = () => one.evaluate(narrow => {
      const found = [];
      const box = element => element.getBoundingClientRect();
      const name = element => element.outerHTML.slice(0, 90);
      if (document.scrollingElement.scrollWidth > innerWidth) found.push(`page is ${document.scrollingElement.scrollWidth} wide`);
      const top = document.querySelector('dialog[open]') ?? document.body;
      for (const line of top.querySelectorAll('#head, #list .line, #save .bar, .search, .target, .target-note, .lane-row, .bar')) {
        const boxes = [...line.children].filter(child => child.checkVisibility() && getComputedStyle(child).position === 'static' && child.getClientRects().length)
          .map(child => [child, box(child)]);
        boxes.forEach(([one, a], n) => boxes.slice(n + 1).forEach(([other, b]) => {
          if (a.left < b.right - 1 && b.left < a.right - 1 && a.top < b.bottom - 1 && b.top < a.bottom - 1) found.push(`overlap of ${name(one)} and ${name(other)}`);
        }));
        if (line.scrollWidth > line.clientWidth + 1) found.push(`${line.id} ${line.innerText} runs over`);
      }
      if (narrow) {
        for (const target of top.querySelectorAll('button, select, input:not([type=checkbox]):not(.divider), label.check')) {
          if (target.checkVisibility() && box(target).height > 0 && box(target).height < 43.5) found.push(`${name(target)} is ${box(target).height} high`);
        }
      }
      return found;
    }, Boolean(options.width || options.zoom));
    const count = await one.$$eval('.group-name', all => all.length);
    for (let i = 0; i < count; i++) {
      await one.$$eval('.group-name', (all, at) => all[at].click(), i);
      assert.deepEqual(await faultsNow(), []);
    }
    await one.select('#target', '1');
    await until(() => shown(one, '.target-note'));
    assert.deepEqual(await faultsNow(), []);
    for (const opener of ['#edit-day', '[data-tool=compare]']) {
      await one.$eval(opener, button => button.click());
      await until(() => one.$('dialog[open]'));
      await sleep(300);
      assert.deepEqual(await faultsNow(), []);
      await one.$eval('dialog[open]', dialog => dialog.close());
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
    for (const key of await one.$$eval('#list [data-key]', all => all.flatMap(row => row.dataset.key.split(' ').map(Number)))) seen.add(key);
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
  const said = new Set([...source.matchAll(/word\(([^(){}]*)/g)].flatMap(found => [...found[1].matchAll(/'([a-z]\w+)'/gi)].map(one => one[1])));
  const quoted = new Set([...source.matchAll(/'(\w+)'/g)].map(found => found[1]));
  const families = [...source.matchAll(/word\(`(\w+_)\$/g)].map(found => found[1]);
  for (const name of fs.readdirSync(new URL('words/', folder))) {
    const words = JSON.parse(fs.readFileSync(new URL(`words/${name}`, folder), 'utf8'));
    assert.deepEqual([...said].filter(one => !words[one]), [], name);
    assert.deepEqual(Object.keys(words).filter(one => !quoted.has(one) && !families.some(family => one.startsWith(family))), [], name);
  }
});
