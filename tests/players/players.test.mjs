// Recordings in the players that people use. FMP4 names the program; SHOTS a folder for pictures of the page.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import os from 'node:os';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {chromium} from 'playwright-core';
import {GrowingRecording} from './growing.mjs';
import {LiveRecording} from './live.mjs';
import {execute, makeSource, record, recordings, run, undivided} from './recordings.mjs';
import {serve} from './server.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;
const shots = process.env.SHOTS;

const kSpeed = 8;
const kSeeks = 5;
const kEndFrames = 4;  // that may be missing
const kAheadFrames = 24;  // that Chromium decodes ahead, and again when a player leaps to the first picture

const kSoundOverhang = 0.05;  // seconds that coded sound may last beyond the pictures

const kLeapBack = 0.6;  // seconds from the end, where dash.js now and then pauses

// Where B-frames delay the first picture: whether it is shown that late, or at zero, and whether the end is as late,
// or where the manifest says. Sound that goes with the delayed pictures lasts as long as they do.
const players = [
  {player: 'hls.js', delaysStart: true, delaysEnd: true},
  {player: 'dash.js', delaysStart: true, delaysEnd: false},
  {player: 'shaka-dash', delaysStart: true, delaysEnd: true},
  {player: 'shaka-hls', delaysStart: true, delaysEnd: true},
  {player: 'browser', delaysStart: false, delaysEnd: false, endsWithSound: true},
];

let folder, media, server, browser;
const sources = {};

before(async () => {
  folder = await fs.mkdtemp(path.join(os.tmpdir(), 'players-'));
  media = path.join(folder, 'served');
  await fs.mkdir(media);
  const captions = path.join(folder, 'captions.scc');
  await fs.writeFile(captions, 'Scenarist_SCC V1.0\n\n' +
    '00:00:00:10\t9420 9420 94ae 94ae 9470 9470 c8e5 ecec ef80 942c 942c 942f 942f\n\n' +
    '00:00:02:10\t9420 9420 94ae 94ae 9470 9470 57ef f2ec 6480 942c 942c 942f 942f\n\n' +
    '00:00:04:10\t942c 942c\n\n');
  for (const recording of recordings) sources[recording.name] = await record(fmp4, recording, media, folder);
  await record(fmp4, {...recordings[0], name: 'captions'}, media, folder, captions);
  await record(fmp4, undivided, media, folder);
  server = await serve(fmp4, media);
  browser = await chromium.launch({executablePath: '/usr/bin/chromium', args: ['--no-sandbox']});
});

after(async () => {
  await browser?.close();
  assert.equal(await server?.stop(), 0);
  await fs.rm(folder, {recursive: true});
});

// Numbers from 0 up to `below` that are the same in every run (Lehmer).
function numbers(seed, count, below) {
  let state = seed;
  return Array.from({length: count}, () => {
    state = state * 48271 % 2147483647;
    return state % below;
  });
}

function assertNear(value, expected, tolerance) {
  assert.ok(Math.abs(value - expected) <= tolerance, `${value} is not ${expected} within ${tolerance}`);
}

// The MD5 of every picture that ffmpeg decodes.
async function pictures(input, options = []) {
  const text = await run('ffmpeg', '-nostdin', '-v', 'error', '-xerror', ...options, '-i', input, '-map', '0:v:0',
    '-fps_mode', 'passthrough', '-f', 'framemd5', '-');
  return text.split('\n').filter((line) => line && !line.startsWith('#'))
    .map((line) => line.split(',').at(-1).trim());
}

// What makes ffmpeg take media of any extension, where it has to be told.
const anyExtension = (await run('ffmpeg', '-v', 'error', '-h', 'demuxer=hls')).includes('extension_picky') ?
  ['-extension_picky', '0'] : [];

