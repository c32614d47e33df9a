// The overview of a file as the server reads it: cells of frames and of audio at every level, fetched in tiles as they
// are drawn, and captions of a range. Drawing never waits: `changed` is called when there is more.
import {answerAbout} from './recording.js';

const kTile = 1024;  // cells
const kMostTiles = 256;
const kPollMilliseconds = 300;
const kMostCues = 600;  // of a channel in one answer
export const kMerged = 4;  // cells of one level in a cell of the next

// Kinds of cells: where they come from, and how many finest ones are known and expected.
const kinds = {
  frames: {subject: 'overview-frames', read: ({video}) => video?.read ?? 0, all: ({video}) => video?.frames ?? 0},
  audio: {subject: 'overview-audio', read: ({audio}) => audio?.read ?? 0, all: ({audio}) => audio?.cells ?? 0},
};

export class OverviewData {
  #file;
  #changed;
  #tiles = new Map();  // "kind level number" to {answer, read, asked}, those used last at the end
  #cues = null;  // {from, to, channels}
  #askingCues = false;
  #timer = null;
  #ended = false;

  // `changed()` is called when there is more to draw.
  constructor(file, changed) {
    this.#file = file;
    this.#changed = changed;
    this.streams = null;  // what `overview` says (docs/json.md); null before it does
    this.#poll();
  }

  end() {
    this.#ended = true;
    clearTimeout(this.#timer);
  }

  // Asks again: the file may have grown.
  refresh() {
    if (!this.#ended && this.#timer === null) this.#poll();
  }

  // The answers that hold the cells [from, to) of a level, in order, null for those that are not here yet; these are
  // asked for.
  tiles(kind, level, from, to) {
    const span = kMerged ** level, cells = Math.ceil(kinds[kind].all(this.streams) / span), tiles = [];
    const last = Math.min(to, cells);
    for (let number = Math.floor(Math.max(0, from) / kTile); number * kTile < last; ++number)
      tiles.push(this.#tile(kind, level, number));
    return tiles;
  }

  // The captions known in the frames [from, to); others are asked for.
  captions(from, to) {
    const held = this.#cues;
    const fits = held && held.from <= from && held.to >= to && held.to - held.from <= 6 * (to - from);
    if (!fits && !this.#askingCues && this.streams?.captions?.length) this.#askCues(from, to);
    return held?.channels ?? [];
  }

  async #poll() {
    this.#timer = 0;
    const streams = await answerAbout('overview', this.#file).catch((error) => ({state: 'failed', why: error.message}));
    this.#timer = null;
    if (this.#ended) return;
    const {video, audio} = this.streams ?? {};
    if (video?.frames !== streams.video?.frames || audio?.cells !== streams.audio?.cells) this.#tiles.clear();
    if (this.streams?.captions?.length !== streams.captions?.length) this.#cues = null;
    this.streams = streams;
    if (streams.state === 'reading') this.#timer = setTimeout(() => this.#poll(), kPollMilliseconds);
    this.#changed();
  }

  #tile(kind, level, number) {
    const key = `${kind} ${level} ${number}`, tile = this.#tiles.get(key) ?? {answer: null, read: 0, asked: false};
    this.#tiles.delete(key);
    this.#tiles.set(key, tile);
    if (this.#tiles.size > kMostTiles) this.#tiles.delete(this.#tiles.keys().next().value);
    const {read, all} = kinds[kind], span = kMerged ** level;
    const known = read(this.streams), end = Math.min((number + 1) * kTile * span, all(this.streams));
    if (!tile.asked && tile.read < end && known > Math.max(tile.read, number * kTile * span))
      this.#askTile(kind, level, number, tile, known);
    return tile.answer;
  }

  #askTile(kind, level, number, tile, known) {
    tile.asked = true;
    answerAbout(kinds[kind].subject, this.#file, {level, from: number * kTile, count: kTile}).then((answer) => {
      tile.answer = answer;
      tile.read = known;
    }).catch(() => {}).finally(() => {
      tile.asked = false;
      if (!this.#ended && tile.answer) this.#changed();
    });
  }

  #askCues(from, to) {
    this.#askingCues = true;
    const range = {from: Math.max(0, Math.floor(2 * from - to)), to: Math.ceil(2 * to - from)};
    answerAbout('overview-captions', this.#file, {...range, count: kMostCues * 3}).then(({channels}) => {
      this.#cues = {...range, from: range.from === 0 ? -Infinity : range.from, channels};
    }).catch(() => {}).finally(() => {
      this.#askingCues = false;
      if (!this.#ended && this.#cues) this.#changed();
    });
  }
}
