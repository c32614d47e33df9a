// A recording in progress: the files of a finished one, as they were after each of its segments.
import fs from 'node:fs/promises';
import path from 'node:path';

const kEnd = '#EXT-X-ENDLIST\n';

export class GrowingRecording {
  constructor(folder, finished, name) {
    this.folder = folder;
    this.finished = finished;
    this.name = name;
  }

  #read(suffix, coding) {
    return fs.readFile(path.join(this.folder, this.finished + suffix), coding);
  }
  // Replaced atomically, as the recorder does it.
  async #replace(suffix, content) {
    const file = path.join(this.folder, this.name + suffix);
    await fs.writeFile(`${file}.new`, content);
    await fs.rename(`${file}.new`, file);
  }
  #renamed(text) {
    return text.replaceAll(`${this.finished}.m4`, `${this.name}.m4`);
  }

  // Makes the files what they are after `segments` complete segments.
  async write(segments) {
    let seconds = 0;
    for (const [list, mediaFile] of [['.m3u8', '.m4v'], ['A.m3u8', '.m4a']]) {
      const parts = (await this.#read(list, 'utf8')).replace(kEnd, '').split(/(?=#EXTINF)/);
      const text = parts.slice(0, 1 + segments).join('');
      if (mediaFile === '.m4v')
        seconds = [...text.matchAll(/#EXTINF:([\d.]+)/g)].reduce((sum, [, each]) => sum + Number(each), 0);
      const [, length, start] = text.match(/.*BYTERANGE:(\d+)@(\d+)\n/s).map(Number);
      await this.#replace(mediaFile, (await this.#read(mediaFile)).subarray(0, start + length));
      await this.#replace(list, this.#renamed(text));
    }
    let kept = 0;
    const manifest = (await this.#read('.mpd', 'utf8')).replace(/<\/SegmentList>|<SegmentURL [^>]*>/g, (element) => {
      if (element === '</SegmentList>') kept = 0;
      else if (++kept > segments) return '';
      return element;
    }).replace(/(mediaPresentationDuration=)"[^"]*"/, `$1"PT0H0M${seconds.toFixed(2)}S"`);
    await this.#replace('.mpd', this.#renamed(manifest));
  }

  // The complete recording.
  async end() {
    for (const suffix of ['.m4v', '.m4a']) await this.#replace(suffix, await this.#read(suffix));
    for (const suffix of ['.mpd', '.m3u8', 'A.m3u8', '.master.m3u8']) {
      const text = this.#renamed(await this.#read(suffix, 'utf8'));
      await this.#replace(suffix, text.replaceAll(`${this.finished}.m3u8`, `${this.name}.m3u8`)
        .replaceAll(`${this.finished}A.m3u8`, `${this.name}A.m3u8`));
    }
  }
}
