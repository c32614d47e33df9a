// The tree of a file's boxes (docs/json.md, /data/boxes), loaded as far as it is opened, and the chosen box with its
// fields and bytes. A file may have a hundred thousand of them: at the top level the tree has those at the start and
// those from the fragment on whose frame is shown; what is between them, and after them, comes when it is asked for.
import {describeBox} from './box_details.js';
import {answerAbout} from './recording.js';
import {strings} from './strings.js';

const kStart = 4;  // boxes loaded at the start of the file
const kMore = 30;   // and at a time after them

function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...children);
  return made;
}

export class BoxTree {
  #tree;
  #details;
  #file = null;
  #nodes = new WeakMap();  // by element: {box, top, path, asked} of a box, {run} of what loads more
  #opened = 0;  // counts, so that answers which come too late are known

  // `tree`: the list element; `details`: where the chosen box is described.
  constructor({tree, details}) {
    this.#tree = tree;
    this.#details = details;
    tree.onkeydown = (event) => this.#onKey(event);
    tree.onclick = (event) => this.#onClick(event);
  }

  clear() {
    this.#file = null;
    ++this.#opened;
    this.#tree.replaceChildren();
    this.#details.replaceChildren();
  }

  // Shows the boxes of a file: its first ones and the fragment that has frame `frame`; undefined: only the first ones.
  async open(file, frame) {
    this.clear();
    this.#file = file;
    const opened = this.#opened;
    const start = await this.#ask({from: 0, count: frame === undefined ? kMore : kStart});
    const here = frame === undefined ? null : await this.#ask({frame, count: kMore}).catch(() => null);
    if (opened !== this.#opened) return;
    const first = here ? start.boxes.filter(({offset}) => offset < here.from) : start.boxes;
    this.#tree.append(...first.map((box) => this.#top(box)));
    const end = first.length ? first.at(-1).offset + first.at(-1).size : 0;
    if (here && end < here.from) this.#tree.append(this.#gap(end, here.from));
    const following = (here?.boxes ?? []).map((box) => this.#top(box)), [fragment] = following;
    this.#tree.append(...following, ...this.#rest(here ?? start));
    const chosen = fragment ?? this.#tree.firstElementChild;
    if (!chosen) return;
    this.#choose(chosen, false);
    if (fragment) await this.#expand(fragment);
  }

  async #ask(parameters) {
    return answerAbout('boxes', this.#file, parameters);
  }

  // ---- the items

  #top(box) {
    return this.#item(box, {top: box.offset, path: [], level: 1});
  }

  #item(box, {top, path, level}) {
    const row = element('span', {}, element('code', {}, box.type), ` ${strings.bytes(box.size)}`);
    const item = element('li', {'role': 'treeitem', 'aria-level': level, 'aria-selected': 'false', 'tabindex': '-1',
      'aria-label': strings.boxName(box)}, row);
    if (box.parent) item.setAttribute('aria-expanded', 'false');
    this.#nodes.set(item, {box, top, path, level});
    return item;
  }

  // An item that is replaced by more boxes when it is chosen.
  #loader(text, load) {
    const item = element('li', {'role': 'treeitem', 'aria-level': 1, 'aria-selected': 'false', 'tabindex': '-1'},
      element('span', {}, text));
    const run = async () => {
      const opened = this.#opened, made = await load();
      if (opened !== this.#opened) return;
      item.replaceWith(...made);
      if (made[0]) this.#choose(made[0]);
    };
    this.#nodes.set(item, {run});
    return item;
  }

