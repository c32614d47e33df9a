// Captions over each player. FMP4 names the program; SHOTS a folder for screenshots.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {assertNear} from './checks.mjs';
import {GrowingRecording} from './growing.mjs';
import {record, recordings, run} from './recordings.mjs';
import {closeStage, makeFolders, openStage} from './stage.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;

const recording = {...recordings[0], name: 'captions'};
const kPatience = 60_000;

let folder, media, server, browser, cues;

before(async () => {
  ({folder, media} = await makeFolders('captions'));
  const captions = path.join(folder, 'captions.scc');
  await fs.writeFile(captions, 'Scenarist_SCC V1.0\n\n' +
    '00:00:00:10\t9420 9420 94ae 94ae 9470 9470 c8e5 ecec ef80 942c 942c 942f 942f\n\n' +
    '00:00:02:10\t9420 9420 94ae 94ae 9470 9470 57ef f2ec 6480 942c 942c 942f 942f\n\n' +
    '00:00:04:10\t942c 942c\n\n' +
    '00:00:05:10\t9420 9420 94ae 94ae 9470 9470 4c61 f4e5 942c 942c 942f 942f\n\n');
  await record(fmp4, recording, media, folder, captions);
  cues = await exported();
  ({server, browser} = await openStage(fmp4, media));
});

after(() => closeStage({folder, server, browser}));

// The captions as `fmp4 export` has them: [{from, to, text}], in the numbers of the frames that show them.
async function exported() {
  const output = path.join(folder, 'captions.srt');
  await run(fmp4, '--quiet', 'export', path.join(media, 'captions.m4v'), '--captions', output);
  const frameOf = (time) => {
    const [hours, minutes, seconds] = time.replace(',', '.').split(':').map(Number);
    const [rate, scale] = recording.rate;
    return Math.round((hours * 3600 + minutes * 60 + seconds) * rate / scale) - recording.delayed;
  };
  return (await fs.readFile(output, 'utf8')).trim().split('\n\n').map((block) => {
    const [, times, text] = block.split('\n');
    const [from, to] = times.split(' --> ').map(frameOf);
    return {from, to, text};
  });
}

// Waits until this is drawn over the picture; '' for nothing.
function drawn(viewer, text) {
  return viewer.page.waitForFunction((wanted) => {
    const overlay = document.getElementById('overlay');
    const lines = overlay.hasAttribute('hidden') ? [] : [...overlay.querySelectorAll('text')];
    return lines.map(({textContent}) => textContent).join('|') === wanted;
  }, text, {timeout: kPatience});
}

const [kRate, kScale] = recording.rate;

// Goes to a frame; `delaysStart`: whether the player shows the first frame as late as the file says.
async function goTo(viewer, frame, delaysStart = true) {
  const origin = delaysStart ? recording.delayed : 0;
  await viewer.seek((origin + frame + 0.5) * kScale / kRate);
  await viewer.sees(frame);
}

// Where the picture is in the video element, which may be wider or higher.
async function pictureBox(viewer) {
  const {x, y, width, height} = await viewer.page.locator('#video').boundingBox();
  const scale = Math.min(width / recording.width, height / recording.height);
  const shown = {width: recording.width * scale, height: recording.height * scale};
  return {x: x + (width - shown.width) / 2, y: y + (height - shown.height) / 2, ...shown};
}

async function showCaptions(viewer) {
  await viewer.page.getByRole('button', {name: 'Captions', exact: true}).click();
}

test('the captions are those that the tests expect', () => {
  assert.deepEqual(cues.map(({text}) => text), ['Hello', 'World', 'Late']);
});

for (const player of ['hls.js', 'dash.js', 'shaka-dash', 'shaka-hls', 'browser']) {
  test(`captions are drawn over ${player} from their first frame to their last`, async () => {
    const viewer = await Viewer.open(browser, server.address, 'captions', player);
    await showCaptions(viewer);
    for (const {from, to, text} of cues.slice(0, 2)) {
      const before = cues.find((cue) => cue.to === from)?.text ?? '';
      const after = cues.find((cue) => cue.from === to)?.text ?? '';
      for (const [frame, shown] of [[from - 1, before], [from, text], [to - 1, text], [to, after]]) {
        await goTo(viewer, frame, player !== 'browser');
        await drawn(viewer, shown);
      }
      await viewer.keepScreenshot(`captions-${player}.png`);
    }
    assert.deepEqual(await viewer.messages(), []);
    await viewer.close();
  });
}

