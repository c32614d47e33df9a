// The captions of a file, drawn over its picture in step with the frame that is shown. The program decodes them
// (docs/json.md, /data/captions); here they are asked for in blocks of frames, and drawn.
import {drawScreen, textOf} from './caption_drawing.js';
import {answerAbout} from './recording.js';
import {strings} from './strings.js';

const kBlock = 300;  // frames
const kMostBlocks = 32;
const kAgainSeconds = 3;  // after which the end of a file in progress is asked for again
const kMostDelayed = 16;  // frames by which captions may be sent later than the frames that show them

const keyOf = (channel) => new URLSearchParams(channel).toString();

export class Captions {
  #file;
  #video;
  #overlay;
  #menu;
  #growing;
  #channel = {channel: 1};
  #chosen = false;   // by the user
  #known = new Map();  // channels that display something, by their keys
  #blocks = new Map();  // by number, those used last at the end: {answer, asked}
  #visible = false;
  #frame;
  #drawn = null;
  #again;  // timer
  #closed = false;

  // `overlay`: an SVG element over the video; `menu`: the select element of the channels; `growing()`: whether the file
  // is in progress.
  constructor(file, {video, overlay, menu, growing}) {
    this.#file = file;
    this.#video = video;
    this.#overlay = overlay;
    this.#menu = menu;
    this.#growing = growing;
    menu.onchange = () => this.#choose(this.#known.get(menu.value) ?? this.#channel, true);
    this.#showMenu();
  }

  close() {
    this.#closed = true;
    this.visible = false;
  }

  set visible(on) {
    this.#visible = on;
    this.#menu.hidden = !on;
    this.#draw();
  }

  // Shows what frame `frame` has, as soon as it is known.
  show(frame) {
    if (this.#closed) return;
    this.#frame = frame;
    this.#draw();
    if (!this.#visible || frame === undefined) return;
    const number = Math.floor(frame / kBlock);
    this.#need(number);
    if (frame % kBlock > kBlock / 2) this.#need(number + 1);
  }

  #choose(channel, chosen) {
    this.#channel = channel;
    this.#chosen = chosen;
    this.#blocks.clear();
    this.#showMenu();
    this.show(this.#frame);
  }

  #draw() {
    const answer = this.#visible ? this.#blocks.get(Math.floor(this.#frame / kBlock))?.answer : undefined;
    const screen = answer?.screens.find(({from, to}) => from <= this.#frame && this.#frame < to) ?? null;
    if (screen === this.#drawn) return;
    this.#drawn = screen;
    drawScreen(this.#overlay, screen, this.#video.videoWidth || 16, this.#video.videoHeight || 9);
    this.#overlay.setAttribute('aria-label', screen ? textOf(screen) : '');
    this.#overlay.toggleAttribute('hidden', !screen);
  }

  #need(number) {
    const block = this.#blocks.get(number);
    if (block && !this.#isStale(block, number)) return;
    const channel = this.#channel, asked = {answer: block?.answer, asked: Date.now(), waiting: true};
    this.#blocks.delete(number);
    this.#blocks.set(number, asked);
    if (this.#blocks.size > kMostBlocks) this.#blocks.delete(this.#blocks.keys().next().value);
    this.#ask(number, channel).then((answer) => {
      if (channel !== this.#channel || this.#closed) return;
      asked.answer = answer;
      this.#learn(answer.channels);
      this.#draw();
      if (!this.#isComplete(answer, number)) this.#askAgain();
    }).catch(() => {}).finally(() => { asked.waiting = false; });
  }

  #isComplete(answer, number) {
    return answer && (answer.frames >= (number + 1) * kBlock + kMostDelayed || !this.#growing());
  }

  // Whether there may be more of a block by now.
  #isStale({answer, asked, waiting}, number) {
    return !this.#isComplete(answer, number) && !waiting && Date.now() - asked >= kAgainSeconds * 1000;
  }

  // While the video is paused nothing else asks.
  #askAgain() {
    clearTimeout(this.#again);
    this.#again = setTimeout(() => this.show(this.#frame), kAgainSeconds * 1000);
  }

  async #ask(number, channel) {
    return answerAbout('captions', this.#file, {...channel, from: number * kBlock, count: kBlock});
  }

  // Until somebody chooses, the first channel that displays something is shown.
  #learn(channels) {
    for (const channel of channels) this.#known.set(keyOf(channel), channel);
    this.#showMenu();
    const [first] = this.#sorted();
    if (!this.#chosen && first && !this.#known.has(keyOf(this.#channel))) this.#choose(first, false);
  }

  #sorted() {
    const order = ({channel, service}) => channel ?? 100 + service;
    return [...this.#known.values()].sort((a, b) => order(a) - order(b));
  }

  #showMenu() {
    const own = keyOf(this.#channel);
    const listed = this.#sorted();
    if (!this.#known.has(own)) listed.unshift(this.#channel);
    const keys = listed.map(keyOf);
    if ([...this.#menu.options].map(({value}) => value).join() !== keys.join()) {
      this.#menu.replaceChildren(...listed.map((each) =>
        new Option(each.service ? strings.service(each.service) : strings.channel(each.channel), keyOf(each))));
    }
    this.#menu.value = own;
  }
}
