// Which part of a file the time line shows. Places are frames, or hundredths of a second of a file without video; they
// have fractions.
import {kMerged} from './overview_data.js';

const kFewest = 8;  // places across

export class TimelineView {
  constructor() {
    this.total = 1;
    this.width = 1;  // pixels
    this.from = 0;
    this.span = 1;
  }

  get to() {
    return this.from + this.span;
  }
  get isWhole() {
    return this.span >= this.total;
  }

  // The whole of a file, or what is shown of it when it has grown.
  setTotal(total) {
    const whole = this.isWhole;
    this.total = Math.max(1, total);
    this.#show(whole ? 0 : this.from, whole ? this.total : this.span);
  }

  showAll() {
    this.#show(0, this.total);
  }
  // `factor` above 1 shows less; the place stays where it is.
  zoom(factor, place) {
    const span = this.#bounded(this.span / factor), share = (place - this.from) / this.span;
    this.#show(place - share * span, span);
  }
  // By a share of what is shown.
  move(share) {
    this.#show(this.from + share * this.span, this.span);
  }
  // Moves so that a place is shown, at the start if it was not.
  follow(place) {
    if (place < this.from || place >= this.to) this.#show(place - this.span / 20, this.span);
  }

  xOf(place) {
    return (place - this.from) / this.span * this.width;
  }
  // With its fraction.
  at(x) {
    return this.from + x / this.width * this.span;
  }
  placeAt(x) {
    return Math.min(this.total - 1, Math.max(0, Math.floor(this.at(x))));
  }

  // The first level whose cells are no narrower than a pixel, of those over `perPlace` finest ones a place.
  levelOf(perPlace) {
    let level = 0;
    for (let cells = this.span * perPlace; cells > this.width; cells /= kMerged) ++level;
    return level;
  }

  #bounded(span) {
    return Math.min(this.total, Math.max(Math.min(kFewest, this.total), span));
  }
  #show(from, span) {
    this.span = this.#bounded(span);
    this.from = Math.max(0, Math.min(from, this.total - this.span));
  }
}
