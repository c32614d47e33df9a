// The time line of the page against the numbers of the program. FMP4 names the program; SHOTS a folder for screenshots.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {makeSource, record, run} from './recordings.mjs';
import {closeStage, makeFolders, openStage} from './stage.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;

const kFragmented = ['-movflags', '+frag_keyframe+empty_moov+default_base_moof'];
const source = {name: 'clip', rate: [30000, 1001], frames: 300, delayed: 2, audio: true, width: 320, height: 180};
const kLongFrames = 6000;

let folder, media, server, browser;

before(async () => {
  ({folder, media} = await makeFolders('timeline'));
  const plain = await makeSource(source, folder);
  await run('ffmpeg', '-nostdin', '-v', 'error', '-i', plain, '-c', 'copy', ...kFragmented,
    path.join(media, 'clip.mp4'));
  const sound = 'aevalsrc=0.5*sin(880*t)*mod(t\\,1)|0.1*sin(3000*t):s=48000';
  await run('ffmpeg', '-nostdin', '-v', 'error', '-f', 'lavfi', '-i', 'testsrc2=size=96x64:rate=25',
    '-f', 'lavfi', '-i', sound, '-frames:v', String(kLongFrames), '-t', String(kLongFrames / 25), '-c:v',
    'libx264', '-preset', 'ultrafast', '-g', '50', '-bf', '0', '-c:a', 'aac', ...kFragmented,
    path.join(media, 'long.mp4'));
  const captions = path.join(folder, 'captions.scc');
  await fs.writeFile(captions, 'Scenarist_SCC V1.0\n\n' +
    '00:00:00:10\t9420 9420 94ae 94ae 9470 9470 c8e5 ecec ef80 942c 942c 942f 942f\n\n00:00:04:10\t942c 942c\n\n');
  await record(fmp4, {...source, name: 'captions'}, media, folder, captions);
  ({server, browser} = await openStage(fmp4, media));
});

after(() => closeStage({folder, server, browser}));

async function listedFrames(name) {
  return JSON.parse(await run(fmp4, '--quiet', 'frames', '--json', path.join(media, name)));
}

// A page on a file of which everything has been read.
async function openRead(name) {
  const viewer = await Viewer.open(browser, server.address, name);
  await viewer.page.waitForSelector('#lanes[data-state=complete]');
  return viewer;
}

const slider = ({page}) => page.getByRole('slider', {name: 'Time line'});
const press = ({page}, name) => page.getByRole('button', {name}).click();

// What the page says of the values at a share of the time line's width.
async function valuesAt(viewer, share) {
  const {width, height} = await slider(viewer).boundingBox();
  await slider(viewer).hover({position: {x: 0, y: height / 2}});
  await slider(viewer).hover({position: {x: share * (width - 1), y: height / 2}});
  await viewer.page.waitForFunction(() => /frames? \d+.*RMS/.test(document.getElementById('reading').textContent));
  return viewer.page.textContent('#reading');
}

const kPlaces = [0, 0.1, 0.22, 0.31, 0.4, 0.5, 0.63, 0.78, 0.9, 1];

test('values of single frames are those of fmp4 frames', async () => {
  const listed = await listedFrames('long.mp4');
  const viewer = await openRead('long.mp4');
  await viewer.seek(120);
  for (let i = 0; i < 6; ++i) await press(viewer, 'Show less of the time line');
  const seen = new Set();
  for (const place of kPlaces) {
    const text = await valuesAt(viewer, place), [, frame, bytes] = /frame (\d+): (\d+) bytes/.exec(text);
    seen.add(frame);
    assert.equal(Number(bytes), listed[frame].size, text);
    assert.equal(/key frame/.test(text), listed[frame].key === 1, text);
  }
  assert.equal(seen.size, kPlaces.length);
  await viewer.keepScreenshot('timeline-frames.png');
  await viewer.close();
});

test('values of the whole file are sums of those of fmp4 frames', async () => {
  const listed = await listedFrames('long.mp4');
  const viewer = await openRead('long.mp4');
  for (const place of kPlaces) {
    const text = await valuesAt(viewer, place);
    const [, first, last, bytes, keys] = /frames (\d+) to (\d+): (\d+) bytes, (\d+) key frame/.exec(text).map(Number);
    const part = listed.slice(first, last + 1);
    assert.ok(part.length > 1, text);
    assert.equal(bytes, part.reduce((sum, {size}) => sum + size, 0), text);
    assert.equal(keys, part.reduce((sum, {key}) => sum + key, 0), text);
  }
  await viewer.keepScreenshot('timeline-whole.png');
  await viewer.close();
});

