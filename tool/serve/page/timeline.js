// The time line: lanes of frame sizes, wave forms and captions over the whole file or a few frames of it, on a canvas.
// One moves and zooms in it, reads values, and seeks to the exact frame.
import {OverviewData, kMerged} from './overview_data.js';
import {strings, timeText} from './strings.js';
import {drawAudio, drawCaptions, drawFrames, drawTicks, kHeights} from './timeline_draw.js';
import {bindGestures} from './timeline_gestures.js';
import {TimelineView} from './timeline_view.js';

const kZoomStep = 2;  // of keys and buttons
const kCellsASlice = 6000;  // drawn before the page does other things

const kColours = {
  panel: '--panel', raised: '--raised', text: '--text', faint: '--faint', bar: '--ahead', accent: '--accent',
  rate: '--rate', warning: '--warning',
};

export class Timeline {
  #elements;
  #onSeek;
  #data = null;
  #view = new TimelineView();
  #playhead = 0;
  #marks = {in: null, out: null};
  #drawing = null;  // the lanes that are still to be drawn
  #pointer = null;  // the pixel whose values are read
  #asked = false;

  // `elements`: {root, canvas, playhead, range, reading}; `onSeek(place)`: a frame by the plug-in's count, or a time in
  // hundredths of a second of a file without video.
  constructor(elements, onSeek) {
    this.#elements = elements;
    this.#onSeek = onSeek;
    bindGestures(elements.canvas, {
      zoom: (factor, x) => this.#change(() => this.#view.zoom(factor, this.#view.at(x))),
      move: (share) => this.#change(() => this.#view.move(share)),
      seek: (x) => { if (this.#ready) this.#onSeek(this.#view.placeAt(x)); },
      hover: (x) => this.#point(x),
      leave: () => this.#point(null),
    });
    new ResizeObserver(() => this.#redraw()).observe(elements.canvas);
    matchMedia('(prefers-color-scheme: light)').addEventListener('change', () => this.#redraw());
  }

  // Shows a file; none for null.
  show(file) {
    this.#data?.end();
    this.#data = null;
    this.#view = new TimelineView();
    this.#elements.root.hidden = true;
    this.#elements.reading.textContent = '';
    if (!file) return;
    const data = new OverviewData(file, () => { if (this.#data === data) this.#redraw(); });
    this.#data = data;
  }

  // The file may have grown.
  refresh() {
    this.#data?.refresh();
  }

  get hasVideo() {
    return Boolean(this.#streams?.video);
  }

  // Shows where the picture is: a frame, and its time in seconds.
  moveTo(frame, seconds, playing) {
    if (!this.#ready) return;
    const place = this.hasVideo ? frame : seconds * this.#rate;
    if (place === undefined) return;
    this.#playhead = place;
    if (playing && this.#view.span < this.#view.total) this.#change(() => this.#view.follow(place));
    this.#place();
  }
  // The in and out points, frames by the plug-in's count, or null.
  mark(marks) {
    this.#marks = marks;
    this.#place();
  }

  zoomIn() {
    this.#change(() => this.#view.zoom(kZoomStep, this.#centre));
  }
  zoomOut() {
    this.#change(() => this.#view.zoom(1 / kZoomStep, this.#centre));
  }
  showAll() {
    this.#change(() => this.#view.showAll());
  }
  move(share) {
    this.#change(() => this.#view.move(share));
  }

  // ---- what is shown

  get #streams() {
    return this.#data?.streams;
  }
  get #ready() {
    return Boolean(this.#streams?.video || this.#streams?.audio);
  }
  // Places a second.
  get #rate() {
    const {video, audio} = this.#streams;
    return video ? video.rate / (video.scale || 1) || 1 : audio.cellsASecond;
  }
  get #centre() {
    const {from, to} = this.#view;
    return this.#playhead >= from && this.#playhead < to ? this.#playhead : (from + to) / 2;
  }
  // Finest audio cells a place, and the one at place 0.
  get #audioScale() {
    const {video, audio} = this.#streams;
    if (!video) return {step: 1, start: 0};
    return {step: audio.cellsASecond / this.#rate, start: audio.leadSeconds * audio.cellsASecond};
  }

  #change(change) {
    if (!this.#ready) return;
    change();
    this.#redraw();
  }

  #redraw() {
    if (this.#asked || !this.#data) return;
    this.#asked = true;
    requestAnimationFrame(() => {
      this.#asked = false;
      this.#begin();
    });
  }

  // Lays the lanes out, and draws them in slices.
  #begin() {
    const streams = this.#streams, {root, canvas} = this.#elements;
    if (!streams) return;
    root.hidden = !this.#ready;
    root.dataset.state = streams.state;
    if (!this.#ready) return;
    const view = this.#view, width = canvas.clientWidth, ratio = devicePixelRatio || 1;
    view.width = Math.max(1, width);
    view.setTotal(streams.video ? streams.video.frames : streams.audio.cells);
    const lanes = this.#lanes(), height = lanes.reduce((sum, lane) => sum + lane.height + 1, 0);
    canvas.style.height = `${height}px`;
    const pixels = [Math.round(view.width * ratio), Math.round(height * ratio)];
    if (canvas.width !== pixels[0] || canvas.height !== pixels[1]) [canvas.width, canvas.height] = pixels;
    const context = canvas.getContext('2d'), style = getComputedStyle(root);
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    const colours = Object.fromEntries(
      Object.entries(kColours).map(([name, variable]) => [name, style.getPropertyValue(variable)]));
    let top = 0;
    for (const lane of lanes) {
      Object.assign(lane, {top, width: view.width, colours});
      top += lane.height + 1;
    }
    this.#drawing = {context, lanes, cells: 0};
    this.#place();
    this.#read();
    this.#drawSlice();
  }

  #drawSlice() {
    const drawing = this.#drawing;
    let cells = 0;
    while (drawing.lanes.length && cells < kCellsASlice) cells += drawing.lanes.shift().draw(drawing.context);
    // What tests hold to: the cells of the largest slice so far, and of this drawing.
    const {dataset} = this.#elements.root;
    dataset.mostCells = Math.max(dataset.mostCells ?? 0, cells);
    dataset.cells = drawing.cells += cells;
    if (drawing.lanes.length) requestAnimationFrame(() => { if (this.#drawing === drawing) this.#drawSlice(); });
  }

  #lanes() {
    const {video, audio} = this.#streams, lanes = [];
    const add = (height, draw) => {
      const lane = {height, draw: (context) => draw(context, lane)};
      lanes.push(lane);
    };
    if (video) {
      add(kHeights.ticks, (context, lane) => drawTicks(context, lane, this.#cells('frames', 1, 0)));
      const name = strings.lanes.frames;
      add(kHeights.frames, (context, lane) => drawFrames(context, lane, {...this.#cells('frames', 1, 0), name}));
    }
    for (let channel = 0; channel < (audio?.channels ?? 0); ++channel) {
      const name = strings.lanes.channel(channel + 1);
      add(kHeights.audio, (context, lane) => drawAudio(context, lane, {...this.#audioCells(), channel, name}));
    }
    for (const name of this.#streams.captions) {
      add(kHeights.captions, (context, lane) => {
        const {from, to} = this.#view, found = this.#data.captions(from, to).find(({channel}) => channel === name);
        return drawCaptions(context, lane, {cues: found?.cues ?? [], xOf: (frame) => this.#view.xOf(frame), name});
      });
    }
    return lanes;
  }

  // The cells of a kind that are shown, of which there are `step` finest ones a place, `start` at place 0.
  #cells(kind, step, start) {
    const view = this.#view, level = view.levelOf(step), span = kMerged ** level;
    const from = Math.max(0, Math.floor((view.from * step + start) / span));
    const to = Math.ceil((view.to * step + start) / span);
    return {
      tiles: this.#data.tiles(kind, level, from, to), from, to, level, span,
      cellsASecond: this.#rate * step / span,
      xOf: (index) => view.xOf((index * span - start) / step),
    };
  }
  #audioCells() {
    const {step, start} = this.#audioScale, cells = this.#cells('audio', step, start);
    const samplesACell = this.#streams.audio.sampleRate / this.#streams.audio.cellsASecond, seen = new Set();
    const faults = cells.tiles.flatMap((answer) => answer?.faults ?? []).filter(({kind, from}) => {
      const key = `${kind} ${from}`;
      return !seen.has(key) && seen.add(key);
    });
    return {...cells, faults, xOfSample: (sample) => this.#view.xOf((sample / samplesACell - start) / step)};
  }

  // Places what is over the canvas, and says where it is.
  #place() {
    const {canvas, playhead, range} = this.#elements, view = this.#view;
    if (!this.#ready) return;
    const x = view.xOf(Math.floor(this.#playhead) + (this.hasVideo ? 0.5 : 0));
    playhead.hidden = x < 0 || x > view.width;
    playhead.style.transform = `translateX(${x}px)`;
    const {in: first, out: last} = this.#marks;
    range.hidden = first === null && last === null;
    const left = Math.max(0, view.xOf(first ?? 0));
    const right = Math.min(view.width, view.xOf((last ?? view.total - 1) + 1));
    range.style.transform = `translateX(${left}px)`;
    range.style.width = `${Math.max(0, right - left)}px`;
    canvas.setAttribute('aria-valuemin', 0);
    canvas.setAttribute('aria-valuemax', view.total - 1);
    canvas.setAttribute('aria-valuenow', Math.floor(this.#playhead));
    canvas.setAttribute('aria-valuetext', strings.timelineValue(
      timeText(this.#playhead / this.#rate), timeText(view.from / this.#rate), timeText(view.to / this.#rate)));
  }

  #point(x) {
    this.#pointer = x;
    this.#read();
  }

  // Writes the values at the pointer.
  #read() {
    if (this.#pointer === null) this.#elements.reading.textContent = '';
    if (this.#pointer === null || !this.#ready) return;
    const place = this.#view.placeAt(this.#pointer), texts = [timeText(place / this.#rate)];
    const at = ({tiles, span}, finest) => {
      const index = Math.floor(finest / span), has = ({from, bytes, peak}) =>
        index >= from && index < from + ((bytes ?? peak[0])?.length ?? 0);
      const answer = tiles.find((tile) => tile && has(tile));
      return answer && {answer, at: index - answer.from, index};
    };
    if (this.#streams.video) {
      const cells = this.#cells('frames', 1, 0), cell = at(cells, place);
      if (cell) {
        const {answer, at: i, index} = cell;
        texts.push(strings.framesRead(index * cells.span, answer.frames[i], answer.bytes[i], answer.keys[i]));
      }
    }
    if (this.#streams.audio) {
      const {step, start} = this.#audioScale, cell = at(this.#cells('audio', step, start), place * step + start);
      const values = (channels) => channels.map((all) => all[cell.at]);
      if (cell) texts.push(strings.audioRead(values(cell.answer.peak), values(cell.answer.rms)));
    }
    for (const {channel, cues} of this.hasVideo ? this.#data.captions(this.#view.from, this.#view.to) : [])
      for (const {first, end, text} of cues)
        if (text && first <= place && place < end) texts.push(`${channel}: ${text.replaceAll('\n', ' ')}`);
    this.#elements.reading.textContent = texts.join(' · ');
  }
}
