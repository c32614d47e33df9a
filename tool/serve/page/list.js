// The list of a folder's files and sub-folders. Thousands of entries cost little: they are made in chunks as one
// scrolls to them, and the server is asked about those alone that are in view, a few at a time.
import {describeFile, inFolder, listText} from './recording.js';
import {sizeText, strings, timeText} from './strings.js';

const kChunk = 60;  // entries made at a time
const kAskedAtOnce = 3;
const kMostDescribed = 5000;

// Asks about files, a few at a time, those asked for last first: they are in view.
class Describer {
  #known = new Map();  // by path: {stamp, description}
  #waiting = [];
  #asking = 0;

  // What is known of an entry as it is now. Of a recording in progress what was known first is kept.
  known(entry) {
    const known = this.#known.get(entry.file);
    return known && (known.stamp === stampOf(entry) || entry.inProgress) ? known.description : undefined;
  }

  ask(entry, told) {
    if (!entry.file || this.#waiting.some((each) => each.entry.file === entry.file)) return;
    this.#waiting.push({entry, told});
    this.#go();
  }

  #go() {
    while (this.#asking < kAskedAtOnce && this.#waiting.length) {
      const {entry, told} = this.#waiting.pop();
      ++this.#asking;
      this.now(entry).then(told).catch(() => {}).finally(() => {
        --this.#asking;
        this.#go();
      });
    }
  }

  // Asks at once, unless it is known.
  async now(entry) {
    const known = this.known(entry);
    if (known) return known;
    const description = await describeFile(entry.file);
    if (this.#known.size >= kMostDescribed) this.#known.clear();
    this.#known.set(entry.file, {stamp: stampOf(entry), description});
    return description;
  }
}

function stampOf({bytes, modified}) {
  return `${bytes} ${modified}`;
}

export function codecsText(description) {
  return description.codecs.join(' + ');
}

// The line below the name, and whether something is wrong.
function factsOf(entry, description) {
  const facts = [];
  if (description?.accepted) {
    if (!entry.inProgress) facts.push(timeText(description.durationSeconds));
    const {video} = description;
    if (video) facts.push(strings.pictureSize(video.width, video.height));
    if (description.codecs.length) facts.push(codecsText(description));
  }
  if (entry.kind !== 'manifest') facts.push(sizeText(entry.bytes));
  const trouble = [];
  if (entry.inProgress) trouble.push(strings.notEnded);
  if (description && !description.accepted)
    trouble.push(description.code === 'not-fragmented' ? strings.plain : strings.notRead);
  if (description?.warnings?.length) trouble.push(...description.warnings);
  return {facts: facts.join(' · '), trouble: trouble.join(' · '), why: description?.why ?? ''};
}

export class FileList {
  #element;
  #describer = new Describer();
  #folder = '';
  #wanted = '';  // the folder that is being loaded
  #text = '';
  #entries = [];   // of the folder, with paths
  #folders = [];
  #filter = '';
  #shown = [];     // those that the filter lets through
  #rows = new Map();  // by path
  #folderRows = new Map();
  #current = null;
  #asker;
  #end;

