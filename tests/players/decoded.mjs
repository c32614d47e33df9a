// Frames as ffmpeg decodes them.
import {run} from './recordings.mjs';

// The MD5 of every frame that ffmpeg decodes.
export async function pictures(input, options = []) {
  const text = await run('ffmpeg', '-nostdin', '-v', 'error', '-xerror', ...options, '-i', input, '-map', '0:v:0',
    '-fps_mode', 'passthrough', '-f', 'framemd5', '-');
  return text.split('\n').filter((line) => line && !line.startsWith('#'))
    .map((line) => line.split(',').at(-1).trim());
}

// The options with which ffmpeg accepts media of any extension in playlists; older versions need none.
export const anyExtension = (await run('ffmpeg', '-v', 'error', '-h', 'demuxer=hls')).includes('extension_picky') ?
  ['-extension_picky', '0'] : [];

// The same for playlists on the local disk, where ffmpeg checks extensions in one more way.
export const anyLocalExtension = ['-allowed_extensions', 'ALL', ...anyExtension];