test('the wave form is that of the decoded audio', async () => {
  const wav = path.join(folder, 'long.wav');
  await run(fmp4, '--quiet', 'export', path.join(media, 'long.mp4'), '--audio', wav);
  const bytes = await fs.readFile(wav), start = bytes.indexOf('data') + 8;
  const {audio} = await (await fetch(`${server.address}data/overview/long.mp4`)).json();
  const lead = Math.round(audio.leadSeconds * audio.sampleRate);
  const viewer = await openRead('long.mp4');
  await viewer.seek(120);
  for (let i = 0; i < 6; ++i) await press(viewer, 'Show less of the time line');
  for (const place of kPlaces) {
    const text = await valuesAt(viewer, place);
    const frame = Number(/frame (\d+):/.exec(text)[1]), [, left, right] = /peak (\d+), (\d+) /.exec(text).map(Number);
    const cell = Math.floor(frame * 4 + audio.leadSeconds * audio.cellsASecond), peaks = [0, 0];
    for (let i = cell * 480 - lead; i < (cell + 1) * 480 - lead; ++i)
      for (const channel of [0, 1])
        peaks[channel] = Math.max(peaks[channel], Math.abs(bytes.readInt16LE(start + i * 4 + channel * 2)));
    assert.deepEqual([left, right], peaks, text);
  }
  await viewer.close();
});

test('an answer lost with its connection is asked for again', async () => {
  const viewer = await openRead('clip.mp4');
  let lost = 0;
  await viewer.page.route('**/data/overview**', (route) => lost < 5 && ++lost % 2 ? route.abort() : route.continue());
  const asked = viewer.page.waitForRequest('**/data/overview/long.mp4');
  await viewer.page.evaluate(() => { location.hash = 'long.mp4'; });
  await asked;
  await viewer.page.waitForSelector('#lanes[data-state=complete]');
  await viewer.page.waitForFunction(() => document.getElementById('video').readyState >= 2);
  assert.match(await valuesAt(viewer, 0.5), /frames 2992 to 3007: .* RMS /);
  assert.equal(lost, 5);
  await viewer.close();
});

test('the values are those at the pointer when what is shown changes under it', async () => {
  const viewer = await openRead('long.mp4');
  assert.match(await valuesAt(viewer, 0.5), /frames 2992 to 3007: /);
  for (let i = 0; i < 20; ++i) await viewer.page.mouse.wheel(0, -200);
  await viewer.page.waitForFunction(() => / frame \d+: .* RMS /.test(document.getElementById('reading').textContent));
  await viewer.close();
});

