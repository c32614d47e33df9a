// The in and out points of the file that is shown: frame numbers, null where there is none. Whoever shows them adds a
// listener with onchange(listener), which is called after every change.

class Marks {
  #in = null;
  #out = null;
  #listeners = [];

  get in() {
    return this.#in;
  }
  get out() {
    return this.#out;
  }

  // An in point past the out point removes that, and the other way round.
  set in(frame) {
    this.#set(frame, frame !== null && this.#out !== null && this.#out < frame ? null : this.#out);
  }
  set out(frame) {
    this.#set(frame !== null && this.#in !== null && this.#in > frame ? null : this.#in, frame);
  }

  clear() {
    this.#set(null, null);
  }

  onchange(listener) {
    this.#listeners.push(listener);
  }

  #set(first, last) {
    this.#in = first;
    this.#out = last;
    for (const listener of this.#listeners) listener(this);
  }
}

export const marks = new Marks();
