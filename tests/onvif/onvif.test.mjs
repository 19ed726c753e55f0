import assert from 'node:assert/strict';
import crypto from 'node:crypto';
import { after, test } from 'node:test';
import { promisify } from 'node:util';
import onvif from 'onvif';
import rx from 'onvif-rx';
import { Camera, finish, sleep } from './harness.mjs';
import { body, codes } from './schema.mjs';

after(finish);
const camera = await Camera.start();

async function connect(user, password) {
  const client = new onvif.Cam({ hostname: '127.0.0.1', port: camera.port, username: user, password, autoconnect: false });
  client.on('rawResponse', body); // every answer follows the schema
  await promisify(client.connect).call(client);
  return new Proxy(client, { get: (_, name) => typeof client[name] === 'function' ? promisify(client[name]).bind(client) : client[name] });
}

/** The settings' numbers and words with their options: [path, number or word, range or words]. */
function* pairs(settings, options, path = []) {
  const names = { yrGain: 'crGain', ybGain: 'cbGain', autoFocusModes: 'autoFocusMode', irCutFilterModes: 'irCutFilter' };
  for (const [name, option] of Object.entries(options)) {
    const here = [...path, names[name] ?? name];
    const setting = settings[here.at(-1)];
    assert.notEqual(setting, undefined, `${here} has options and no setting`);
    if (typeof option === 'object' && !Array.isArray(option) && !('min' in option)) yield* pairs(setting, option, here);
    else yield [here, setting, Array.isArray(option) ? option : 'min' in option ? option : [option]];
  }
}

/** Settings as a client writes them that generates its messages: nested elements. */
const write = settings => `<ImagingSettings xmlns:tt="http://www.onvif.org/ver10/schema">${(function inner(of) {
  return Object.entries(of).map(([name, value]) => {
    const element = `tt:${name[0].toUpperCase()}${name.slice(1)}`;
    return `<${element}>${typeof value === 'object' ? inner(value) : value}</${element}>`;
  }).join('');
})(settings)}</ImagingSettings>`;
const nested = (path, value) => path.reduceRight((inner, name) => ({ [name]: inner }), value);

test('a recorder sees what this camera is, and every setting takes each end of its range', async () => {
  const client = await connect('operator', camera.passwords.operator);
  assert.equal(client.activeSource.sourceToken, 'VideoSource0');
  for (const call of ['getCapabilities', 'getDeviceInformation', 'getScopes', 'getImagingServiceCapabilities', 'imagingGetStatus']) await client[call]();
  const clock = await client.getSystemDateAndTime();
  assert.ok(Math.abs(clock - Date.now()) < 3000);
  const options = await client.getVideoSourceOptions();
  const before = await client.getImagingSettings();
  const history = (await camera.api('GET', '/history')).entries.length;
  // What a client was told it may send back: nothing has changed then.
  assert.equal((await camera.imaging('SetImagingSettings', write(before))).status, 200);
  assert.equal((await camera.api('GET', '/history')).entries.length, history);
  let count = 0;
  for (const [path, setting, option] of [...pairs(before, options)]) {
    for (const wanted of Array.isArray(option) ? option : [option.min, option.max]) {
      count++;
      const { status } = await camera.imaging('SetImagingSettings', write(nested(path, wanted)));
      const now = path.reduce((inner, name) => inner[name], await client.getImagingSettings());
      assert.deepEqual([status, now], [200, wanted], path.join('/'));
    }
    await camera.imaging('SetImagingSettings', write(nested(path, setting)));
    if (!Array.isArray(option)) {
      const { status, body: fault } = await camera.imaging('SetImagingSettings', write(nested(path, option.max * 1.1 + 1)));
      assert.deepEqual([status, codes(fault)], [400, ['s:Sender', 'ter:InvalidArgVal', 'ter:SettingsInvalid']], path.join('/'));
    }
  }
  assert.ok(count > 35, `${count} values`);
  assert.deepEqual(await client.getImagingSettings(), before);
  await client.setImagingSettings({ brightness: 60, contrast: 77 });
  assert.equal((await camera.api('GET', '/parameters/brightness')).value, 60);
});

