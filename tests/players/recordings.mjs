// Recordings for the players: made by ffmpeg, recorded by `fmp4 package`. Every frame shows its number, least
// significant bit first, as eleven squares in its upper left corner.
import {execFile} from 'node:child_process';
import {promisify} from 'node:util';
import path from 'node:path';

export const execute = promisify(execFile);

export const kNumberBits = 11;
export const kSquare = 16;  // pixels

// The key-frame interval in frames, which is also the length of a fragment below 31; ten fragments are a segment.
const kInterval = 10;

// `delayed`: frames by which B-frames delay the first frame.
export const recordings = [
  {name: 'ntsc-b-audio', rate: [30000, 1001], frames: 230, delayed: 2, audio: true, width: 640, height: 360},
  {name: 'ntsc-b', rate: [30000, 1001], frames: 200, delayed: 2, audio: false, width: 320, height: 180},
  {name: 'ntsc-audio', rate: [30000, 1001], frames: 215, delayed: 0, audio: true, width: 320, height: 240},
  {name: 'pal-b-audio', rate: [25, 1], frames: 190, delayed: 2, audio: true, width: 384, height: 288},
  {name: 'pal', rate: [25, 1], frames: 175, delayed: 0, audio: false, width: 256, height: 144},
  {name: 'short', rate: [25, 1], frames: 25, delayed: 2, audio: true, width: 320, height: 180},
  // A name with URI-reserved characters.
  {name: 'odd #1 "50%"', rate: [25, 1], frames: 60, delayed: 2, audio: true, width: 320, height: 180},
  // Audio in the video file. The second ends with a segment.
  {name: 'one-file', rate: [30000, 1001], frames: 230, delayed: 2, audio: true, width: 320, height: 180,
    extension: '.ismv'},
  {name: 'one-file-full', rate: [25, 1], frames: 200, delayed: 2, audio: true, width: 320, height: 180,
    extension: '.ismv'},
];

// A key-frame interval that cannot be divided gives segments without fragments: a "sidx" without references, a
// segment duration and a target duration of 0. The recorder warns of it.
export const undivided =
  {name: 'undivided', rate: [25, 1], frames: 100, delayed: 2, audio: false, width: 320, height: 180, interval: 37};

// Audio that lasts longer than the video.
export const longAudio = {name: 'long-audio', rate: [25, 1], frames: 75, delayed: 2, audio: true, audioOverhang: 0.4,
  width: 320, height: 180};

export async function run(program, ...options) {
  return (await execute(program, options, {maxBuffer: 1 << 26})).stdout;
}

// Makes a recording's source in the folder `sources`. `captions`: a file that ffmpeg reads as captions.
export async function makeSource(recording, sources, captions) {
  const {name, frames, delayed, audio, audioOverhang = 0, width, height, interval = kInterval} = recording;
  const rate = recording.rate.join('/');
  const seconds = frames * recording.rate[1] / recording.rate[0] + audioOverhang;
  const source = path.join(sources, `${name}.${captions ? 'mov' : 'mp4'}`);
  const number = `color=gray:size=${kNumberBits * kSquare}x${kSquare}:rate=${rate},format=gray,` +
    `geq=lum='16+219*mod(floor(N/pow(2,floor(X/${kSquare}))),2)'`;
  const inputs = ['-f', 'lavfi', '-i', `testsrc2=size=${width}x${height}:rate=${rate}`, '-f', 'lavfi', '-i', number];
  const maps = ['-map', '[v]'];
  if (audio) {
    inputs.push('-f', 'lavfi', '-i', `sine=frequency=440:sample_rate=48000:duration=${seconds}`);
    maps.push('-map', '2:a', '-c:a', 'aac', '-ac', '2');
  }
  if (captions) {
    inputs.push('-i', captions);
    maps.push('-map', audio ? '3:s' : '2:s', '-c:s', 'copy');
  }
  await run('ffmpeg', '-nostdin', '-v', 'error', '-y', ...inputs, '-filter_complex',
    `[0][1]overlay,trim=end_frame=${frames},format=yuv420p[v]`, ...maps, '-c:v', 'libx264', '-preset',
    'veryfast', '-crf', '18', '-g', String(interval), '-keyint_min', String(interval), '-sc_threshold', '0', '-bf',
    String(delayed), '-b_strategy', '0', source);
  return source;
}

// Makes the recording in `folder`, and its source, whose path it returns.
export async function record(fmp4, recording, folder, sources, captions) {
  const {name, interval = kInterval, extension = '.mp4'} = recording;
  const source = await makeSource(recording, sources, captions);
  await run(fmp4, 'package', source, '--gop', String(interval), '--output', path.join(folder, `${name}${extension}`));
  return source;
}
