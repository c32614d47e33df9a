// What the page knows of a file beyond the server's list: what the plug-in and its DASH manifest say.
import {strings} from './strings.js';

const kTries = 3, kRetryMilliseconds = 300;

// The duration in seconds of an ISO 8601 duration in a manifest.
function secondsOf(duration) {
  const parts = /^PT(?:(\d+)H)?(?:(\d+)M)?(?:([\d.]+)S)?$/.exec(duration ?? '');
  return parts ? Number(parts[1] ?? 0) * 3600 + Number(parts[2] ?? 0) * 60 + Number(parts[3] ?? 0) : 0;
}

// A path below the served folder, as a part of an address.
export function pathAddress(path) {
  return path.split('/').map(encodeURIComponent).join('/');
}

export function mediaUrl(path) {
  return new URL(`/media/${pathAddress(path)}`, location.href).href;
}

// The address of what the program says of a file: `subject` and `parameters` as tool/viewer/ has them.
export function dataUrl(subject, path, parameters = {}) {
  const query = new URLSearchParams(parameters).toString();
  return new URL(`/data/${subject}/${pathAddress(path)}${query ? `?${query}` : ''}`, location.href).href;
}

// Fetches; when the connection breaks, again: the server ends idle ones, on which the browser may just be asking.
async function fetchPatiently(url) {
  for (let left = kTries - 1; left > 0; --left) {
    const response = await fetch(url).catch(() => null);
    if (response) return response;
    await new Promise((resolve) => setTimeout(resolve, kRetryMilliseconds));
  }
  return fetch(url);
}

// What the program says of a file, parsed. Throws an Error with the server's words.
export async function answerAbout(subject, path, parameters) {
  const response = await fetchPatiently(dataUrl(subject, path, parameters));
  if (!response.ok) throw new Error((await response.text()).trim());
  return response.json();
}

// The text of the list of a folder; null when there is no such folder.
export async function listText(folder) {
  const response = await fetchPatiently(`/files.json?${new URLSearchParams({folder})}`).catch(() => ({status: 0}));
  if (response.status === 404) return null;
  if (!response.ok) throw new Error(strings.noList(response.status));
  return response.text();
}

// An entry of the list of `folder` with paths below the served folder instead of names.
export function inFolder(folder, entry) {
  const path = (name) => name && (folder ? `${folder}/${name}` : name);
  const paths = ['file', 'manifest', 'playlist', 'audioPlaylist'].map((key) => [key, path(entry[key])]);
  return {...entry, folder, path: path(entry.name), ...Object.fromEntries(paths)};
}

// What the plug-in says of a file (docs/json.md).
export async function describeFile(path) {
  const response = await fetchPatiently(dataUrl('describe', path));
  if (response.ok) return response.json();
  return {accepted: false, code: null, why: (await response.text()).trim(), warnings: []};
}

// With the spaces before it.
const kSegment = /\s*<SegmentURL\s(?:"[^"]*"|'[^']*'|[^>"'])*>/g;

// Parses the `text` of a manifest into width, height, frameRate (frames a second), codecs and seconds. Its segments are
// left out: a day has so many that the page would not answer meanwhile.
function readManifest(text) {
  const root = new DOMParser().parseFromString(text.replace(kSegment, ''), 'text/xml').documentElement;
  const representations = [...root.getElementsByTagName('Representation')];
  const video = representations.find((each) => each.getAttribute('mimeType') === 'video/mp4');
  const audio = representations.find((each) => each.getAttribute('mimeType') === 'audio/mp4');
  const [rate, scale] = (video?.getAttribute('frameRate') ?? '0/1').split('/').map(Number);
  const codecs = [video, audio].flatMap((each) => each?.getAttribute('codecs')?.split(',') ?? []);
  const frameRate = rate / (scale || 1), seconds = secondsOf(root.getAttribute('mediaPresentationDuration'));
  return {
    width: Number(video?.getAttribute('width') ?? 0),
    height: Number(video?.getAttribute('height') ?? 0),
    frameRate,
    codecs,
    seconds: frameRate ? Math.round(seconds * frameRate) / frameRate : seconds,  // rounded in the manifest
  };
}

// The same for a recording of the list; null when it has no manifest.
export async function describeRecording(recording) {
  if (!recording.manifest) return null;
  const response = await fetchPatiently(mediaUrl(recording.manifest));
  if (!response.ok) return null;
  return readManifest(await response.text());
}
