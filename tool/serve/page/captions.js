// The CEA-608 captions that a recording stores in a track of their own ("c608"), read from its segments during playback
// and displayed as a text track of the video, in either player.
import {Cea608} from './cea608.js';
import {mediaUrl} from './recording.js';

// The boxes of `view`, each {type, body}; a truncated box at the end is left out.
function* boxesIn(view) {
  for (let at = 0; at + 8 <= view.byteLength;) {
    const size = view.getUint32(at);
    if (size < 8 || at + size > view.byteLength) return;
    const type = String.fromCharCode(...new Uint8Array(view.buffer, view.byteOffset + at + 4, 4));
    yield {type, start: at, body: new DataView(view.buffer, view.byteOffset + at + 8, size - 8)};
    at += size;
  }
}
// The first box at a path ("mdia/mdhd"); undefined when there is none.
function find(view, path) {
  let found = {body: view};
  for (const type of path.split('/')) found = found && [...boxesIn(found.body)].find((box) => box.type === type);
  return found?.body;
}

// The caption track of a movie box: {id, timescale}; undefined when there is none.
function captionTrackIn(movie) {
  for (const {type, body} of boxesIn(movie)) {
    if (type !== 'trak') continue;
    const descriptions = find(body, 'mdia/minf/stbl/stsd');
    const entries = descriptions && new DataView(descriptions.buffer, descriptions.byteOffset + 8, descriptions.byteLength - 8);
    if (!entries || ![...boxesIn(entries)].some((entry) => entry.type === 'c608')) continue;
    const track = find(body, 'tkhd'), media = find(body, 'mdia/mdhd');
    return {
      id: track.getUint32(track.getUint8(0) === 1 ? 20 : 12),
      timescale: media.getUint32(media.getUint8(0) === 1 ? 20 : 12),
    };
  }
  return undefined;
}

// The sample sizes of a run, from its own fields or from the default.
function sizesOf(run, defaultSize) {
  const flags = run.getUint32(0) & 0xffffff, count = run.getUint32(4);
  const fields = [0x100, 0x200, 0x400, 0x800].filter((flag) => flags & flag);
  const start = 8 + (flags & 1 ? 4 : 0) + (flags & 4 ? 4 : 0);
  if (!(flags & 0x200)) return Array(Math.min(count, 0xffff)).fill(defaultSize);
  const sizes = [];
  for (let i = 0, at = start + 4 * fields.indexOf(0x200); i < count && at + 4 <= run.byteLength; ++i) {
    sizes.push(run.getUint32(at));
    at += 4 * fields.length;
  }
  return sizes;
}

// The default sample size of a track fragment header, 0 when it has none.
function defaultSizeOf(header) {
  const flags = header.getUint32(0) & 0xffffff;
  if (!(flags & 0x10)) return 0;
  return header.getUint32(8 + (flags & 0x01 ? 8 : 0) + (flags & 0x02 ? 4 : 0) + (flags & 0x08 ? 4 : 0));
}

// The byte pairs of a segment's caption track, each {time, first, second}, `frameRate` of them a second.
function pairsIn(segment, track, frameRate) {
  const pairs = [];
  for (const {type, start, body} of boxesIn(segment)) {
    if (type !== 'moof') continue;
    for (const {type: inner, body: fragment} of boxesIn(body)) {
      const header = inner === 'traf' ? find(fragment, 'tfhd') : undefined;
      const run = header?.getUint32(4) === track.id ? find(fragment, 'trun') : undefined;
      const decodeTime = run && find(fragment, 'tfdt');
      if (!decodeTime) continue;
      const ticks = decodeTime.getUint8(0) === 1 ? Number(decodeTime.getBigUint64(4)) : decodeTime.getUint32(4);
      let offset = start + run.getInt32(8), frame = 0;
      for (const size of sizesOf(run, defaultSizeOf(header))) {
        if (offset + size > segment.byteLength) break;
        const data = find(new DataView(segment.buffer, segment.byteOffset + offset, size), 'cdat');
        for (let i = 0; data && i + 2 <= data.byteLength; i += 2, ++frame) {
          const time = ticks / track.timescale + frame / frameRate;
          pairs.push({time, first: data.getUint8(i), second: data.getUint8(i + 1)});
        }
        offset += size;
      }
    }
  }
  return pairs;
}

// The texts that byte pairs display, each {start, end, text}.
function cuesOf(pairs, end) {
  const cues = [], decoder = new Cea608();
  let current = {start: 0, text: ''};
  for (const {time, first, second} of pairs) {
    decoder.push(first, second);
    const {text} = decoder;
    if (text === current.text) continue;
    if (current.text) cues.push({...current, end: time});
    current = {start: time, text};
  }
  if (current.text) cues.push({...current, end});
  return cues;
}

async function bytesOf(file, {first, last}) {
  const response = await fetch(mediaUrl(file), {headers: {Range: `bytes=${first}-${last}`}});
  if (response.status !== 206) throw new Error(`${file} cannot be read (${response.status})`);
  return new DataView(await response.arrayBuffer());
}

export class CaptionTrack {
  #description;
  #track;
  #shown;  // text track of the video element
  #pairs = new Map();  // segment number to a promise of its pairs
  #done = new Set();   // segments with cues in the text track

  // Captions of a described recording; null when it has no caption track.
  static async of(description, video) {
    if (!description?.file) return null;
    const movie = find(await bytesOf(description.file, description.initialization), 'moov');
    const track = movie && captionTrackIn(movie);
    return track ? new CaptionTrack(description, track, video) : null;
  }

  constructor(description, track, video) {
    this.#description = description;
    this.#track = track;
    this.#shown = video.addTextTrack('captions', 'CC1', 'en');
    this.#shown.mode = 'disabled';
  }

  // The same recording with more segments.
  set description(description) {
    this.#description = description;
  }

  set visible(on) {
    this.#shown.mode = on ? 'showing' : 'hidden';
  }

  // Updates the captions around `seconds` when they are visible.
  async show(seconds) {
    if (this.#shown.mode !== 'showing') return;
    const segment = Math.floor(seconds / this.#description.segmentSeconds);
    await Promise.all([this.#add(segment), this.#add(segment + 1)]);
  }

  // A caption may be loaded in one segment and appear in the next, so the previous one is read too.
  async #add(segment) {
    if (this.#done.has(segment) || !this.#description.segments[segment]) return;
    this.#done.add(segment);
    const start = segment * this.#description.segmentSeconds, end = start + this.#description.segmentSeconds;
    const pairs = (await Promise.all([this.#read(segment - 1), this.#read(segment)])).flat();
    for (const cue of cuesOf(pairs, end)) {
      if (cue.end > start) this.#shown.addCue(new VTTCue(Math.max(cue.start, start), cue.end, cue.text));
    }
  }

  #read(segment) {
    const range = this.#description.segments[segment];
    if (!range) return [];
    if (!this.#pairs.has(segment)) {
      this.#pairs.set(segment, bytesOf(this.#description.file, range)
        .then((bytes) => pairsIn(bytes, this.#track, this.#description.frameRate)));
    }
    return this.#pairs.get(segment);
  }
}
