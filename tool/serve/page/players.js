// The players, all used the same way: start(video, recording, report, placed) makes `video` play a recording and
// returns a function that stops it. Every error of a player is reported as {text, fatal}. A player that knows it tells
// placed(seconds): at which time of `video` composition time 0 is.
import {dataUrl, mediaUrl} from './recording.js';

// Loads a script once per page.
const scripts = new Map();
function script(name) {
  if (!scripts.has(name)) {
    scripts.set(name, new Promise((resolve, reject) => {
      const element = document.createElement('script');
      element.src = `/page/${name}`;
      element.onload = resolve;
      element.onerror = () => reject(new Error(`/page/${name} cannot be loaded`));
      document.head.append(element);
    }));
  }
  return scripts.get(name);
}

// hls.js ends its switch to the first audio track where it sees a picture. A seek before that to the last frames, which
// browsers display only when the stream has ended, would wait for ever, as hls.js ends no stream while it switches. So it
// goes to the first picture of what is buffered, and on after the switch. Returns a function that ends this.
function seekAfterSwitch(hls, video) {
  let switching = false, target = null, back = null;
  const goBack = () => {
    const {buffered, currentTime} = video;
    if (!switching || !video.seeking || currentTime === back) return;
    if (!buffered.length || currentTime <= buffered.start(0)) return;
    target = currentTime;
    video.currentTime = back = buffered.start(0);
  };
  hls.on(Hls.Events.AUDIO_TRACK_SWITCHING, () => { switching = true; });
  hls.on(Hls.Events.AUDIO_TRACK_SWITCHED, () => {
    switching = false;
    if (target !== null) video.currentTime = target;
    target = null;
  });
  hls.on(Hls.Events.BUFFER_APPENDED, goBack);
  video.addEventListener('seeking', goBack);
  return () => video.removeEventListener('seeking', goBack);
}

async function startHlsJs(video, recording, report, placed) {
  await script('hls.min.js');
  const hls = new Hls();
  hls.on(Hls.Events.ERROR, (_, data) =>
    report({text: `${data.type}: ${data.details}: ${data.error?.message ?? data.reason ?? ''}`, fatal: data.fatal}));
  hls.on(Hls.Events.INIT_PTS_FOUND, (_, {initPTS, timescale}) => placed(-initPTS / timescale));
  const stopSeeking = seekAfterSwitch(hls, video);
  hls.loadSource(playlistUrl(recording));
  hls.attachMedia(video);
  return () => {
    stopSeeking();
    hls.destroy();
  };
}

async function startDashJs(video, recording, report) {
  await script('dash.all.min.js');
  const player = dashjs.MediaPlayer().create();
  player.updateSettings({debug: {logLevel: dashjs.Debug.LOG_LEVEL_NONE}});
  player.on(dashjs.MediaPlayer.events.ERROR, ({error}) =>
    report({text: `${error.code}: ${error.message}`, fatal: true}));
  player.initialize(video, mediaUrl(recording.manifest), false);
  return () => player.destroy();
}

const kDash = 'application/dash+xml', kHls = 'application/vnd.apple.mpegurl';

async function startShaka(video, url, type, report) {
  await script('shaka-player.compiled.js');
  const player = new shaka.Player();
  const tell = (error) => report({
    text: `${error.code}: ${error.message} ${JSON.stringify(error.data?.map(String) ?? [])}`,
    fatal: error.severity === shaka.util.Error.Severity.CRITICAL,
  });
  player.addEventListener('error', ({detail}) => tell(detail));
  await player.attach(video);
  player.load(url, null, type).catch(tell);
  return () => player.destroy();
}

async function startBrowser(video, url, report) {
  const onError = () => report({text: `${video.error.code}: ${video.error.message}`, fatal: true});
  video.addEventListener('error', onError);
  video.src = url;
  return () => {
    video.removeEventListener('error', onError);
    video.removeAttribute('src');
    video.load();
  };
}

// A file without a playlist is played through one that the server makes. A recording in progress has no master playlist
// yet: one is made here of its two media playlists.
function playlistUrl(recording) {
  if (!recording.playlist) return dataUrl('playlist', recording.file);
  if (recording.playlist.endsWith('.master.m3u8') || !recording.audioPlaylist) return mediaUrl(recording.playlist);
  const master = '#EXTM3U\n#EXT-X-VERSION:7\n' +
    `#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID="audio",NAME="Audio",DEFAULT=YES,URI="${mediaUrl(recording.audioPlaylist)}"\n` +
    `#EXT-X-STREAM-INF:BANDWIDTH=1,AUDIO="audio"\n${mediaUrl(recording.playlist)}\n`;
  return URL.createObjectURL(new Blob([master], {type: kHls}));
}

const hasPlaylist = ({playlist}) => Boolean(playlist);
const hasManifest = ({manifest}) => Boolean(manifest);
// Fragments that say when they play can be put into a playlist.
const canHavePlaylist = ({playlist, kind, description}) =>
  Boolean(playlist) || (kind === 'media' && Boolean(description?.statesTimes));
const isFile = ({kind}) => kind === 'media';

// By name in the page's address, those first that are preferred. `plays(recording)` says for which each is; what the
// plug-in says of a file is in its `description`.
export const players = {
  'hls.js': {label: 'hls.js · HLS', plays: canHavePlaylist, start: startHlsJs},
  'dash.js': {label: 'dash.js · DASH', plays: hasManifest, start: startDashJs},
  'shaka-dash': {
    label: 'Shaka Player · DASH',
    plays: hasManifest,
    start: (video, recording, report) => startShaka(video, mediaUrl(recording.manifest), kDash, report),
  },
  'shaka-hls': {
    label: 'Shaka Player · HLS',
    plays: canHavePlaylist,
    start: (video, recording, report) => startShaka(video, playlistUrl(recording), kHls, report),
  },
  'browser': {
    label: 'the browser · HLS',
    plays: hasPlaylist,
    start: (video, recording, report) => startBrowser(video, mediaUrl(recording.playlist), report),
  },
  'file': {
    label: 'the browser · file',
    plays: isFile,
    start: (video, recording, report) => startBrowser(video, mediaUrl(recording.file), report),
  },
};

// Those of these codecs (RFC 6381) that the browser cannot play.
export function unplayable(codecs) {
  return codecs.filter((codec) => !globalThis.MediaSource?.isTypeSupported(`video/mp4; codecs="${codec}"`));
}
