// Recordings in progress: ffmpeg sends a source in real time, and any number of `fmp4 package -` record it.
import {spawn} from 'node:child_process';
import {once} from 'node:events';
import fs from 'node:fs/promises';
import path from 'node:path';

export class LiveFeed {
  #recorders = [];

  // Starts the feed.
  constructor(source) {
    const sender = spawn('ffmpeg', ['-nostdin', '-v', 'error', '-re', '-i', source, '-c', 'copy', '-movflags',
      'frag_keyframe+empty_moov+default_base_moof', '-f', 'mp4', 'pipe:1'], {stdio: ['ignore', 'pipe', 'inherit']});
    // A recorder that was killed must not hold up the others.
    sender.stdout.on('data', (bytes) => this.#recorders.forEach(({stdin}) => stdin.write(bytes)));
    sender.stdout.on('end', () => this.#recorders.forEach(({stdin}) => stdin.end()));
  }

  // Starts to record as `output`. Must be called right after the feed's start, before anything has been sent.
  record(fmp4, output) {
    const recorder = spawn(fmp4, ['--quiet', 'package', '-', '--output', output],
      {stdio: ['pipe', 'ignore', 'inherit']});
    recorder.stdin.on('error', () => {});
    this.#recorders.push(recorder);
    return new LiveRecording(recorder, output);
  }
}

class LiveRecording {
  #recorder;
  #exit;

  constructor(recorder, output) {
    this.playlist = path.format({...path.parse(output), base: '', ext: '.m3u8'});
    this.#recorder = recorder;
    this.#exit = once(recorder, 'exit');
  }

  get ended() {
    return this.#recorder.exitCode !== null;
  }

  // Waits until so many segments are listed.
  async segments(count) {
    for (;;) {
      const text = await fs.readFile(this.playlist, 'utf8').catch(() => '');
      if (text.split('#EXTINF').length > count) return;
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
  }

  // Waits for its end. Returns the recorder's exit code and the signal that ended it.
  async end() {
    const [code, signal] = await this.#exit;
    return {code, signal};
  }

  kill() {
    this.#recorder.kill('SIGKILL');
    return this.end();
  }
}