  // `element`: the list; `end`: an element after it, whose coming into view makes the next chunk; `filter`: the field.
  constructor({element, end, filter, path, empty}) {
    this.#element = element;
    this.#end = end;
    this.path = path;
    this.empty = empty;
    this.#asker = new IntersectionObserver((seen) => {
      for (const {isIntersecting, target} of seen) if (isIntersecting) this.#describe(target);
    });
    new IntersectionObserver((seen) => {
      if (seen.some(({isIntersecting}) => isIntersecting)) this.#addChunk();
    }, {rootMargin: '600px'}).observe(end);
    filter.oninput = () => {
      this.#filter = filter.value.trim().toLowerCase();
      this.#show();
    };
  }

  get folder() {
    return this.#folder;
  }
  get entries() {
    return this.#entries;
  }

  // What the plug-in says of an entry.
  describe(entry) {
    return this.#describer.now(entry);
  }

  set current(path) {
    this.#mark(this.#current, false);
    this.#current = path;
    this.#mark(path, true);
  }

  // Loads a folder, or looks whether the one that is shown has changed. Returns its entries; null when there is no such
  // folder.
  async load(folder = this.#wanted) {
    const before = this.#folder;
    this.#wanted = folder;
    const text = await listText(folder);
    if (text === null) {
      this.#wanted = before;
      return null;
    }
    if (folder !== this.#wanted) return this.#entries;  // another one has been chosen meanwhile
    if (folder === this.#folder && text === this.#text) return this.#entries;
    const moved = folder !== this.#folder;
    this.#folder = folder;
    this.#text = text;
    const {folders, files} = JSON.parse(text);
    this.#folders = folders;
    this.#entries = files.map((file) => inFolder(folder, file));
    this.#showPath();
    this.#show(moved);
    return this.#entries;
  }

  // The way from the served folder to this one.
  #showPath() {
    const parts = this.#folder ? this.#folder.split('/') : [];
    const links = parts.map((name, i) => folderLink(parts.slice(0, i + 1).join('/'), name));
    this.path.hidden = parts.length === 0;
    this.path.replaceChildren(...[folderLink('', strings.topFolder), ...links].flatMap((link) => [link, ' / ']).slice(0, -1));
    this.path.lastElementChild.setAttribute('aria-current', 'true');
  }

  // Keeps as many rows as there are, so that nothing jumps while somebody scrolls.
  #show(moved = false) {
    const fits = (name) => name.toLowerCase().includes(this.#filter);
    this.#shown = this.#entries.filter(({name}) => fits(name));
    const count = moved ? kChunk : Math.max(kChunk, this.#rows.size), kept = this.#rows, keptFolders = this.#folderRows;
    this.#asker.disconnect();
    this.#rows = new Map();
    this.#folderRows = new Map();
    const rows = [
      ...this.#folders.filter(fits).map((name) => this.#folderRow(name, keptFolders)),
      ...this.#shown.slice(0, count).map((entry) => this.#row(entry, kept.get(entry.path))),
    ];
    // A row that moves loses the focus.
    const now = this.#element.children;
    if (rows.length !== now.length || rows.some((row, i) => row !== now[i])) this.#element.replaceChildren(...rows);
    const none = rows.length === 0;
    this.empty.hidden = !none;
    this.empty.textContent = this.#filter ? strings.nothingFound : strings.emptyFolder;
  }

  #addChunk() {
    const made = this.#rows.size;
    if (made >= this.#shown.length) return;
    this.#element.append(...this.#shown.slice(made, made + kChunk).map((entry) => this.#row(entry)));
    // The observer tells of changes only: it is still in view when the chunk was short.
    requestAnimationFrame(() => {
      if (this.#end.getBoundingClientRect().top < this.#element.parentElement.getBoundingClientRect().bottom) this.#addChunk();
    });
  }

  #folderRow(name, kept) {
    const path = this.#folder ? `${this.#folder}/${name}` : name;
    const row = kept.get(path) ?? document.createElement('li');
    this.#folderRows.set(path, row);
    if (row.firstChild) return row;
    const link = folderLink(path, name);
    link.className = 'folder';
    link.setAttribute('aria-label', strings.folder(name));
    row.append(link);
    return row;
  }

  #row(entry, kept) {
    const row = kept?.row ?? document.createElement('li');
    const link = row.firstChild ?? document.createElement('a');
    if (!kept) {
      link.href = `#${encodeURIComponent(entry.path)}`;
      link.append(entry.name, document.createElement('small'), document.createElement('small'));
      link.lastChild.className = 'trouble';
      row.append(link);
      row.dataset.path = entry.path;
    }
    link.setAttribute('aria-current', entry.path === this.#current);
    this.#rows.set(entry.path, {row, entry});
    this.#fill(row, entry, this.#describer.known(entry));
    this.#asker.observe(row);
    return row;
  }

  #fill(row, entry, description) {
    const {facts, trouble, why} = factsOf(entry, description);
    const [, below, troubles] = row.firstChild.childNodes;
    below.textContent = facts;
    troubles.textContent = trouble;
    troubles.title = why || trouble;
  }

  #describe(row) {
    const entry = this.#rows.get(row.dataset.path)?.entry;
    if (!entry || this.#describer.known(entry)) return;
    this.#describer.ask(entry, (description) => {
      const now = this.#rows.get(entry.path);
      if (now) this.#fill(now.row, now.entry, description);
    });
  }

  #mark(path, on) {
    this.#rows.get(path)?.row.firstChild.setAttribute('aria-current', on);
  }
}

// The address of a folder ends with a separator.
function folderLink(path, name) {
  const link = document.createElement('a');
  link.href = `#${encodeURIComponent(`${path}/`)}`;
  link.textContent = name;
  return link;
}
