// A recording that is being made: ffmpeg sends a source at its own pace, `fmp4 package -` records it.
import {spawn} from 'node:child_process';
import {once} from 'node:events';
import fs from 'node:fs/promises';
import path from 'node:path';

export class LiveRecording {
  // Starts it. `name` of the recording in `folder`.
  constructor(fmp4, source, folder, name) {
    this.playlist = path.join(folder, `${name}.m3u8`);
    const sender = spawn('ffmpeg', ['-nostdin', '-v', 'error', '-re', '-i', source, '-c', 'copy', '-movflags',
      'frag_keyframe+empty_moov+default_base_moof', '-f', 'mp4', 'pipe:1'], {stdio: ['ignore', 'pipe', 'inherit']});
    this.recorder = spawn(fmp4, ['--quiet', 'package', '-', '--output', path.join(folder, `${name}.mp4`)],
      {stdio: ['pipe', 'ignore', 'inherit']});
    sender.stdout.pipe(this.recorder.stdin);
    this.ended = once(this.recorder, 'exit');
  }

  // Waits until so many segments are listed.
  async segments(count) {
    for (;;) {
      const text = await fs.readFile(this.playlist, 'utf8').catch(() => '');
      if (text.split('#EXTINF').length > count) return;
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
  }

  // Waits for its end and gives the recorder's exit code.
  async end() {
    const [code] = await this.ended;
    return code;
  }
}