  #gap(from, until) {
    return this.#loader(strings.boxesBetween(until - from), async () => {
      const answer = await this.#ask({from, count: kMore});
      const boxes = answer.boxes.filter(({offset}) => offset < until);
      const end = boxes.length ? boxes.at(-1).offset + boxes.at(-1).size : until;
      return [...boxes.map((box) => this.#top(box)), ...(end < until ? [this.#gap(end, until)] : [])];
    });
  }

  #rest({next, size}) {
    if (next === null) return [];
    return [this.#loader(strings.boxesAfter(size - next), async () => {
      const answer = await this.#ask({from: next, count: kMore});
      return [...answer.boxes.map((box) => this.#top(box)), ...this.#rest(answer)];
    })];
  }

  // ---- what is opened and chosen

  // What the program says of a box; asked once.
  #known(node) {
    node.asked ??= this.#ask({box: node.top, ...(node.path.length ? {path: node.path.join('.')} : {})});
    return node.asked;
  }

  async #expand(item) {
    const node = this.#nodes.get(item), opened = this.#opened;
    if (item.getAttribute('aria-expanded') !== 'false') return;
    item.setAttribute('aria-expanded', 'true');
    if (!item.querySelector('[role=group]')) {
      const group = element('ul', {role: 'group'});
      item.append(group);
      const {boxes, boxCount} = await this.#known(node).catch(() => ({boxes: [], boxCount: 0}));
      if (opened !== this.#opened) return;
      group.append(...boxes.map((box, i) =>
        this.#item(box, {top: node.top, path: [...node.path, i], level: node.level + 1})));
      const more = boxCount - boxes.length;
      if (more > 0) group.append(element('li', {role: 'none'}, strings.moreBoxes(more)));
    }
  }

  #collapse(item) {
    item.setAttribute('aria-expanded', 'false');
    if (item.contains(document.activeElement)) this.#choose(item);
  }

  #choose(item, focus = true) {
    for (const other of this.#tree.querySelectorAll('[aria-selected=true]')) {
      other.setAttribute('aria-selected', 'false');
      other.tabIndex = -1;
    }
    item.setAttribute('aria-selected', 'true');
    item.tabIndex = 0;
    if (focus) item.focus();
    this.#describe(item);
  }

  async #describe(item) {
    const node = this.#nodes.get(item);
    if (!node.box) return this.#details.replaceChildren();
    const shown = await this.#known(node).then((known) => describeBox(known), (error) => [error.message]);
    if (item.getAttribute('aria-selected') === 'true' && item.isConnected) this.#details.replaceChildren(...shown);
  }

  // ---- keys and clicks

  #visible() {
    return [...this.#tree.querySelectorAll('[role=treeitem]')].filter(
      (item) => !item.parentElement.closest('[aria-expanded=false]'));
  }

  #onKey(event) {
    const item = event.target.closest('[role=treeitem]');
    if (!item || event.ctrlKey || event.altKey || event.metaKey) return;
    const visible = this.#visible(), at = visible.indexOf(item), open = item.getAttribute('aria-expanded');
    const actions = {
      ArrowDown: () => visible[at + 1] && this.#choose(visible[at + 1]),
      ArrowUp: () => visible[at - 1] && this.#choose(visible[at - 1]),
      ArrowRight: () => open === 'true' ? visible[at + 1] && this.#choose(visible[at + 1]) : this.#expand(item),
      ArrowLeft: () => {
        const parent = item.parentElement.closest('[role=treeitem]');
        if (open === 'true') this.#collapse(item);
        else if (parent) this.#choose(parent);
      },
      Home: () => this.#choose(visible[0]),
      End: () => this.#choose(visible.at(-1)),
      Enter: () => this.#activate(item),
      ' ': () => this.#activate(item),
    };
    if (!actions[event.key]) return;
    event.preventDefault();
    event.stopPropagation();  // the page steps frames with some of these
    actions[event.key]();
  }

  #onClick({target}) {
    const item = target.closest('[role=treeitem]');
    if (!item) return;
    this.#choose(item);
    this.#activate(item);
  }

  #activate(item) {
    const {run} = this.#nodes.get(item);
    if (run) run().catch((error) => this.#details.replaceChildren(error.message));
    else if (item.getAttribute('aria-expanded') === 'true') this.#collapse(item);
    else this.#expand(item);
  }
}