test('a caption is drawn where its row is in the picture, and named for screen readers', async () => {
  const viewer = await Viewer.open(browser, server.address, 'captions');
  await showCaptions(viewer);
  await goTo(viewer, cues[0].from);
  await drawn(viewer, 'Hello');
  await viewer.page.getByRole('img', {name: 'Hello', exact: true}).waitFor();
  const picture = await pictureBox(viewer);
  const text = await viewer.page.locator('#overlay text').boundingBox();
  // Row 15 of 15, column 1 of 32, in the middle 80 percent of the picture; five columns wide.
  assertNear((text.x - picture.x) / picture.width, 0.1, 0.005);
  assertNear(text.width / picture.width, 5 * 0.8 / 32, 0.01);
  assertNear((text.y + text.height / 2 - picture.y) / picture.height, 0.1 + 0.8 * 14.5 / 15, 0.02);
  await viewer.page.keyboard.press('c');
  await drawn(viewer, '');
  assert.equal(await viewer.page.getByRole('combobox', {name: 'Caption channel'}).count(), 0);
  await viewer.page.keyboard.press('c');
  await drawn(viewer, 'Hello');
  await viewer.close();
});

test('the captions of a recording in progress come with its segments', async () => {
  const growing = new GrowingRecording(media, 'captions', 'growing');
  await growing.write(1);
  const viewer = await Viewer.open(browser, server.address, growing.name, 'hls.js');
  await showCaptions(viewer);
  await goTo(viewer, cues[0].from);
  await drawn(viewer, 'Hello');
  await growing.write(2);
  await viewer.canSeekBeyond((recording.delayed + cues[2].from + 1) * kScale / kRate);
  await goTo(viewer, cues[2].from);
  await drawn(viewer, 'Late');
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

// Two channels and a service whose window has all that a window may have.
const run608 = {row: 14, column: 0, columns: 3, text: 'One'};
const screens = {
  'channel=1': {regions: [{window: 0, top: 10, left: 10, width: 80, height: 80, rows: 15, columns: 32, align: 'left',
    fill: '#000000', fillOpacity: 'transparent', border: 'none', borderColour: '#000000', text: [run608]}]},
  'service=2': {regions: [{window: 1, top: 20, left: 25, width: 50, height: 20, rows: 2, columns: 20, align: 'centre',
    fill: '#ff0000', fillOpacity: 'translucent', border: 'uniform', borderColour: '#0000ff', text: [
      {row: 0, column: 0, columns: 4, text: '<b>x', foreground: '#00ff00', foregroundOpacity: 'flash', italics: true,
        underline: true, size: 'large', edge: 'right-shadow', edgeColour: '#555555'},
      {row: 1, column: 0, columns: 2, text: 'yz', backgroundOpacity: 'transparent'}]}]},
};

test('another channel is chosen in the menu, and its windows and pens are drawn', async () => {
  const viewer = await Viewer.goTo(browser, server.address, '');
  await viewer.page.route('**/data/captions/**', (route) => {
    const parameters = new URL(route.request().url()).searchParams;
    const kind = parameters.has('service') ? 'service' : 'channel', channel = `${kind}=${parameters.get(kind)}`;
    route.fulfill({json: {frames: 230, from: 0, to: 300, channels: [{channel: 1}, {service: 2}],
      screens: [{from: 0, to: 300, mode: 'none', ...screens[channel]}]}});
  });
  await viewer.page.goto(`${server.address}#captions/hls.js`);
  await showCaptions(viewer);
  await drawn(viewer, 'One');
  const menu = viewer.page.getByRole('combobox', {name: 'Caption channel'});
  assert.deepEqual(await menu.locator('option').allTextContents(), ['CC1', 'Service 2']);
  await menu.selectOption('Service 2');
  await drawn(viewer, '<b>x|<b>x|yz');  // the first is the shadow of the second
  const picture = await pictureBox(viewer);
  const boxes = viewer.page.locator('#overlay rect');
  const [window, first, second] = await Promise.all([0, 1, 2].map((i) => boxes.nth(i).boundingBox()));
  assertNear((window.x - picture.x) / picture.width, 0.25, 0.01);
  assertNear((window.y - picture.y) / picture.height, 0.2, 0.02);
  assertNear((first.x - picture.x) / picture.width, 0.25 + 0.5 * 8 / 20, 0.01);
  assertNear((second.x - picture.x) / picture.width, 0.25 + 0.5 * 9 / 20, 0.01);
  const attributes = await viewer.page.locator('#overlay').evaluate((overlay) => {
    const of = (element, ...names) => names.map((name) => element.getAttribute(name));
    const [box] = overlay.querySelectorAll('rect'), [shadow, text] = overlay.querySelectorAll('text');
    return [of(box, 'fill', 'fill-opacity', 'stroke'), of(shadow, 'fill'),
      of(text, 'fill', 'font-style', 'text-decoration', 'class')];
  });
  assert.deepEqual(attributes,
    [['#ff0000', '0.5', '#0000ff'], ['#555555'], ['#00ff00', 'italic', 'underline', 'flash']]);
  await viewer.keepScreenshot('captions-service.png');
  await viewer.close();
});
