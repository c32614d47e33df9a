// Recordings in common players. FMP4 names the program; SHOTS a folder for screenshots of the page.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {assertNear, kSoundOverhang, numbers} from './checks.mjs';
import {anyExtension, pictures} from './decoded.mjs';
import {GrowingRecording} from './growing.mjs';
import * as names from './names.mjs';
import {execute, longAudio, record, recordings, run, undivided} from './recordings.mjs';
import {closeStage, makeFolders, openStage} from './stage.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;

const kSpeed = 8;
const kSeeks = 5;
const kEndFrames = 4;  // that may be missing
// Frames that Chromium decodes in advance, and again when its decoder starts anew: when a player jumps (to the first
// frame, or dash.js at the end), and once in Shaka on a busy machine, cause unknown.
const kAheadFrames = 24;

const kLeapBack = 0.6;  // seconds from the end, where dash.js now and then pauses

// Where B-frames delay the first frame: whether it is shown that late, or at zero, and whether the end is as late, or
// where the manifest says. Audio of the delayed video lasts as long as the video.
const players = [
  {player: 'hls.js', delaysStart: true, delaysEnd: true},
  {player: 'dash.js', delaysStart: true, delaysEnd: false},
  {player: 'shaka-dash', delaysStart: true, delaysEnd: true},
  {player: 'shaka-hls', delaysStart: true, delaysEnd: true},
  {player: 'browser', delaysStart: false, delaysEnd: false, endsWithAudio: true},
];

let folder, media, server, browser;
const sources = {};

before(async () => {
  ({folder, media} = await makeFolders('players'));
  for (const recording of recordings) sources[recording.name] = await record(fmp4, recording, media, folder);
  await record(fmp4, undivided, media, folder);
  await record(fmp4, longAudio, media, folder);
  ({server, browser} = await openStage(fmp4, media));
});

after(() => closeStage({folder, server, browser}));

