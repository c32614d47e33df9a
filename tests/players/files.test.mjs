// Files of any maker on the page: the list, what plays them, and the numbers of their frames. FMP4 names the program;
// SHOTS a folder for screenshots.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {numbers} from './checks.mjs';
import {makeSource, record, run} from './recordings.mjs';
import {closeStage, makeFolders, openStage} from './stage.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;

const kFragmented = ['-c', 'copy', '-movflags', '+frag_keyframe+empty_moov+default_base_moof'];
const source = {name: 'source', rate: [30000, 1001], frames: 300, delayed: 2, audio: true, width: 320, height: 180};
const kOddFolder = 'sub #1 "50%" ü';

let folder, media, server, browser;

function convert(from, to, ...options) {
  return run('ffmpeg', '-nostdin', '-v', 'error', '-y', '-i', from, ...options, path.join(media, to));
}

// Files from which to choose: the time of the last change is set, newest last.
const files = ['plain.mp4', 'foreign.mp4', 'picture.mp4', 'inside.mp4', 'late.mp4', 'single.mp4', 'variable.mp4', 'surround.mp4',
  'damaged.mp4', 'dash.mpd'];

before(async () => {
  ({folder, media} = await makeFolders('files'));
  await fs.mkdir(path.join(media, kOddFolder, 'deep'), {recursive: true});
  const plain = await makeSource(source, folder);
  await fs.copyFile(plain, path.join(media, 'plain.mp4'));
  await convert(plain, 'foreign.mp4', ...kFragmented);
  await convert(plain, 'picture.mp4', '-an', ...kFragmented);
  // Fragments give the places of their data in the file, which players do not accept of a segment.
  await convert(plain, 'inside.mp4', '-c', 'copy', '-movflags', '+frag_keyframe+empty_moov');
  // The first decode time is far from 0.
  await convert(plain, 'late.mp4', '-output_ts_offset', '5', ...kFragmented);
  // A fragment a frame: the order of presentation goes across fragments. An edit list delays the start.
  await convert(plain, 'single.mp4', '-an', '-c', 'copy', '-movflags', '+frag_every_frame+empty_moov+delay_moov');
  // Every fifth frame is missing, so that durations differ.
  await convert(plain, 'variable.mp4', '-an', '-vf', "select='mod(n,5)'", '-fps_mode', 'vfr', '-c:v', 'libx264',
    '-preset', 'veryfast', '-g', '30', '-bf', '0', ...kFragmented.slice(2));
  await convert(plain, 'surround.mp4', '-t', '2', '-c:v', 'copy', '-c:a', 'ac3', '-movflags',
    '+frag_keyframe+empty_moov+delay_moov');
  await fs.writeFile(path.join(media, 'damaged.mp4'), 'no boxes at all');
  await convert(plain, 'dash.mpd', '-an', '-c', 'copy', '-single_file', '1', '-f', 'dash');
  for (const name of await fs.readdir(media)) if (/^dash-stream/.test(name)) await fs.utimes(path.join(media, name), 1, 1);
  for (const [i, name] of files.entries()) await fs.utimes(path.join(media, name), 1000 + i, 1000 + i);
  await record(fmp4, {...source, name: 'inner', frames: 60}, path.join(media, kOddFolder, 'deep'), folder);
  ({server, browser} = await openStage(fmp4, media));
});

after(() => closeStage({folder, server, browser}));

// The number of each displayed frame as the plug-in delivers it.
async function deliveredFrames(name) {
  const frames = JSON.parse(await run(fmp4, 'frames', '--json', path.join(media, name)));
  return frames.sort((a, b) => a.presentationSeconds - b.presentationSeconds).map(({frame}) => frame);
}

// Waits until the page names the frame that is displayed.
function labelled(viewer, frame) {
  return viewer.page.waitForFunction((text) => document.getElementById('frame').textContent === text, `frame ${frame}`);
}

