#!/usr/bin/env node
// The served page on a recording of a day, in Chromium: when the first picture is there, when the time line is
// complete, the longest task of the page meanwhile, and the pictures a second while zooming. FMP4 names the program.
import fs from 'node:fs/promises';
import os from 'node:os';
import path from 'node:path';
import {chromium} from '../tests/players/node_modules/playwright-core/index.mjs';
import {run} from '../tests/players/recordings.mjs';
import {serve} from '../tests/players/server.mjs';

const fmp4 = process.env.FMP4;
const kMinutes = 1440, kZooms = 240;
const kPatience = 600_000;  // milliseconds

// Runs in the page: notes what the browser reports.
function observe() {
  globalThis.tasks = [];
  new PerformanceObserver((list) => {
    for (const {startTime, duration} of list.getEntries()) globalThis.tasks.push({startTime, duration});
  }).observe({entryTypes: ['longtask']});
  addEventListener('DOMContentLoaded', () => document.getElementById('video').addEventListener('loadeddata',
    () => { globalThis.firstPicture ??= performance.now(); }));
}

// Runs in the page: zooms in and out at each picture; resolves with the times between the pictures, milliseconds.
function zoom(times) {
  const canvas = document.getElementById('overview'), {width, height} = canvas.getBoundingClientRect();
  return new Promise((resolve) => {
    const between = [];
    let last = null;
    requestAnimationFrame(function next(now) {
      if (last !== null) between.push(now - last);
      last = now;
      if (between.length === times) return resolve(between);
      const deltaY = between.length % 120 < 60 ? -100 : 100, at = canvas.getBoundingClientRect();
      canvas.dispatchEvent(new WheelEvent('wheel', {bubbles: true, cancelable: true, deltaY,
        clientX: at.left + width / 2, clientY: at.top + height / 2}));
      requestAnimationFrame(next);
    });
  });
}

async function makeDay(folder, media) {
  const minute = path.join(folder, 'minute.mp4'), source = path.join(folder, 'source.mp4');
  const quiet = ['-nostdin', '-v', 'error'];
  await run('ffmpeg', ...quiet, '-f', 'lavfi', '-i', 'testsrc2=size=320x180:rate=30', '-f', 'lavfi', '-i',
    'sine=frequency=440:sample_rate=48000', '-t', '60', '-c:v', 'libx264', '-b:v', '80k', '-bf', '0', '-c:a', 'aac',
    '-ac', '2', '-b:a', '48k', minute);
  await run('ffmpeg', ...quiet, '-stream_loop', String(kMinutes - 1), '-i', minute, '-c', 'copy', '-movflags',
    '+frag_keyframe+empty_moov+default_base_moof', source);
  await run(fmp4, '--quiet', 'package', source, '--output', path.join(media, 'day.mp4'));
}

// As bench/measure.h reports figures.
function report(what, value, target) {
  const met = value <= target;
  console.log(`${what.padEnd(62)} ${value.toFixed(2).padStart(10)}   spread -   target <= ${Number(target.toFixed(2))}   ` +
    (met ? 'met' : 'MISSED'));
  return met;
}

const folder = await fs.mkdtemp(path.join(os.tmpdir(), 'day-'));
process.env.FMP4_CACHE = path.join(folder, 'cache');
const media = path.join(folder, 'served');
await fs.mkdir(media);
let met = true;
try {
  await makeDay(folder, media);
  const server = await serve(fmp4, media);
  const browser = await chromium.launch({executablePath: '/usr/bin/chromium', args: ['--no-sandbox']});
  const page = await browser.newPage({viewport: {width: 1280, height: 800}});
  page.setDefaultTimeout(kPatience);
  await page.addInitScript(observe);
  await page.goto(`${server.address}#day`);
  await page.waitForFunction(() => globalThis.firstPicture !== undefined);
  await page.waitForSelector('#lanes[data-state=complete]', {state: 'attached'});
  const complete = await page.evaluate(() => performance.now());
  const {firstPicture, tasks} = await page.evaluate(() => ({firstPicture, tasks}));
  const pictures = (await page.evaluate(zoom, kZooms)).sort((a, b) => a - b);
  const ofZooming = (await page.evaluate(() => globalThis.tasks)).slice(tasks.length);
  const longest = (all) => Math.max(0, ...all.map(({duration}) => duration));
  met = report('a day on the page: seconds to the first picture', firstPicture / 1000, 2) && met;
  met = report('a day on the page: seconds to the complete time line', complete / 1000, 20) && met;
  met = report('a day on the page: longest task meanwhile, milliseconds', longest(tasks), 50) && met;
  met = report('a day on the page: longest task while zooming, milliseconds', longest(ofZooming), 50) && met;
  met = report('a day on the page: milliseconds a picture while zooming, median', pictures[kZooms / 2], 1000 / 59) &&
    met;
  console.log(`${tasks.length} tasks of over 50 ms while it opens, ${ofZooming.length} while zooming; the longest ` +
    `times between pictures ${pictures.slice(-3).map((ms) => ms.toFixed(0)).join(', ')} ms`);
  await browser.close();
  await server.stop();
} finally {
  await fs.rm(folder, {recursive: true});
}
process.exit(met ? 0 : 1);
