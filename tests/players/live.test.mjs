// A recording of a minute that is fed in real time: players follow it while it is made, and it is killed. FMP4 names
// the program; SHOTS a folder for screenshots of the page.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import path from 'node:path';
import {after, before, describe, test} from 'node:test';
import {setTimeout as wait} from 'node:timers/promises';
import {assertNear, kSoundOverhang, numbers} from './checks.mjs';
import {anyLocalExtension, pictures} from './decoded.mjs';
import {LiveFeed} from './live.mjs';
import * as names from './names.mjs';
import {execute, makeSource} from './recordings.mjs';
import {closeStage, makeFolders, openStage} from './stage.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;

const kRate = 25;
const kMinute = {name: 'minute', rate: [kRate, 1], frames: 60 * kRate, delayed: 2, audio: true, width: 320,
  height: 180};
const kSegmentFrames = 100;
const kFollowedSegments = 12;  // of fifteen, so that slow machines see them before the end
const kWatched = 50;  // seconds of the minute, at least

const kEarliest = 3000, kLatest = 59000;  // milliseconds
const kills = numbers(20161122, 20, kLatest - kEarliest).map((moment, index) => ({
  milliseconds: kEarliest + moment,
  ...index % 2 ? {output: 'killed.ismv', media: 'killed.ismv'} : {output: 'killed.mp4', media: 'killed.m4v'},
}));

let folder, media, server, browser, originals;

// The exit code of a command and the last line that it prints.
async function verdict(command, file) {
  const {code, stdout} = await execute(fmp4, [command, file]).then((done) => ({code: 0, ...done}), (error) => error);
  return {code, line: stdout.trimEnd().split('\n').at(-1)};
}

// Checks that `decoded` are the first `count` frames of the source.
function assertFirst(count, decoded) {
  assert.deepEqual(decoded, originals.slice(0, count));
}

// One after the other, so that the players keep up.
let lastCheck = Promise.resolve();
function inTurn(check) {
  const checked = lastCheck.then(check);
  lastCheck = checked.catch(() => {});
  return checked;
}

async function checkKilled({folder: killed, media, live}) {
  const file = path.join(killed, media);
  const {code, line} = await verdict('verify', file);
  assert.equal(code, 1);
  assert.match(line, /is not intact: \d+ problems?; run: fmp4 repair/);

  const list = await fs.readFile(live.playlist, 'utf8');
  const listed = kSegmentFrames * (list.split('#EXTINF').length - 1);
  const ended = path.join(killed, 'listed.m3u8');
  await fs.writeFile(ended, `${list}#EXT-X-ENDLIST\n`);
  assertFirst(listed, listed ? await pictures(ended, anyLocalExtension) : []);

  assert.deepEqual(await verdict('repair', file), {code: 0, line: `${file} is intact again`});
  assert.equal((await verdict('verify', file)).code, 0);
  const kept = await pictures(live.playlist, anyLocalExtension);
  assert.ok(kept.length > 0 && kept.length >= listed);
  assertFirst(kept.length, kept);
}

describe('a minute in real time', {concurrency: 2 + kills.length}, () => {
  before(async () => {
    ({folder, media} = await makeFolders('live'));
    const source = await makeSource(kMinute, folder);
    originals = await pictures(source);
    ({server, browser} = await openStage(fmp4, media));
    for (const [index, kill] of kills.entries()) {
      kill.folder = path.join(folder, `kill-${index}`);
      await fs.mkdir(kill.folder);
    }
    const feed = new LiveFeed(source);
    kMinute.live = feed.record(fmp4, path.join(media, 'minute.mp4'));
    for (const kill of kills) kill.live = feed.record(fmp4, path.join(kill.folder, kill.output));
  });

  after(() => closeStage({folder, server, browser}));

  for (const player of ['hls.js', 'shaka-hls']) {
    test(names.follows(player), async () => {
      const {live, frames, delayed} = kMinute;
      await live.segments(1);
      const viewer = await Viewer.open(browser, server.address, kMinute.name, player);
      assert.match(await viewer.page.textContent('#facts'), /not ended$/);
      await viewer.seek(0.1);
      await viewer.watch();
      await viewer.play(1);
      for (let segments = 2; segments <= kFollowedSegments; ++segments) {
        await live.segments(segments);
        await viewer.canSeekBeyond((segments - 0.5) * kSegmentFrames / kRate);
        assert.equal(live.ended, false);
      }
      await viewer.keepScreenshot(`live-${player}.png`);

      assert.deepEqual(await live.end(), {code: 0, signal: null});
      await viewer.page.waitForFunction(() => document.getElementById('facts').textContent.endsWith('00:01:00.000'));
      await viewer.page.waitForFunction(() => document.getElementById('video').ended);
      const end = (frames + delayed) / kRate;
      assertNear(await viewer.video((video) => video.duration), end, kSoundOverhang);
      assert.ok(await viewer.video((video) => video.currentTime) >= end - kSoundOverhang);
      const watched = await viewer.watched();
      assert.ok(watched.length >= kWatched, `${watched.length} frames watched`);
      assert.ok(watched.at(-1).number >= frames - kRate);
      for (const {number, from, to} of watched) {
        const [first, played] = [from, to].map((time) => Math.floor(time * kRate + 0.5) - delayed);
        // A frame may be displayed just before its time, the next one while its number is read.
        const last = Math.max(first, played) + 1;
        assert.ok(first <= number && number <= last, `frame ${number} of ${first} to ${last}`);
      }
      assert.deepEqual(await viewer.messages(), []);
      await viewer.close();
    });
  }

  for (const kill of kills) {
    test(`killed after ${kill.milliseconds} ms, ${kill.output} keeps what it listed`, async () => {
      await wait(kill.milliseconds);
      assert.deepEqual(await kill.live.kill(), {code: null, signal: 'SIGKILL'});
      await inTurn(() => checkKilled(kill));
    });
  }
});
