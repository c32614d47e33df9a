// Runs in the page: makes pictureNumber(), which reads the number in the displayed frame.
function definePictureNumber({bits, square}) {
  const canvas = document.createElement('canvas');
  const context = canvas.getContext('2d', {willReadFrequently: true});
  globalThis.pictureNumber = () => {
    canvas.width = bits * square;
    canvas.height = square;
    context.drawImage(document.getElementById('video'), 0, 0);
    let number = 0;
    for (let bit = 0; bit < bits; ++bit)
      number += (context.getImageData((bit + 0.5) * square, square / 2, 1, 1).data[0] > 127) << bit;
    return number;
  };
}

// Runs in the page: presses a key as soon as the first frame can be displayed, sooner than a person would.
function pressAtOnce(key) {
  addEventListener('DOMContentLoaded', () => document.getElementById('video').addEventListener('loadeddata',
    () => document.body.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true})), {once: true}));
}

// A served page in Chromium, used as a person would.
import assert from 'node:assert/strict';
import path from 'node:path';
import {kNumberBits, kSquare} from './recordings.mjs';

const kPatience = 60_000;  // milliseconds, for machines that are busy

const kStall = /^mediaError: bufferStalledError: .*"len":([\d.]+),/;

export class Viewer {
  // Opens the page of `address` on a recording; `player` as the page's address names it, or none for its own choice.
  // `firstKey` is pressed at the first frame.
  static async goTo(browser, address, recording, player, firstKey) {
    const viewer = new Viewer();
    viewer.page = await browser.newPage({viewport: {width: 1280, height: 800}});
    viewer.page.setDefaultTimeout(kPatience);
    await viewer.page.addInitScript(definePictureNumber, {bits: kNumberBits, square: kSquare});
    if (firstKey) await viewer.page.addInitScript(pressAtOnce, firstKey);
    viewer.complaints = [];
    viewer.page.on('pageerror', (error) => viewer.complaints.push(error.message));
    viewer.page.on('console', (message) => {
      if (message.type() === 'error') viewer.complaints.push(message.text());
    });
    await viewer.page.goto(`${address}#${encodeURIComponent(recording)}${player ? `/${player}` : ''}`);
    return viewer;
  }

  // The same, and waits for a frame or an error.
  static async open(browser, address, recording, player) {
    const viewer = await Viewer.goTo(browser, address, recording, player);
    await viewer.page.waitForFunction(() =>
      document.getElementById('video').readyState >= HTMLMediaElement.HAVE_CURRENT_DATA ||
      document.querySelector('#messages .fatal'));
    return viewer;
  }

  close() {
    return this.page.close();
  }

  // The messages of the player and the errors of the browser, without those in which hls.js finds playback slow with
  // seconds of media in its buffer: that is the speed of the machine.
  async messages() {
    const said = await this.page.locator('#messages li').allTextContents();
    return [...said.filter((text) => !(Number(kStall.exec(text)?.[1]) > 0.5)), ...this.complaints];
  }

  video(get) {
    return this.page.locator('#video').evaluate(get);
  }

  async play(speed) {
    await this.page.selectOption('#speed', String(speed));
    await this.page.click('#play');
  }

  // dash.js now and then jumps from the end to half a second before it, and pauses there.
  async playToEnd(speed) {
    await this.play(speed);
    await this.page.waitForFunction(() => {
      const video = document.getElementById('video');
      return video.ended || (video.paused && video.currentTime > video.duration - 0.6) ||
        document.querySelector('#messages .fatal');
    });
  }

  // Plays to the end from a time on; returns the frames that the browser has decoded meanwhile.
  async playFrom(seconds, speed) {
    const decoded = () => this.video((video) => video.getVideoPlaybackQuality().totalVideoFrames);
    const before = await decoded();  // the jump decodes some in advance
    await this.seek(seconds);
    await this.playToEnd(speed);
    return await decoded() - before;
  }

  // From now on records about one displayed frame a second. Its media time is between the one that the browser reported
  // last and the playback position; on busy machines they differ.
  async watch() {
    await this.video((video) => {
      globalThis.watched = [];
      const note = (_, {mediaTime: from}) => {
        const {watched} = globalThis;
        if (Math.floor(from) !== Math.floor(watched.at(-1)?.from ?? -1))
          watched.push({from, number: globalThis.pictureNumber(), to: video.currentTime});
        video.requestVideoFrameCallback(note);
      };
      video.requestVideoFrameCallback(note);
    });
  }

  // What has been recorded: [{number, from, to}].
  watched() {
    return this.page.evaluate(() => globalThis.watched);
  }

  // Waits for a frame to be displayed.
  async sees(number) {
    for (const end = Date.now() + kPatience; Date.now() < end;) {
      if (await this.page.evaluate(() => globalThis.pictureNumber()) === number) return;
      await this.page.waitForTimeout(20);
    }
    assert.fail(`frame ${number} is not displayed: ${JSON.stringify(await this.#state())}`);
  }

  // What a failure needs to be understood.
  #state() {
    return this.video(({currentTime, duration, paused, seeking, readyState, buffered}) => ({
      displayed: globalThis.pictureNumber(),
      label: document.getElementById('frame').textContent,
      currentTime, duration, paused, seeking, readyState,
      buffered: [...Array(buffered.length).keys()].map((i) => [buffered.start(i), buffered.end(i)]),
    }));
  }

  // Waits until the player knows of media past `seconds`.
  async canSeekBeyond(seconds) {
    await this.page.waitForFunction((to) => {
      const {seekable} = document.getElementById('video');
      return seekable.length && seekable.end(seekable.length - 1) > to;
    }, seconds);
  }

  async seek(seconds) {
    await this.page.locator('#video').evaluate((video, to) => new Promise((resolve) => {
      video.addEventListener('seeked', resolve, {once: true});
      video.currentTime = to;
    }), seconds);
  }

  // Saves a screenshot in the folder that SHOTS names, if it is set, to be looked at.
  async keepScreenshot(name, options) {
    if (process.env.SHOTS) await this.page.screenshot({path: path.join(process.env.SHOTS, name), ...options});
  }
}