for (const [index, recording] of recordings.entries()) {
  const frameSeconds = recording.rate[1] / recording.rate[0];
  for (const {player, delaysStart, delaysEnd, endsWithSound} of players) {
    test(`${player} plays ${recording.name} to the end and seeks in it`, async () => {
      const viewer = await Viewer.open(browser, server.address, recording.name, player);
      const delay = recording.delayed * frameSeconds;
      // Sound in the same file begins at zero, so that nothing is shifted.
      const origin = delaysStart || recording.extension === '.ismv' ? delay : 0;
      const endsLate = delaysEnd || (endsWithSound && recording.sound);
      const end = recording.frames * frameSeconds + (endsLate ? delay : 0);

      await viewer.playToEnd(kSpeed);
      const seen = await viewer.video((video) => ({
        width: video.videoWidth,
        height: video.videoHeight,
        time: video.currentTime,
        ended: video.ended,
        pictures: video.getVideoPlaybackQuality().totalVideoFrames,
        spoiled: video.getVideoPlaybackQuality().corruptedVideoFrames,
      }));
      assert.deepEqual(await viewer.messages(), []);
      assert.equal(seen.width, recording.width);
      assert.equal(seen.height, recording.height);
      assert.equal(seen.spoiled, 0);
      if (player !== 'dash.js') assert.equal(seen.ended, true);
      assertNear(seen.time, end, seen.ended ? kSoundOverhang : kLeapBack);
      const most = recording.frames + (recording.delayed ? kAheadFrames : 0);
      assert.ok(seen.pictures >= recording.frames - kEndFrames && seen.pictures <= most,
        `${seen.pictures} pictures of ${recording.frames}`);

      for (const frame of numbers(index + 1, kSeeks, recording.frames - kEndFrames)) {
        await viewer.seek(origin + (frame + 0.5) * frameSeconds);
        await viewer.sees(frame);
      }
      assert.deepEqual(await viewer.messages(), []);
      await viewer.close();
    });
  }

  const manifest = recording.extension === '.ismv' ? '.xml' : '.mpd';
  for (const [list, options] of [[manifest, []], ['.master.m3u8', anyExtension], ['.m3u8', anyExtension]]) {
    // ffmpeg's reader of manifests takes all packets of a representation for those of one stream.
    if (list === '.xml') {
      test(`ffmpeg mixes up picture and sound of ${recording.name}${list}`, async () => {
        await assert.rejects(pictures(`${server.address}media/${recording.name}${list}`), /Invalid NAL unit size/);
      });
      continue;
    }
    test(`ffmpeg decodes ${recording.name}${list} over HTTP to the last picture`, async () => {
      const decoded = await pictures(`${server.address}media/${encodeURIComponent(recording.name)}${list}`, options);
      assert.equal(decoded.length, recording.frames);
      assert.deepEqual(decoded, await pictures(sources[recording.name]));
    });
  }
}

test('ffmpeg that minds extensions refuses .m4v in playlists unless told', async () => {
  const decoding = pictures(`${server.address}media/pal.master.m3u8`);
  if (anyExtension.length === 0)
    assert.equal((await decoding).length, 175);
  else
    await assert.rejects(decoding, /extension mov,mp4,m4a,3gp,3g2,mj2,psp,m4b,ism,ismv,isma,f4v,avif mismatches/);
});

