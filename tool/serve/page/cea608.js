// CEA-608 captions of channel 1 (ANSI/CTA-608-E): byte pairs in, one for each frame; displayed texts out. Rows are
// kept; columns, colours and styles are not.

const kRows = [11, 11, 1, 2, 3, 4, 12, 13, 14, 15, 5, 6, 7, 8, 9, 10];  // by bits of a preamble address code
const kBasic = new Map(Object.entries({
  '\x27': '’', '\x2a': 'á', '\x5c': 'é', '\x5e': 'í', '\x5f': 'ó', '\x60': 'ú', '\x7b': 'ç', '\x7c': '÷', '\x7d': 'Ñ',
  '\x7e': 'ñ', '\x7f': '█',
}));
const kSpecial = '®°½¿™¢£♪à èâêîôû';
const kExtended = {
  0x12: 'ÁÉÓÚÜü‘¡*’—©℠•“”ÀÂÇÈÊËëÎÏïÔÙùÛ«»',
  0x13: 'ÃãÍÌìÒòÕõ{}\\^_|~ÄäÖöß¥¤│ÅåØø┌┐└┘',
};

export class Cea608 {
  #displayed = new Map();  // row to text
  #hidden = new Map();
  #mode = null;  // 'pop', 'paint' or 'roll'
  #rollRows = 2;
  #row = 15;
  #last = 0;  // control code that a repetition would double

  // Takes the two bytes of a frame, including parity.
  push(first, second) {
    const high = first & 0x7f, low = second & 0x7f;
    if (high === 0 && low === 0) return;
    if (high >= 0x20) {
      this.#last = 0;
      this.#write(high);
      if (low >= 0x20) this.#write(low);
      return;
    }
    const code = high << 8 | low;
    if (high < 0x10 || code === this.#last) {
      this.#last = 0;
      return;
    }
    this.#last = code;
    if (high & 0x08) return;  // channel 2
    if (low >= 0x40) this.#moveTo(kRows[(high & 7) << 1 | low >> 5 & 1]);
    else if (high === 0x14) this.#control(low);
    else if (high === 0x11 && low >= 0x30) this.#put(kSpecial[low - 0x30]);
    else if (high === 0x11) this.#put(' ');  // a mid-row code occupies a cell
    else if (kExtended[high]) this.#replace(kExtended[high][low - 0x20]);
  }

  // The displayed text, rows from top to bottom.
  get text() {
    return [...this.#displayed].sort(([a], [b]) => a - b).map(([, text]) => text.trim()).filter(Boolean).join('\n');
  }

  get #memory() {
    return this.#mode === 'pop' ? this.#hidden : this.#displayed;
  }

  #write(byte) {
    const character = String.fromCharCode(byte);
    this.#put(kBasic.get(character) ?? character);
  }
  #put(character) {
    if (this.#mode) this.#memory.set(this.#row, (this.#memory.get(this.#row) ?? '') + character);
  }
  // An extended character follows a basic one, for receivers that lack it.
  #replace(character) {
    this.#backspace();
    this.#put(character);
  }
  #backspace() {
    this.#memory.set(this.#row, (this.#memory.get(this.#row) ?? '').slice(0, -1));
  }

  #moveTo(row) {
    if (this.#mode === 'roll' && row !== this.#row) {
      const moved = [...this.#displayed].map(([from, text]) => [from + row - this.#row, text]);
      this.#displayed = new Map(moved);
    }
    this.#row = row;
  }

  #control(low) {
    switch (low) {
      case 0x20: this.#mode = 'pop'; break;
      case 0x21: this.#backspace(); break;
      case 0x24: this.#memory.delete(this.#row); break;
      case 0x25: case 0x26: case 0x27: this.#roll(low - 0x23); break;
      case 0x29: this.#mode = 'paint'; break;
      case 0x2a: case 0x2b: this.#mode = null; break;  // text mode, not captions
      case 0x2c: this.#displayed.clear(); break;
      case 0x2d: this.#carriageReturn(); break;
      case 0x2e: this.#hidden.clear(); break;
      case 0x2f:
        [this.#displayed, this.#hidden] = [this.#hidden, this.#displayed];
        this.#mode = 'pop';
        break;
    }
  }

  #roll(rows) {
    if (this.#mode !== 'roll') {
      this.#displayed.clear();
      this.#hidden.clear();
      this.#row = 15;
    }
    this.#mode = 'roll';
    this.#rollRows = rows;
  }
  #carriageReturn() {
    if (this.#mode !== 'roll') return;
    const rows = [...this.#displayed].map(([row, text]) => [row - 1, text]);
    this.#displayed = new Map(rows.filter(([row]) => row > this.#row - this.#rollRows && row > 0));
  }
}