async function steps(viewer, from, forward) {
  for (let i = 1; i <= 10; ++i) {
    await viewer.page.getByRole('button', {name: forward > 0 ? 'One frame forward' : 'One frame back'}).click();
    await labelled(viewer, from + i * forward);
  }
}

const players = [
  ['foreign.mp4', 'hls.js'], ['foreign.mp4', 'shaka-hls'], ['picture.mp4', 'hls.js'], ['inside.mp4', 'hls.js'],
  ['late.mp4', 'hls.js'], ['late.mp4', 'shaka-hls'], ['single.mp4', 'hls.js'], ['single.mp4', 'shaka-hls'],
  ['dash.mpd', 'dash.js'], ['dash.mpd', 'shaka-dash'],
];
for (const [name, player] of players) {
  test(`${name} steps and jumps to the plug-in's frames in ${player}`, async () => {
    const delivered = await deliveredFrames(name);
    assert.equal(delivered.length, source.frames);
    const viewer = await Viewer.open(browser, server.address, name, player);
    await labelled(viewer, 0);
    await viewer.sees(0);
    await steps(viewer, 0, 1);
    await viewer.sees(10);
    for (const [i, share] of numbers(7, 5, 280).entries()) {
      const {width, height} = await viewer.page.locator('#position').boundingBox();
      await viewer.page.click('#position', {position: {x: share / 300 * (width - 1), y: height / 2}});
      await viewer.page.waitForFunction(() => !document.getElementById('video').seeking);
      await viewer.page.getByRole('button', {name: i % 2 ? 'One frame forward' : 'One frame back'}).click();
      await viewer.page.waitForFunction(() => !document.getElementById('video').seeking);
      await viewer.page.waitForTimeout(200);
      const number = await viewer.page.evaluate(() => globalThis.pictureNumber());
      await labelled(viewer, number);
      const other = delivered[number] === number ? '' : `in the file ${delivered[number]}`;
      assert.equal(await viewer.page.textContent('#delivered'), other);
    }
    const last = Number((await viewer.page.textContent('#frame')).slice(6));
    await steps(viewer, last, last > 20 ? -1 : 1);
    await viewer.sees(last + (last > 20 ? -10 : 10));
    await viewer.page.keyboard.press('End');
    await viewer.sees(source.frames - 1);
    await labelled(viewer, source.frames - 1);
    await viewer.page.keyboard.press('Home');
    await labelled(viewer, 0);
    await viewer.sees(0);
    assert.deepEqual(await viewer.messages(), []);
    await viewer.close();
  });
}