for (const [index, recording] of recordings.entries()) {
  const frameSeconds = recording.rate[1] / recording.rate[0];
  for (const {player, delaysStart, delaysEnd, endsWithAudio} of players) {
    test(names.plays(player)(recording.name), async () => {
      const viewer = await Viewer.open(browser, server.address, recording.name, player);
      const delay = recording.delayed * frameSeconds;
      // Audio in the same file begins at zero, so nothing is shifted.
      const origin = delaysStart || recording.extension === '.ismv' ? delay : 0;
      const endsLate = delaysEnd || (endsWithAudio && recording.audio);
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
      const most = recording.frames + kAheadFrames;
      assert.ok(seen.pictures <= most, `${seen.pictures} frames of ${recording.frames}`);
      // On a busy machine some were missing once at eight times the speed.
      const least = recording.frames - kEndFrames, first = origin + frameSeconds / 2;
      const pictures = seen.pictures >= least ? seen.pictures : await viewer.playFrom(first, 1);
      assert.ok(pictures >= least, `${pictures} frames of ${recording.frames}`);

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
    // ffmpeg's manifest reader takes all packets of a representation to be of one stream.
    if (list === '.xml') {
      test(`ffmpeg mixes up video and audio of ${recording.name}${list}`, async () => {
        await assert.rejects(pictures(`${server.address}media/${recording.name}${list}`), /Invalid NAL unit size/);
      });
      continue;
    }
    test(names.decodes(recording.name, list), async () => {
      const decoded = await pictures(`${server.address}media/${encodeURIComponent(recording.name)}${list}`, options);
      assert.equal(decoded.length, recording.frames);
      assert.deepEqual(decoded, await pictures(sources[recording.name]));
    });
  }
}

// What the players play above: the audio left over at the end gets no segment of its own.
test('a recording in one file ends with its last complete segment', async () => {
  const list = await fs.readFile(path.join(media, 'one-file-full.m3u8'), 'utf8');
  assert.deepEqual([...list.matchAll(/#EXTINF:(.*),/g)].map(([, seconds]) => seconds), ['4.000', '4.000']);
  assert.match(list, /#EXT-X-ENDLIST\n$/);
});

test('ffmpeg that checks extensions refuses .m4v in playlists by default', async () => {
  const decoding = pictures(`${server.address}media/pal.master.m3u8`);
  if (anyExtension.length === 0)
    assert.equal((await decoding).length, 175);
  else
    await assert.rejects(decoding, /extension mov,mp4,m4a,3gp,3g2,mj2,psp,m4b,ism,ismv,isma,f4v,avif mismatches/);
});

test('the page lists what the folder holds and shows the chosen recording', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-b-audio');
  const listed = await viewer.page.locator('#list a').evaluateAll((links) => links.map((link) => link.firstChild.data));
  assert.deepEqual(listed, [...recordings.map(({name}) => name), 'undivided', 'long-audio'].reverse());
  assert.equal(await viewer.page.textContent('#facts'),
    '640×360 · 29.97 frames/s · avc1.64001e + mp4a.40.02 · 00:00:07.674');
  await viewer.page.click('#list a:has-text("pal-b-audio")');
  await viewer.page.waitForFunction(() => document.getElementById('video').videoWidth === 384);
  assert.equal(await viewer.page.textContent('#title'), 'pal-b-audio');
  await viewer.keepScreenshot('chosen.png');
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('the page gives the addresses for players', async () => {
  const name = recordings.find((recording) => recording.name.includes('#')).name;
  const viewer = await Viewer.open(browser, server.address, name);
  const links = await viewer.page.locator('#addresses a').evaluateAll((all) => all.map(({href}) => href));
  assert.deepEqual(links, ['.mpd', '.master.m3u8'].map((suffix) =>
    `${server.address}media/${encodeURIComponent(name)}${suffix}`));
  for (const link of links) assert.equal((await fetch(link)).status, 200);
  await viewer.close();
});

test('the page shows nothing but a message at the address of no recording', async () => {
  const viewer = await Viewer.open(browser, server.address, 'pal');
  await viewer.page.evaluate(() => { location.hash = 'none'; });
  await viewer.page.waitForSelector('#hint:not([hidden])');
  assert.equal(await viewer.page.textContent('#hint'), 'There is no recording “none”.');
  assert.equal(await viewer.page.isVisible('#viewer'), false);
  await viewer.page.click('#list a:has-text("pal-b-audio")');
  await viewer.page.waitForFunction(() => document.getElementById('video').videoWidth === 384);
  assert.equal(await viewer.page.isVisible('#hint'), false);
  await viewer.close();
});

test('the player and its controls fit on windows and telephones', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-b-audio');
  const box = (id) => viewer.page.locator(id).boundingBox();
  await viewer.page.setViewportSize({width: 1200, height: 800});
  const [play, whole] = [await box('#play'), await box('#whole')];
  assert.ok(Math.abs(play.y - whole.y) < play.height / 2, 'controls in one line');
  await viewer.page.setViewportSize({width: 740, height: 360});
  const {y, height} = await box('#play');
  assert.ok(y + height <= 360, 'controls in sight without scrolling');
  await viewer.close();
});

test('the page steps frame by frame, forward and back', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-b-audio');
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

// Waits for the page's own label of the frame that is displayed.
function labelled(viewer, frame) {
  return viewer.page.waitForFunction((text) => document.getElementById('frame').textContent === text, `frame ${frame}`);
}

// Clicks at a share of the time line.
async function clickTimeLine(viewer, share) {
  const {width, height} = await viewer.page.locator('#position').boundingBox();
  await viewer.page.click('#position', {position: {x: share * (width - 1), y: height / 2}});
}

test('the keys work after a click on the time line, a button or a list', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-audio');
  const {keyboard} = viewer.page;
  const paused = () => viewer.video((video) => video.paused);
  await clickTimeLine(viewer, 0.5);
  await viewer.page.waitForFunction(() => Number(document.getElementById('frame').textContent.slice(6)) > 90);
  const middle = Number((await viewer.page.textContent('#frame')).slice(6));
  for (const [key, frame] of [['.', middle + 1], ['.', middle + 2], [',', middle + 1]]) {
    await keyboard.press(key);
    await viewer.sees(frame);
    await labelled(viewer, frame);
  }
  await viewer.page.click('#forward');
  await viewer.sees(middle + 2);
  await keyboard.press(' ');  // plays, and does not press the button again
  await viewer.page.waitForFunction(() => !document.getElementById('video').paused);
  await viewer.page.click('#play');
  assert.equal(await paused(), true);
  await viewer.page.click('#speed');
  await keyboard.press('Escape');
  await keyboard.press(' ');
  await viewer.page.waitForFunction(() => !document.getElementById('video').paused);
  await keyboard.press(' ');
  assert.equal(await paused(), true);
  assert.equal(await viewer.page.inputValue('#speed'), '1');
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('the space bar operates a button that was reached with the Tab key', async () => {
  const viewer = await Viewer.open(browser, server.address, 'ntsc-audio');
  const {keyboard} = viewer.page;
  await clickTimeLine(viewer, 0);
  await labelled(viewer, 0);
  for (let i = 0; i < 3; ++i) await keyboard.press('Tab');  // play, one frame back, one frame forward
  await keyboard.press(' ');
  await viewer.sees(1);
  assert.equal(await viewer.video((video) => video.paused), true);
  await keyboard.press('.');
  await viewer.sees(2);
  await keyboard.press(' ');
  await viewer.sees(3);
  await viewer.close();
});

for (const {player, delaysStart, delaysEnd} of players) {
  // A player that delays the first frame alone loses the last ones, from the last group of B-frames on.
  const losesEnd = delaysStart && !delaysEnd;
  for (const {name, frames} of losesEnd ? [recordings[2]] : [recordings[2], longAudio]) {
    test(`the time line of ${name} ends with the last frame in ${player}`, async () => {
      const viewer = await Viewer.open(browser, server.address, name, player);
      const {keyboard} = viewer.page;
      const duration = (await viewer.page.textContent('#facts')).split(' · ').at(-1);
      await labelled(viewer, 0);
      await viewer.page.focus('#position');
      await keyboard.press('End');
      await viewer.sees(frames - 1);
      await labelled(viewer, frames - 1);
      assert.equal((await viewer.page.textContent('#time')).split(' / ')[1], duration);
      await keyboard.press('.');
      await keyboard.press(',');
      await viewer.sees(frames - 2);
      await labelled(viewer, frames - 2);
      assert.deepEqual(await viewer.messages(), []);
      await viewer.close();
    });
  }
}

test('a step past the last frame stays there also before the times that the file states are known', async () => {
  const withoutTimes = {
    async newPage(options) {
      const page = await browser.newPage(options);
      await page.route('**/data/frames/**', () => {});  // is never answered
      return page;
    },
  };
  const viewer = await Viewer.open(withoutTimes, server.address, longAudio.name, 'shaka-dash');
  const {keyboard} = viewer.page;
  await labelled(viewer, 0);
  await keyboard.press('End');
  await viewer.sees(longAudio.frames - 1);
  for (const key of ['.', '.', ',']) await keyboard.press(key);
  await viewer.sees(longAudio.frames - 2);
  await labelled(viewer, longAudio.frames - 2);
  await viewer.close();
});

// Browsers report a picture after it is displayed, or leave that out.
test('steps go on from the position before its picture is reported', async () => {
  const viewer = await Viewer.open(browser, server.address, longAudio.name, 'shaka-dash');
  const {keyboard} = viewer.page;
  await labelled(viewer, 0);
  for (const key of ['Home', 'Shift+ArrowRight', '.']) await keyboard.press(key);  // 25 frames a second
  await viewer.sees(26);
  for (const key of ['Shift+ArrowRight', ',', 'i']) await keyboard.press(key);
  assert.equal(await viewer.page.textContent('#marks'), '50 – ');
  await viewer.close();
});

// hls.js has not ended its start then.
test('End pressed at the first picture leads to the last one', async () => {
  const viewer = await Viewer.goTo(browser, server.address, longAudio.name, 'hls.js', 'End');
  await viewer.sees(longAudio.frames - 1);
  await labelled(viewer, longAudio.frames - 1);
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

// These players read a static manifest only once.
for (const player of ['dash.js', 'shaka-dash']) {
  test(names.showsWhatThereWas(player), async () => {
    const growing = new GrowingRecording(media, 'ntsc-b-audio', `static-${player.replace('.', '-')}`);
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
  test(`${player} plays segments without a stated duration`, async () => {
    const viewer = await Viewer.open(browser, server.address, undivided.name, player);
    await viewer.playToEnd(kSpeed);
    assert.ok(await viewer.video((video) => video.getVideoPlaybackQuality().totalVideoFrames) >=
      undivided.frames - kEndFrames);
    assert.deepEqual(await viewer.messages(), []);
    await viewer.close();
  });
}

test('dash.js loads no segments without a stated duration, and reports nothing', async () => {
  const viewer = await Viewer.goTo(browser, server.address, undivided.name, 'dash.js');
  await viewer.page.waitForFunction(() => document.getElementById('video').readyState >= HTMLMediaElement.HAVE_METADATA);
  await viewer.page.waitForTimeout(3000);
  assert.equal(await viewer.video((video) => video.buffered.length), 0);
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('Chromium refuses segments without a stated duration', async () => {
  const viewer = await Viewer.open(browser, server.address, undivided.name, 'browser');
  assert.deepEqual(await viewer.messages(), ['4: PipelineStatus::DEMUXER_ERROR_COULD_NOT_PARSE']);
  await viewer.close();
});

test('ffmpeg refuses segments without a stated duration', async () => {
  for (const [list, options] of [['.mpd', []], ['.m3u8', anyExtension], ['.m4v', []]]) {
    await assert.rejects(pictures(`${server.address}media/${undivided.name}${list}`, options),
      /error reading header\n.*Invalid data found when processing input/);
  }
});

test('ffprobe counts the first time of an index in the duration', async () => {
  const duration = async (file) => Number(await run('ffprobe', '-v', 'error', '-show_entries', 'format=duration', '-of',
    'csv=p=0', `${server.address}media/ntsc-b-audio${file}`));
  const video = 230 * 1001 / 30000, audioSegment = 10 * 16 * 1024 / 48000;
  assertNear(await duration('.m4v'), video + 1001 / 30000, 0.001);
  assertNear(await duration('.m4a'), video + audioSegment, 0.1);
});

test('ffprobe ignores byte ranges of manifests on the disk and warns', async () => {
  const {stdout, stderr} = await execute('ffprobe', ['-v', 'warning', '-show_entries', 'stream=codec_name', '-of',
    'csv=p=0', path.join(media, 'ntsc-b-audio.mpd')]);
  assert.match(stdout, /h264[^]*aac/);
  assert.match(stderr, /Found duplicated MOOV Atom\. Skipped it/);
});

for (const {name, extension, audio} of recordings) {
  const [mediaFile, manifest] = extension === '.ismv' ? [extension, '.xml'] : ['.m4v', '.mpd'];
  for (const list of [manifest, '.m3u8', '.master.m3u8']) {
    test(names.describes('ffprobe', name, list), async () => {
      const options = list === manifest ? [] : anyExtension;
      const described = await run('ffprobe', '-v', 'error', ...options, '-show_entries', 'stream=codec_name', '-of',
        'csv=p=0', `${server.address}media/${encodeURIComponent(name)}${list}`);
      // ffprobe lists a stream again for each program that it is in.
      const codecs = [...new Set(described.split('\n').filter(Boolean))].sort();
      const hasAudio = audio && (list !== '.m3u8' || mediaFile === '.ismv');
      assert.deepEqual(codecs, hasAudio ? ['aac', 'h264'] : ['h264']);
    });
  }
  for (const [suffix, format] of [[mediaFile, 'MPEG-4'], [manifest, 'DASH MPD'], ['.m3u8', 'HLS'],
    ['.master.m3u8', 'HLS']]) {
    test(names.describes('MediaInfo', name, suffix), async () => {
      const described =
        await run('mediainfo', '--Output=General;%Format% %VideoCount%', path.join(media, `${name}${suffix}`));
      assert.equal(described.trim(), `${format} 1`);
    });
  }
}