test('the page lists what the folder holds and shows the chosen recording', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-b-sound');
  const listed = await viewer.page.locator('#list a').evaluateAll((links) => links.map((link) => link.firstChild.data));
  assert.deepEqual(listed, [...recordings.map(({name}) => name), 'captions', 'undivided'].sort());
  assert.equal(await viewer.page.textContent('#facts'),
    '640×360 · 29.97 frames/s · avc1.64001e + mp4a.40.02 · 00:00:07.670');
  await viewer.page.click('#list a:has-text("pal-b-sound")');
  await viewer.page.waitForFunction(() => document.getElementById('video').videoWidth === 384);
  assert.equal(await viewer.page.textContent('#title'), 'pal-b-sound');
  if (shots) await viewer.page.screenshot({path: path.join(shots, 'chosen.png')});
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('the page steps frame by frame, forward and back', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-b-sound');
  await viewer.seek((2 + 97.5) * 1001 / 30000);
  await viewer.sees(97);
  for (const [button, frame] of [['#forward', 98], ['#forward', 99], ['#forward', 100], ['#back', 99]]) {
    await viewer.page.click(button);
    await viewer.sees(frame);
    await viewer.page.waitForFunction((text) => document.getElementById('frame').textContent === text, `frame ${frame}`);
  }
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

for (const {player} of players) {
  test(`captions are shown beside ${player}`, async () => {
    const viewer = await Viewer.open(browser, server.address, 'captions', player);
    await viewer.page.click('#captions');
    const shown = () => viewer.video((video) => [...video.textTracks].filter(({mode}) => mode === 'showing')
      .flatMap(({activeCues}) => [...activeCues]).map(({text}) => text).join());
    for (const [seconds, text] of [[1, 'Hello'], [3, 'World'], [5, '']]) {
      await viewer.seek(seconds);
      const end = Date.now() + 20_000;
      while (await shown() !== text && Date.now() < end) await viewer.page.waitForTimeout(50);
      assert.equal(await shown(), text);
      if (shots && text) await viewer.page.screenshot({path: path.join(shots, `captions-${player}.png`)});
    }
    assert.deepEqual(await viewer.messages(), []);
    await viewer.close();
  });
}

for (const player of ['hls.js', 'shaka-hls']) {
  test(`a recording is watched with ${player} while it is made`, async () => {
    const recording = {name: `live-${player.replace('.', '-')}`, rate: [25, 1], frames: 300, delayed: 2, sound: true,
      width: 320, height: 180};
    const source = await makeSource(recording, folder);
    const live = new LiveRecording(fmp4, source, media, recording.name);
    await live.segments(1);
    const viewer = await Viewer.open(browser, server.address, recording.name, player);
    assert.match(await viewer.page.textContent('#facts'), /not ended$/);
    if (shots) await viewer.page.screenshot({path: path.join(shots, `${recording.name}.png`)});
    const seekableTo = (seconds) => viewer.page.waitForFunction((to) => {
      const {seekable} = document.getElementById('video');
      return seekable.length && seekable.end(seekable.length - 1) > to;
    }, seconds);
    await seekableTo(7);
    await viewer.seek((2 + 150.5) / 25);
    await viewer.sees(150);
    await viewer.seek(0.1);
    await viewer.play(1);
    assert.equal(await live.end(), 0);
    await viewer.page.waitForFunction(() => document.getElementById('facts').textContent.endsWith('00:00:12.000'));
    await viewer.page.waitForFunction(() => document.getElementById('video').ended);
    assertNear(await viewer.video((video) => video.currentTime), 12.08, kSoundOverhang);
    assert.deepEqual(await viewer.messages(), []);
    await viewer.close();
  });
}

// What a static manifest is to these players: they read it once.
for (const player of ['dash.js', 'shaka-dash']) {
  test(`${player} shows of a recording in progress what there was when it was opened`, async () => {
    const growing = new GrowingRecording(media, 'ntsc-b-sound', `static-${player.replace('.', '-')}`);
    await growing.write(1);
    const viewer = await Viewer.open(browser, server.address, growing.name, player);
    await growing.write(2);
    await viewer.playToEnd(kSpeed);
    const endTime = (shown) => shown.video((video) => video.currentTime);
    assert.ok(await endTime(viewer) < 3.5);
    const again = await Viewer.open(browser, server.address, growing.name, player);
    await again.playToEnd(kSpeed);
    assert.ok(await endTime(again) > 6);
    for (const each of [viewer, again]) {
      assert.deepEqual(await each.messages(), []);
      await each.close();
    }
  });
}

for (const player of ['hls.js', 'shaka-dash', 'shaka-hls']) {
  test(`${player} plays segments of no stated length`, async () => {
    const viewer = await Viewer.open(browser, server.address, undivided.name, player);
    await viewer.playToEnd(kSpeed);
    assert.ok(await viewer.video((video) => video.getVideoPlaybackQuality().totalVideoFrames) >=
      undivided.frames - kEndFrames);
    assert.deepEqual(await viewer.messages(), []);
    await viewer.close();
  });
}

test('dash.js loads no segments of no stated length, and says nothing', async () => {
  const viewer = await Viewer.goTo(browser, server.address, undivided.name, 'dash.js');
  await viewer.page.waitForFunction(() => document.getElementById('video').readyState >= HTMLMediaElement.HAVE_METADATA);
  await viewer.page.waitForTimeout(3000);
  assert.equal(await viewer.video((video) => video.buffered.length), 0);
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('Chromium refuses segments of no stated length', async () => {
  const viewer = await Viewer.open(browser, server.address, undivided.name, 'browser');
  assert.deepEqual(await viewer.messages(), ['4: PipelineStatus::DEMUXER_ERROR_COULD_NOT_PARSE']);
  await viewer.close();
});

test('ffmpeg refuses segments of no stated length', async () => {
  for (const [list, options] of [['.mpd', []], ['.m3u8', anyExtension], ['.m4v', []]]) {
    await assert.rejects(pictures(`${server.address}media/${undivided.name}${list}`, options),
      /error reading header\n.*Invalid data found when processing input/);
  }
});

test('ffprobe takes the first time of an index into the duration', async () => {
  const duration = async (file) => Number(await run('ffprobe', '-v', 'error', '-show_entries', 'format=duration', '-of',
    'csv=p=0', `${server.address}media/ntsc-b-sound${file}`));
  const video = 230 * 1001 / 30000, soundSegment = 10 * 16 * 1024 / 48000;
  assertNear(await duration('.m4v'), video + 1001 / 30000, 0.001);
  assertNear(await duration('.m4a'), video + soundSegment, 0.1);
});

test('ffprobe ignores byte ranges of manifests on the disk and warns', async () => {
  const {stdout, stderr} = await execute('ffprobe', ['-v', 'warning', '-show_entries', 'stream=codec_name', '-of',
    'csv=p=0', path.join(media, 'ntsc-b-sound.mpd')]);
  assert.match(stdout, /h264[^]*aac/);
  assert.match(stderr, /Found duplicated MOOV Atom\. Skipped it/);
});

test('MediaInfo describes media, manifest and playlists', async () => {
  const described = (file) => run('mediainfo', '--Output=General;%Format% %VideoCount%', path.join(media, file));
  for (const [suffix, format] of [['.m4v', 'MPEG-4'], ['.mpd', 'DASH MPD'], ['.m3u8', 'HLS'], ['.master.m3u8', 'HLS']])
    assert.equal((await described(`ntsc-b-sound${suffix}`)).trim(), `${format} 1`);
});
