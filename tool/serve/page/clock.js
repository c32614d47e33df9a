// Which frame is shown when. Both clocks count frames in the order in which they are shown, from 0, and seconds from
// the first of them: frameAt(seconds) and middleOf(frame), the middle of the time in which a frame is shown, at which
// rounding cannot select a neighbour.
import {answerAbout} from './recording.js';

// Frames of equal duration.
export class SteadyClock {
  constructor(rate) {
    this.rate = rate;
  }

  // The number of frames is not known.
  get frames() {
    return undefined;
  }
  get seconds() {
    return undefined;
  }
  // When the first frame is presented, in seconds of the file: browsers apply its edit list.
  get start() {
    return undefined;
  }

  frameAt(seconds) {
    return Math.round(seconds * this.rate);
  }
  deliveredAs() {
    return undefined;
  }
  async shownAs(number) {
    return number;
  }
  middleOf(frame) {
    return (frame + 0.5) / this.rate;
  }
  async know() {}
  async knowAt() {}
}

const kBlock = 500;  // frames
const kMostBlocks = 64;
const kMostReordered = 32;  // places between where a frame is delivered and shown

// The times that the file states, asked of the server as they are needed.
export class StatedClock {
  #file;
  #rate;
  #blocks = new Map();    // number of a block to its answer, those used last at the end
  #asked = new Map();     // promises of blocks
  #total;
  #timescale;
  #first = 0;   // composition time of the first frame, seconds
  #start = 0;

  // The clock of a file that the plug-in describes; null when its times are not known.
  static async of(file, description) {
    if (!description?.accepted || !description.video || !description.video.frames) return null;
    const clock = new StatedClock(file, description.video.rate / description.video.scale);
    try {
      const first = await clock.#block(0);
      // The plug-in leaves out fragments that this count includes: a segment index without them, for example.
      return first.frames === description.video.frames && first.ticks.length ? clock : null;
    } catch {
      return null;
    }
  }

  constructor(file, rate) {
    this.#file = file;
    this.#rate = rate;
  }

  get frames() {
    return this.#total;
  }
  get start() {
    return this.#start;
  }
  get rate() {
    return this.#rate;
  }

  // The frame whose time is nearest to `seconds`; undefined when that part is not known yet.
  frameAt(seconds) {
    const ticks = (seconds + this.#first) * this.#timescale;
    for (const [number, {ticks: times}] of this.#blocks) {
      const after = this.#blocks.get(number + 1)?.ticks[0] ?? (this.#isLast(number) ? Infinity : times.at(-1));
      const before = number === 0 ? -Infinity : times[0] - 0.5;
      if (ticks < before || ticks >= after - 0.5) continue;
      return number * kBlock + nearest(times, ticks);
    }
    return undefined;
  }

  // The number of a frame as the plug-in delivers it.
  deliveredAs(frame) {
    return this.#blocks.get(Math.floor(frame / kBlock))?.delivered[frame % kBlock];
  }

  // The number of the frame that the plug-in delivers as `number`.
  async shownAs(number) {
    for (const near of [number, number - kMostReordered, number + kMostReordered]) await this.know(near);
    for (let away = 0; away <= kMostReordered; ++away)
      for (const frame of [number - away, number + away]) if (this.deliveredAs(frame) === number) return frame;
    return number;
  }

  // Undefined when that part is not known yet.
  middleOf(frame) {
    const time = this.#ticksOf(frame), next = this.#ticksOf(frame + 1);
    if (time === undefined) return undefined;
    // A browser goes by the duration that the file states, which may be shorter than the time to the next frame.
    const usual = this.#timescale / this.#rate;
    return (time + Math.min(usual, (next ?? Infinity) - time) / 2) / this.#timescale - this.#first;
  }

  // Fetches what frameAt and middleOf need around a frame, or around a time.
  async know(frame) {
    const number = Math.floor(Math.min(Math.max(frame, 0), this.#total - 1) / kBlock);
    await this.#block(number);
    if (frame % kBlock > kBlock - 50 && !this.#isLast(number)) await this.#block(number + 1);
  }
  async knowAt(seconds) {
    const at = Math.max(0, seconds + this.#first);
    const {from} = await answerAbout('frames', this.#file, {at: at.toFixed(6), count: 1});
    const number = Math.floor(from / kBlock);
    for (const each of [number, number + 1, number - 1]) {
      if (each < 0 || each * kBlock >= this.#total) continue;
      await this.#block(each);
      if (this.frameAt(seconds) !== undefined) return;
    }
  }

  #isLast(number) {
    return (number + 1) * kBlock >= this.#total;
  }
  #ticksOf(frame) {
    return this.#blocks.get(Math.floor(frame / kBlock))?.ticks[frame % kBlock];
  }

  #block(number) {
    const kept = this.#blocks.get(number);
    if (kept) {
      this.#blocks.delete(number);
      this.#blocks.set(number, kept);
      return Promise.resolve(kept);
    }
    if (!this.#asked.has(number)) {
      const asked = answerAbout('frames', this.#file, {from: number * kBlock, count: kBlock})
        .then((answer) => this.#keep(number, answer))
        .finally(() => this.#asked.delete(number));
      this.#asked.set(number, asked);
    }
    return this.#asked.get(number);
  }

  #keep(number, answer) {
    this.#total = answer.frames;
    this.#timescale = answer.timescale;
    if (number === 0 && answer.ticks.length) {
      this.#first = answer.ticks[0] / answer.timescale;
      this.#start = answer.seconds[0];
    }
    this.#blocks.set(number, answer);
    if (this.#blocks.size > kMostBlocks) this.#blocks.delete(this.#blocks.keys().next().value);
    return answer;
  }
}

// The index of the nearest of ascending numbers.
function nearest(numbers, number) {
  let low = 0, high = numbers.length - 1;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (numbers[middle] < number) low = middle + 1;
    else high = middle;
  }
  return low > 0 && number - numbers[low - 1] < numbers[low] - number ? low - 1 : low;
}
