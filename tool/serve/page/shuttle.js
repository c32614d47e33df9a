// Playback at a speed in both directions, as editing machines have it on the keys J, K and L.

const kSpeeds = [1, 2, 4, 8];
const kStepMilliseconds = 100;  // between two pictures when it runs backwards, which no browser plays by itself

export class Shuttle {
  #video;
  #seek;
  #speed = 0;
  #timer = null;

  // `seek(seconds)` moves within what can be shown; `changed(speed)` is told the speed, 0 when it ends.
  constructor(video, seek, changed) {
    this.#video = video;
    this.#seek = seek;
    this.changed = changed;
    // Whatever else pauses the video ends it too.
    video.addEventListener('pause', () => { if (this.#speed > 0) this.#end(); });
    video.addEventListener('play', () => { if (this.#speed < 0) this.#end(); });
  }

  get speed() {
    return this.#speed;
  }

  forward() {
    this.#leaveBackward();
    this.#speed = faster(this.#speed);
    this.#video.playbackRate = this.#speed;
    this.#video.play().catch(() => this.stop());
    this.changed(this.#speed);
  }

  backward() {
    const speed = -faster(-this.#speed);
    this.#video.pause();
    this.#speed = speed;
    clearInterval(this.#timer);
    this.#timer = setInterval(() => this.#stepBack(), kStepMilliseconds);
    this.changed(speed);
  }

  stop() {
    this.#video.pause();
    this.#end();
  }

  #stepBack() {
    if (this.#video.seeking) return;
    const before = this.#video.currentTime;
    this.#seek(before + this.#speed * kStepMilliseconds / 1000);
    if (this.#video.currentTime >= before) this.stop();
  }
  #leaveBackward() {
    if (this.#speed < 0) this.#speed = 0;
    clearInterval(this.#timer);
    this.#timer = null;
  }
  #end() {
    this.#leaveBackward();
    this.#speed = 0;
    this.changed(0);
  }
}

// The next speed in the same direction.
function faster(speed) {
  return speed <= 0 ? kSpeeds[0] : kSpeeds[Math.min(kSpeeds.indexOf(speed) + 1, kSpeeds.length - 1)];
}