test('what ONVIF has no word for stays when a client sends everything back', async () => {
  for (const [name, value] of [['wb_mode', 'daylight'], ['dn_mode', 'byClock'], ['expose_mode', 'manualIris'], ['wdr_mode', 'automatic']]) {
    await camera.api('PUT', `/parameters/${name}`, { value });
    const before = (await camera.api('GET', `/parameters/${name}`)).value;
    const client = await connect('viewer', camera.passwords.viewer);
    assert.equal((await camera.imaging('SetImagingSettings', write(await client.getImagingSettings()))).status, 200);
    assert.equal((await camera.api('GET', `/parameters/${name}`)).value, before, `${name} ${value}`);
  }
  // A gain of the user's own needs the mode in which it counts.
  await camera.imaging('SetImagingSettings', write({ whiteBalance: { mode: 'MANUAL', crGain: 99 } }));
  assert.equal((await camera.api('GET', '/parameters/wb_mode')).value, 1);
});

test('focus, presets and saving', async () => {
  const client = await connect('operator', camera.passwords.operator);
  const moves = await client.imagingGetMoveOptions();
  assert.deepEqual(moves, { absolute: { position: { min: 0, max: 1000 } }, relative: { distance: { min: -1000, max: 1000 } } });
  await client.imagingMove({ absolute: { position: 700 } });
  for (let i = 0; (await client.imagingGetStatus()).focusStatus20.moveStatus !== 'IDLE' && i < 100; i++) await sleep(50);
  await client.imagingMove({ relative: { distance: -50 } });
  for (let i = 0; (await client.imagingGetStatus()).focusStatus20.position !== 650 && i < 100; i++) await sleep(50);
  assert.deepEqual((await client.imagingGetStatus()).focusStatus20, { position: 650, moveStatus: 'IDLE' });
  await client.imagingMove({ absolute: { position: 1 } });
  await client.imagingStop({});
  assert.equal((await client.getImagingSettings()).focus.autoFocusMode, 'MANUAL', 'a move ends automatic focus');

  const preset = { presetToken: '1' };
  await assert.rejects(client.setCurrentImagingPreset(preset), /schedule is on/);
  await camera.api('PUT', '/mode', { mode: 'manual' });
  await client.setCurrentImagingPreset(preset);
  assert.equal(String((await client.getCurrentImagingPreset()).$.token), '1');
  const one = { brightness: 61 };
  const saved = '<ForcePersistence>true</ForcePersistence>';
  await camera.api('PUT', '/parameters/contrast', { value: 77, scheme: 0, record: true });
  const times = await Promise.all([61, 62, 63].map(brightness => camera.imaging('SetImagingSettings', write({ brightness }) + saved)));
  assert.deepEqual(times.map(answer => answer.status), [200, 200, 200], 'who comes too soon for the flash waits for it');
  const { value, saved: kept } = await camera.api('GET', '/parameters/brightness');
  assert.equal(value, kept);
  assert.ok((await camera.api('GET', '/schemes/0')).unsaved > 0, 'another scheme is not the recorder\'s to save');
  const last = (await camera.api('GET', '/schemes')).schemes.at(-1).number;
  await client.setCurrentImagingPreset({ presetToken: String(last) });
  const { body: fault } = await camera.imaging('SetImagingSettings', write(one) + saved);
  assert.deepEqual(codes(fault), ['s:Receiver', 'ter:Action'], 'the factory values cannot be saved over');
});