test('the browser itself plays a file, and the number is that of the picture', async () => {
  const viewer = await Viewer.open(browser, server.address, 'picture.mp4', 'file');
  for (const seconds of [0, 3.3, 7.1]) {
    if (seconds) await viewer.seek(seconds);
    await viewer.page.waitForTimeout(500);
    await labelled(viewer, await viewer.page.evaluate(() => globalThis.pictureNumber()));
  }
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('frames of variable duration are stepped one by one', async () => {
  const viewer = await Viewer.open(browser, server.address, 'variable.mp4');
  await labelled(viewer, 0);
  for (let frame = 1; frame <= 12; ++frame) {
    await viewer.page.keyboard.press('ArrowRight');
    await labelled(viewer, frame);
    await viewer.sees(Math.floor(frame / 4) * 5 + frame % 4 + 1);  // those that are multiples of 5 are missing
  }
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('the list has every file, the newest first, with what the plug-in says of it', async () => {
  const viewer = await Viewer.goTo(browser, server.address, '');
  const list = viewer.page.getByRole('navigation', {name: 'Recordings'});
  await viewer.page.waitForFunction(() => document.querySelectorAll('#list a').length > 9);
  const listed = await viewer.page.locator('#list a').evaluateAll((all) => all.map(({firstChild}) => firstChild.data));
  assert.deepEqual(listed.slice(0, 1 + files.length), [kOddFolder, ...[...files].reverse()]);
  // The newest opens by itself.
  await viewer.page.waitForFunction(() => document.getElementById('title').textContent === 'dash.mpd');
  const entry = (name) => list.getByRole('link', {name});
  const says = async (name, text) => {
    await entry(name).scrollIntoViewIfNeeded();
    await entry(name).getByText(text).waitFor();
  };
  await says(/^foreign\.mp4/, /^00:00:10\.010 · 320×180 · avc1\.64\w+ \+ mp4a\.40\.2 · /);
  await says(/^plain\.mp4/, 'plain MP4');
  await says(/^damaged\.mp4/, 'not read');
  await viewer.close();
});

test('a plain MP4 is played with the hint how to make a recording of it', async () => {
  const viewer = await Viewer.open(browser, server.address, 'plain.mp4');
  const command = await viewer.page.locator('#messages code').textContent();
  assert.match(command, /^fmp4 package '.*plain\.mp4' --output '.*plain-recording\.mp4'$/);
  await viewer.page.getByRole('button', {name: 'Copy'}).waitFor();
  await viewer.page.waitForFunction(() => document.getElementById('video').videoWidth === 320);
  await viewer.close();
});

test('what the browser cannot play is described, with a command that makes a copy', async () => {
  const viewer = await Viewer.open(browser, server.address, 'surround.mp4');
  const [said] = await viewer.messages();
  assert.match(said, /^This browser cannot play ac-3\. .* -c:v copy -c:a aac /);
  assert.match(await viewer.page.textContent('#facts'), /^320×180 · 29\.97 frames\/s · avc1\.64\w+ \+ ac-3/);
  assert.equal(await viewer.page.isVisible('#screen'), false);
  await viewer.close();
});

test('a file that is none is said to be so, and the next one plays', async () => {
  const viewer = await Viewer.open(browser, server.address, 'damaged.mp4');
  assert.match((await viewer.messages())[0], /is not MP4/);
  await viewer.page.getByRole('link', {name: /^picture\.mp4/}).click();
  await labelled(viewer, 0);
  await viewer.sees(0);
  await viewer.close();
});

test('folders are walked, whatever their names, and the address names them', async () => {
  const viewer = await Viewer.goTo(browser, server.address, '');
  await viewer.page.getByRole('link', {name: `Folder ${kOddFolder}`}).click();
  await viewer.page.getByRole('link', {name: 'Folder deep'}).click();
  await viewer.page.getByRole('link', {name: /^inner/}).click();
  await viewer.page.waitForFunction(() => document.getElementById('title').textContent === 'inner');
  await labelled(viewer, 0);
  await viewer.sees(0);
  const address = viewer.page.url();
  assert.equal(decodeURIComponent(new URL(address).hash), `#${kOddFolder}/deep/inner`);
  assert.deepEqual(await viewer.messages(), []);
  const again = await Viewer.goTo(browser, address, 'x');
  await again.page.goto('about:blank');
  await again.page.goto(address);
  await labelled(again, 0);
  await again.page.getByRole('link', {name: 'All'}).click();
  await again.page.getByRole('link', {name: /^picture\.mp4/}).waitFor();
  await again.close();
  await viewer.close();
});

test('the keyboard alone steps, shuttles and marks', async () => {
  const viewer = await Viewer.open(browser, server.address, 'picture.mp4');
  const {keyboard} = viewer.page;
  await labelled(viewer, 0);
  for (let i = 1; i <= 3; ++i) {
    await keyboard.press('ArrowRight');
    await labelled(viewer, i);
  }
  await keyboard.press('i');
  await keyboard.press('Shift+ArrowRight');
  await labelled(viewer, 33);
  await keyboard.press('o');
  assert.equal(await viewer.page.getByRole('status', {name: 'In and out points'}).textContent(), '3 – 33');
  await keyboard.press('x');
  assert.equal(await viewer.page.textContent('#marks'), '');
  await keyboard.press('l');
  await keyboard.press('l');
  assert.equal(await viewer.video((video) => video.playbackRate), 2);
  await viewer.page.waitForFunction(() => Number(document.getElementById('frame').textContent.slice(6)) > 60);
  await keyboard.press('j');
  await viewer.page.waitForFunction(() => Number(document.getElementById('frame').textContent.slice(6)) < 50);
  await keyboard.press('k');
  assert.equal(await viewer.page.textContent('#shuttle'), '');
  assert.equal(await viewer.video((video) => video.paused), true);
  await keyboard.press('?');
  const dialog = viewer.page.getByRole('dialog', {name: 'Keys'});
  await dialog.getByRole('row', {name: 'J Backwards; again: faster'}).waitFor();
  await keyboard.press('Escape');
  await dialog.waitFor({state: 'hidden'});
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('every control has a name', async () => {
  const viewer = await Viewer.open(browser, server.address, 'picture.mp4');
  const controls = [['button', 'Play'], ['button', 'One frame back'], ['button', 'One frame forward'],
    ['button', 'In point here'], ['button', 'Out point here'], ['button', 'Captions'], ['button', 'Keys'],
    ['button', 'Full screen'], ['slider', 'Position'], ['slider', 'Volume'], ['combobox', 'Speed'],
    ['combobox', 'Player'], ['searchbox', 'Find a name'], ['status', 'Frame number'], ['status', 'Time and duration']];
  for (const [role, name] of controls)
    assert.equal(await viewer.page.getByRole(role, {name, exact: true}).count(), 1, `${role} ${name}`);
  const nameless = await viewer.page.locator('button, input, select').evaluateAll((all) => all
    .filter((each) => !each.getAttribute('aria-label') && !each.textContent.trim() && !each.labels?.length)
    .map(({outerHTML}) => outerHTML));
  assert.deepEqual(nameless, []);
  await viewer.close();
});

test('a list of thousands stays quick and asks only about what is in view', async () => {
  const many = path.join(media, 'many');
  await fs.mkdir(many);
  const small = await fs.readFile(path.join(media, 'damaged.mp4'));
  for (let i = 0; i < 3000; ++i) await fs.writeFile(path.join(many, `clip ${i}.mp4`), small);
  const viewer = await Viewer.goTo(browser, server.address, 'many/');
  let described = 0;
  viewer.page.on('request', (request) => { if (request.url().includes('/data/describe/')) ++described; });
  await viewer.page.getByRole('link', {name: /^clip 2999/}).waitFor();
  await viewer.page.waitForTimeout(1000);
  assert.ok(await viewer.page.locator('#list li').count() < 400);
  assert.ok(described < 100, `${described} descriptions`);
  await viewer.page.getByRole('searchbox', {name: 'Find a name'}).fill('clip 123');
  assert.equal(await viewer.page.locator('#list li').count(), 11);
  await viewer.close();
  await fs.rm(many, {recursive: true});
});

test('the page fits on 360 to 2560 pixels, light and dark', async () => {
  for (const [width, height] of [[360, 740], [740, 360], [1200, 800], [1920, 1080], [2560, 1440]]) {
    for (const colorScheme of ['light', 'dark']) {
      const viewer = await Viewer.open(browser, server.address, 'foreign.mp4');
      await viewer.page.emulateMedia({colorScheme});
      await viewer.page.setViewportSize({width, height});
      await labelled(viewer, 0);
      await viewer.page.waitForTimeout(500);
      const inside = await viewer.page.evaluate(() => document.documentElement.scrollWidth <= innerWidth);
      assert.ok(inside, `nothing is wider than ${width}`);
      if (width >= 1200) {
        const tops = await viewer.page.locator('#controls .group').evaluateAll((all) => all.map((e) => e.getBoundingClientRect().top));
        assert.ok(Math.abs(tops[0] - tops[1]) < 10, 'controls in one line');
      }
      await viewer.keepScreenshot(`files-${width}-${colorScheme}.png`);
      await viewer.close();
    }
  }
});