test('a click and dragging seek to the exact frame', async () => {
  const delivered = (await listedFrames('clip.mp4')).sort((a, b) => a.presentationSeconds - b.presentationSeconds)
    .map(({frame}) => frame);
  const viewer = await openRead('clip.mp4');
  for (const place of [0.31, 0.72, 0.05]) {
    const [, frame] = /frame (\d+):/.exec(await valuesAt(viewer, place)).map(Number);
    await viewer.page.mouse.down();
    await viewer.page.mouse.up();
    await viewer.sees(delivered.indexOf(frame));
  }
  const {x, y, width} = await slider(viewer).boundingBox();
  await viewer.page.mouse.move(x + 10, y + 20);
  await viewer.page.mouse.down();
  for (let i = 1; i <= 10; ++i) await viewer.page.mouse.move(x + width * i / 20, y + 20);
  const [, frame] = /frame (\d+):/.exec(await viewer.page.textContent('#reading')).map(Number);
  await viewer.page.mouse.up();
  await viewer.sees(delivered.indexOf(frame));
  await viewer.page.waitForFunction((number) => document.getElementById('overview').ariaValueNow === number,
    String(frame));
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('the wheel and the keys zoom from the whole file to single frames and back', async () => {
  const viewer = await openRead('long.mp4');
  const shows = (part) => viewer.page.waitForFunction(
    (text) => new RegExp(`shown: ${text}$`).test(document.getElementById('overview').ariaValueText), part);
  await shows('00:00:00.000 to 00:04:00.000');
  const {x, y, width} = await slider(viewer).boundingBox();
  await viewer.page.mouse.move(x + width / 2, y + 20);
  for (let i = 0; i < 40; ++i) await viewer.page.mouse.wheel(0, -120);
  await shows('00:0[12]:\\S+ to 00:0[12]:\\S+');
  assert.match(await valuesAt(viewer, 0.5), /frame \d+: /);
  await viewer.page.keyboard.press('0');
  await shows('00:00:00.000 to 00:04:00.000');
  for (let i = 0; i < 12; ++i) await viewer.page.keyboard.press('+');
  await shows('00:00:00.000 to 00:00:00.320');
  await viewer.page.keyboard.press('PageDown');
  await shows('00:00:00.160 to 00:00:00.480');
  await viewer.page.keyboard.press('-');
  await press(viewer, 'Show the whole file in the time line');
  await shows('00:00:00.000 to 00:04:00.000');
  await viewer.close();
});

test('drawing is bounded by the width, whatever is shown', async () => {
  const viewer = await openRead('long.mp4');
  const width = await viewer.page.evaluate(() => document.getElementById('overview').clientWidth);
  for (let i = 0; i < 12; ++i) {
    await viewer.page.keyboard.press('+');
    await viewer.page.waitForTimeout(50);
    const {cells, mostCells} = await viewer.page.evaluate(() => ({...document.getElementById('lanes').dataset}));
    assert.ok(Number(cells) <= 4 * (width + 2), `${cells} cells of four lanes, ${width} pixels wide`);
    assert.ok(Number(mostCells) <= 6000 + width + 2);
  }
  await viewer.close();
});

// Two fingers from `from` to `to` pixels apart, their middle at a share of the time line's width.
async function pinch(viewer, touch, share, from, to) {
  const {x, y, width, height} = await slider(viewer).boundingBox(), kSteps = 10;
  const fingers = (apart) => [-1, 1].map((side, id) => (
    {x: x + share * width + side * apart / 2, y: y + height / 2, id}));
  const [first, second] = fingers(from);
  await touch('touchStart', [first]);
  await touch('touchStart', [first, second]);
  for (let i = 1; i <= kSteps; ++i) await touch('touchMove', fingers(from + (to - from) * i / kSteps));
  await touch('touchEnd', []);
}

test('two fingers zoom about the place between them', async () => {
  const viewer = await openRead('long.mp4');
  const session = await viewer.page.context().newCDPSession(viewer.page);
  await session.send('Emulation.setTouchEmulationEnabled', {enabled: true, maxTouchPoints: 2});
  const touch = (type, touchPoints) => session.send('Input.dispatchTouchEvent', {type, touchPoints});
  const shown = () => viewer.page.evaluate(() => document.getElementById('overview').ariaValueText
    .match(/shown: 00:(\d+):(\S+) to 00:(\d+):(\S+)$/).slice(1).map(Number));
  await pinch(viewer, touch, 0.5, 100, 400);
  const [fromMinutes, fromSeconds, toMinutes, toSeconds] = await shown();
  const from = fromMinutes * 60 + fromSeconds, to = toMinutes * 60 + toSeconds;
  assert.ok(Math.abs(to - from - 60) < 0.01, `${to - from} s, a quarter of the file`);
  assert.ok(Math.abs((from + to) / 2 - 120) < 8, `${from} to ${to} s, about the middle of the file`);
  await pinch(viewer, touch, 0.5, 400, 80);
  assert.deepEqual(await shown(), [0, 0, 4, 0]);
  await viewer.close();
});

// Runs in the page: what of the time line is cut off by the window, lies over something else, or is not drawn.
function layoutFaults() {
  const lanes = document.getElementById('lanes'), canvas = document.getElementById('overview'), faults = [];
  const boxes = [canvas, ...lanes.querySelectorAll('button')].map((element) => (
    {name: element.id, ...element.getBoundingClientRect().toJSON()}));
  for (const {name, left, right} of boxes)
    if (left < 0 || right > innerWidth) faults.push(`${name} is cut off: ${left} to ${right} of ${innerWidth}`);
  for (const [i, a] of boxes.entries())
    for (const b of boxes.slice(i + 1))
      if (a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom)
        faults.push(`${a.name} and ${b.name} overlap`);
  if (document.documentElement.scrollWidth > innerWidth) faults.push('the page is wider than the window');
  if (canvas.width !== Math.round(canvas.clientWidth * devicePixelRatio)) faults.push('the canvas is scaled');
  const kLowest = 73;  // pixels from the top: in the bars of all frames
  const {data} = canvas.getContext('2d').getImageData(0, kLowest, canvas.width, 1);
  const context = new OffscreenCanvas(1, 1).getContext('2d');
  context.fillStyle = getComputedStyle(lanes).getPropertyValue('--panel');
  context.fillRect(0, 0, 1, 1);
  const panel = context.getImageData(0, 0, 1, 1).data;
  const drawn = [...Array(canvas.width).keys()].filter((x) => [0, 1, 2].some((i) => data[x * 4 + i] !== panel[i]));
  if (!(drawn[0] <= 6)) faults.push(`drawn from ${drawn[0]}`);
  if (!(drawn.at(-1) >= canvas.width - 7)) faults.push(`drawn up to ${drawn.at(-1)} of ${canvas.width}`);
  if (drawn.length < canvas.width * 0.7) faults.push(`${drawn.length} of ${canvas.width} columns are drawn`);
  return faults;
}

test('the lanes fit windows of 360 to 2560 pixels', async () => {
  const viewer = await openRead('long.mp4');
  for (const width of [360, 768, 1200, 1920, 2560]) {
    await viewer.page.setViewportSize({width, height: 800});
    await viewer.page.waitForFunction(() => {
      const canvas = document.getElementById('overview');
      return canvas.width === Math.round(canvas.clientWidth * devicePixelRatio);
    });
    await viewer.page.waitForTimeout(500);  // for cells of another level
    assert.deepEqual(await viewer.page.evaluate(layoutFaults), [], `${width} pixels`);
    const {cells, across} = await viewer.page.evaluate(() => ({
      cells: Number(document.getElementById('lanes').dataset.cells),
      across: document.getElementById('overview').clientWidth,
    }));
    assert.ok(cells > across / 4 && cells <= 4 * (across + 2), `${cells} cells of four lanes, ${across} pixels wide`);
  }
  await viewer.close();
});

// The contrast of two colours, each three values up to 255 (WCAG 2, 1.4.11).
function contrast(one, other) {
  const luminances = [one, other].map((colour) => {
    const [red, green, blue] = colour.map((value) => value / 255)
      .map((value) => value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4);
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  });
  return (Math.max(...luminances) + 0.05) / (Math.min(...luminances) + 0.05);
}

// Runs in the page: how many pixels of the lanes have each colour, by red, green and blue.
function laneColours() {
  const canvas = document.getElementById('overview'), counts = {};
  const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
  for (let i = 0; i < data.length; i += 4) {
    const colour = `${data[i]},${data[i + 1]},${data[i + 2]}`;
    counts[colour] = (counts[colour] ?? 0) + 1;
  }
  return counts;
}

test('lanes are told from their background in light and dark', async () => {
  const viewer = await openRead('long.mp4'), seen = [];
  for (const colorScheme of ['dark', 'light']) {
    await viewer.page.emulateMedia({colorScheme});
    await viewer.page.waitForTimeout(500);
    const counts = Object.entries(await viewer.page.evaluate(laneColours)).sort((a, b) => b[1] - a[1]);
    const [panel, ...others] = counts.slice(0, 3).map(([colour]) => colour.split(',').map(Number));
    assert.equal(others.length, 2, 'bars, and key frames and mean squares');
    for (const colour of others)
      assert.ok(contrast(colour, panel) >= 3, `${colour} on ${panel}, ${colorScheme}: ${contrast(colour, panel)}`);
    seen.push(String(panel), ...others.map(String));
  }
  assert.equal(new Set(seen).size, seen.length, seen.join(' '));
  await viewer.close();
});

test('in and out points make the command that exports them', async () => {
  const viewer = await openRead('long.mp4');
  await viewer.page.keyboard.press('Home');
  await viewer.page.waitForFunction(() => document.getElementById('frame').textContent === 'frame 0');
  await viewer.page.keyboard.press('i');
  for (let i = 0; i < 5; ++i) await viewer.page.keyboard.press('ArrowRight');
  await viewer.page.waitForFunction(() => document.getElementById('frame').textContent === 'frame 5');
  await viewer.page.keyboard.press('o');
  assert.equal(await viewer.page.textContent('#command code'),
    "fmp4 export 'long.mp4' --video 'long-0.h264' --audio 'long-0.wav' --from 0 --count 6");
  assert.equal(await viewer.page.isVisible('#marked'), true);
  await viewer.page.keyboard.press('x');
  assert.equal(await viewer.page.locator('#command code').count(), 0);
  await viewer.close();
});

test('captions are read where they are displayed', async () => {
  const srt = path.join(folder, 'captions.srt');
  await run(fmp4, '--quiet', 'export', path.join(media, 'captions.m4v'), '--captions', srt);
  const [, from, to] = /00:00:(\d+,\d+) --> 00:00:(\d+,\d+)\nHello/.exec(await fs.readFile(srt, 'utf8'))
    .map((text) => Number(text.replace(',', '.')));
  const viewer = await openRead('captions');
  await viewer.page.waitForTimeout(500);
  for (const share of kPlaces) {
    const text = await valuesAt(viewer, share), seconds = Number(/00:00:([\d.]+)/.exec(text)[1]);
    assert.equal(/CC1: Hello/.test(text), seconds >= from - 0.001 && seconds < to - 0.001, text);
  }
  await viewer.keepScreenshot('timeline-captions.png');
  await viewer.close();
});

test('captions that a recording in progress begins with later can be switched on', async () => {
  const page = await browser.newPage();
  let begun = false;
  await page.route('**/files.json*', async (route) => {
    const response = await route.fetch(), text = await response.text();
    await route.fulfill({response, body: text.replace(/("inProgress": *)false/g, '$1true')});
  });
  await page.route('**/data/describe/**', async (route) => {
    const response = await route.fetch(), description = await response.json();
    await route.fulfill({response, json: {...description, captions608: begun, captions708: false}});
  });
  const described = page.waitForResponse('**/data/describe/captions.m4v');
  await page.goto(`${server.address}#captions`);
  await described;
  await page.waitForFunction(() => document.getElementById('video').readyState >= 2);
  assert.equal(await page.isDisabled('#captions'), true);
  begun = true;
  await page.waitForFunction(() => !document.getElementById('captions').disabled, null, {timeout: 60_000});
  await page.close();
});

// Browsers now and then leave out the report of the picture that a seek ends with.
test('the frame number is right when no picture is reported', async () => {
  const viewer = await openRead('clip.mp4');
  await viewer.page.keyboard.press('Home');
  await viewer.page.waitForFunction(() => document.getElementById('frame').textContent === 'frame 0');
  await viewer.video((video) => {
    globalThis.reports = 0;
    const wait = video.requestVideoFrameCallback.bind(video);
    video.requestVideoFrameCallback = () => wait(() => { ++globalThis.reports; });
  });
  await viewer.page.keyboard.press('ArrowRight');  // uses the report that is still awaited
  await viewer.page.waitForFunction(() => document.getElementById('frame').textContent === 'frame 1');
  for (const [key, frame] of [['ArrowRight', 2], ['ArrowRight', 3], ['ArrowLeft', 2], ['End', 299]]) {
    await viewer.page.keyboard.press(key);
    await viewer.page.waitForFunction((text) => document.getElementById('frame').textContent === text,
      `frame ${frame}`);
    await viewer.sees(frame);
  }
  await viewer.close();
});

test('of a manifest no segments are parsed', async () => {
  const page = await browser.newPage();
  await page.addInitScript(() => {
    globalThis.parsed = [];
    const parse = DOMParser.prototype.parseFromString;
    DOMParser.prototype.parseFromString = function (text, type) {
      globalThis.parsed.push(text);
      return parse.call(this, text, type);
    };
  });
  await page.goto(`${server.address}#captions`);
  await page.waitForFunction(() => document.getElementById('facts').textContent !== '');
  assert.match(await page.textContent('#facts'), /^320×180 · /);
  const parsed = await page.evaluate(() => globalThis.parsed);
  assert.equal(parsed.length, 1);
  assert.match(parsed[0], /<SegmentList /);
  assert.doesNotMatch(parsed[0], /<SegmentURL/);
  assert.match(await fs.readFile(path.join(media, 'captions.mpd'), 'utf8'), /<SegmentURL /);
  await page.close();
});

// Runs in the page: notes when the first picture can be displayed, and when the overview is asked for.
function noteStart() {
  addEventListener('DOMContentLoaded', () => {
    const video = document.getElementById('video');
    video.addEventListener('loadeddata', () => { globalThis.pictureAt = performance.now(); });
  });
  const ask = globalThis.fetch;
  globalThis.fetch = (url, options) => {
    if (String(url).includes('/data/overview/')) globalThis.askedAt ??= performance.now();
    return ask(url, options);
  };
}

test('a file is read after its first picture, or where that is late', async () => {
  for (const late of [false, true]) {
    const page = await browser.newPage();
    await page.addInitScript(noteStart);
    if (late) await page.route('**/media/clip.mp4', () => {});  // is never answered
    await page.goto(`${server.address}#clip.mp4`);
    await page.waitForFunction(() => globalThis.askedAt);
    const {pictureAt, askedAt} = await page.evaluate(() => {
      const {pictureAt, askedAt} = globalThis;
      return {pictureAt, askedAt};
    });
    if (late) assert.equal(pictureAt, undefined);
    else assert.ok(askedAt >= Math.min(pictureAt ?? Infinity, 5000), `${askedAt} ${pictureAt}`);
    await page.close();
  }
});