test('a client that generates its messages makes every imaging call', async () => {
  const device = rx.createManagedDeviceInNode({ deviceUrl: `${camera.url}/onvif/imaging_service`, username: 'operator', password: camera.passwords.operator });
  const source = 'VideoSource0';
  const calls = {
    GetServiceCapabilities: [], GetImagingSettings: [source], SetImagingSettings: [source, { Brightness: 70 }, false], GetOptions: [source],
    GetMoveOptions: [source], Move: [source, { Absolute: { Position: 500 } }], Stop: [source], GetStatus: [source], GetPresets: [source],
    GetCurrentPreset: [source], SetCurrentPreset: [source, '0'],
  };
  for (const [name, words] of Object.entries(calls)) {
    const result = await device.api.Imaging[name](...words).toPromise();
    result.match({ ok: answer => body(answer.xml), fail: why => assert.fail(`${name}: ${why.statusMessage}`) });
  }
  for (const name of ['GetSystemDateAndTime', 'GetDeviceInformation', 'GetScopes', 'GetServiceCapabilities']) {
    const result = await device.api.Device[name]().toPromise();
    result.match({ ok: answer => body(answer.xml), fail: why => assert.fail(`${name}: ${why.statusMessage}`) });
  }
});

test('the addresses of pictures need no login, and end with their user', async () => {
  camera.addUser('guest', 'viewer');
  await sleep(1200);
  const client = await connect('guest', camera.passwords.guest);
  const { uri } = await client.getSnapshotUri();
  const picture = await fetch(uri);
  assert.deepEqual([picture.status, picture.headers.get('content-type')], [200, 'image/jpeg']);
  const stream = await fetch((await client.getStreamUri({ protocol: 'HTTP' })).uri);
  const reader = stream.body.getReader();
  assert.match(Buffer.from((await reader.read()).value).toString('latin1'), /image\/jpeg/);
  const wrong = uri.replace(/.$/, last => last === '0' ? '1' : '0');
  assert.equal((await fetch(wrong)).status, 401);
  assert.equal((await fetch(uri.split('?')[0])).status, 401);
  camera.access('remove', 'guest');
  const end = Date.now() + 4000;
  while (!(await reader.read()).done) assert.ok(Date.now() < end, 'the stream goes on');
  assert.equal((await fetch(uri)).status, 401);
});

test('who is not known, or may not, is refused', async () => {
  const used = camera.login('operator');
  await camera.ask('<GetOptions/>', { header: used });
  const minutes = count => new Date(Date.now() + count * 60000).toISOString();
  const cases = [
    ['nobody', ''], ['a wrong password', camera.login('operator', { password: 'wrong' })], ['an unknown user', camera.login('stranger', { password: 'x' })],
    ['a login used before', used], ['an old one', camera.login('operator', { created: minutes(-5.2) })], ['one made ahead', camera.login('operator', { created: minutes(5.2) })],
    ['a time that is none', camera.login('operator', { created: 'yesterday' })], ['no nonce', camera.login('operator', { nonce: '' })],
    ['a password in clear', camera.login('operator', { plain: true })], ['a viewer', camera.login('viewer')],
  ];
  for (const [index, [name, header]] of cases.entries()) {
    const { status, body: fault } = await camera.ask('<i:Stop xmlns:i="http://www.onvif.org/ver20/imaging/wsdl"><VideoSourceToken>VideoSource0</VideoSourceToken></i:Stop>', { header, from: `127.0.1.${index + 1}` });
    assert.deepEqual([status, codes(fault)], [400, ['s:Sender', 'ter:NotAuthorized']], name);
  }
  const stranger = await connect('operator', 'wrong').catch(() => undefined);
  assert.equal(stranger?.activeSource, undefined, 'a client calls itself connected, and has seen nothing');
  const device = rx.createManagedDeviceInNode({ deviceUrl: `${camera.url}/onvif/imaging_service`, username: 'operator', password: 'wrong' });
  (await device.api.Imaging.GetStatus('VideoSource0').toPromise()).match({ ok: () => assert.fail(), fail: why => assert.match(why.statusMessage, /password is wrong/) });
  const guess = () => camera.post(camera.envelope('<GetStatus/>', camera.login('operator', { password: crypto.randomUUID() })), { from: '127.0.2.1' });
  let answers = [];
  for (let i = 0; i < 7; i++) answers.push(await guess());
  assert.deepEqual(answers.map(one => one.status), [400, 400, 400, 400, 400, 429, 429], 'who guesses is slowed down');
  for (const good of [minutes(-4.8), minutes(4.8), new Date().toISOString().replace('Z', '+00:00')]) {
    assert.equal((await camera.ask('<GetStatus><VideoSourceToken>VideoSource0</VideoSourceToken></GetStatus>', { header: camera.login('viewer', { created: good }) })).status, 200);
  }
});

test('what is no sound request gets a fault, soon and cheaply', async () => {
  const before = camera.memory();
  const deep = (text, count = 9000) => text.repeat(count) + '</a>'.repeat(count);
  const many = `<a ${Array.from({ length: 3000 }, (_, i) => `a${i}=""`).join(' ')}/>`;
  const bodies = {
    'ter:WellFormed': [deep('<a>').slice(0, 32000), deep('<a>', 4500), deep('<a><!--</a>-->', 1800), deep('<a><![CDATA[</a>]]>', 1400), deep('<a b="</a>">', 2000),
      deep('<a><?xml version="?></a>"?>', 1000), many, '', '\0', '<a', '<Envelope/>', camera.envelope(''), '<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope"/>'],
    's:VersionMismatch': ['<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/"><s:Body><a/></s:Body></s:Envelope>'],
    's:MustUnderstand': [camera.envelope('<GetStatus/>', '<x s:mustUnderstand="1"/>')],
    'ter:ActionNotSupported': [camera.envelope('<GetNothing/>', camera.login('viewer')), camera.envelope('<a xmlns="urn:b"/>')],
    'ter:NoSource': [camera.envelope('<GetStatus><VideoSourceToken>x</VideoSourceToken></GetStatus>', camera.login('viewer'))],
    'ter:NoProfile': [camera.envelope('<GetSnapshotUri xmlns="http://www.onvif.org/ver10/media/wsdl"><ProfileToken>x</ProfileToken></GetSnapshotUri>', camera.login('viewer'))],
    'ter:NoToken': [camera.envelope('<SetCurrentPreset><VideoSourceToken>VideoSource0</VideoSourceToken><PresetToken>9</PresetToken></SetCurrentPreset>', camera.login('operator'))],
    'ter:SettingsInvalid': ['NaN', '1e99', 'x', '', '1 2'].map(number => camera.envelope(`<SetImagingSettings><VideoSourceToken>VideoSource0</VideoSourceToken>${write({ brightness: number })}</SetImagingSettings>`, camera.login('operator')))
      .concat(camera.envelope(`<SetImagingSettings><VideoSourceToken>VideoSource0</VideoSourceToken>${write({ exposure: { iris: 1 } })}</SetImagingSettings>`, camera.login('operator'))),
  };
  for (const [code, list] of Object.entries(bodies)) {
    for (const text of list) {
      const start = performance.now();
      const { status, text: answer } = await camera.post(text);
      assert.ok(status >= 400 && codes(body(answer)).includes(code), `${code}: ${text.slice(0, 60)}: ${answer}`);
      assert.ok(performance.now() - start < 500, text.slice(0, 60));
    }
  }
  for (const size of [9000 * 7, 10e6]) {
    const start = performance.now();
    assert.equal((await camera.post(deep('<a>', size / 7)).catch(() => ({ status: 413 }))).status, 413);
    assert.ok(performance.now() - start < 1000);
  }
  assert.equal((await camera.imaging('GetStatus')).status, 200);
  assert.ok(camera.memory() - before < 8000, `${camera.memory() - before} KiB more`);
});

test('wide dynamic range is no option where the camera has lost it', async () => {
  const fast = await Camera.start('--fps', '50');
  const options = (await fast.imaging('GetOptions')).body;
  assert.equal(options.getElementsByTagName('tt:WideDynamicRange').length, 0);
  assert.ok(options.getElementsByTagName('tt:Brightness').length);
  const { body: fault } = await fast.imaging('SetImagingSettings', write({ wideDynamicRange: { mode: 'ON' } }));
  assert.ok(codes(fault).includes('ter:SettingsInvalid'));
});
