// What the page knows of a recording beyond the server's list: what its DASH manifest says.

// The duration in seconds of an ISO 8601 duration in a manifest.
function secondsOf(duration) {
  const parts = /^PT(?:(\d+)H)?(?:(\d+)M)?(?:([\d.]+)S)?$/.exec(duration ?? '');
  return parts ? Number(parts[1] ?? 0) * 3600 + Number(parts[2] ?? 0) * 60 + Number(parts[3] ?? 0) : 0;
}

// The file name of a relative reference.
function nameOf(reference) {
  return reference.replace(/(?:%[0-9a-f]{2})+/gi, (bytes) => {
    try {
      return decodeURIComponent(bytes);
    } catch {
      return bytes;
    }
  });
}

export function mediaUrl(file) {
  return new URL(`/media/${encodeURIComponent(file)}`, location.href).href;
}

export async function listRecordings() {
  const response = await fetch('/recordings.json');
  if (!response.ok) throw new Error(`the list of recordings could not be loaded (${response.status})`);
  return response.json();
}

// Parses the `text` of a manifest into width, height, frameRate (frames a second), codecs, seconds, and the video's
// media file with its initialisation part and segments ({first, last} bytes), each segmentSeconds long except the last.
export function readManifest(text) {
  const root = new DOMParser().parseFromString(text, 'text/xml').documentElement;
  const representations = [...root.getElementsByTagName('Representation')];
  const video = representations.find((each) => each.getAttribute('mimeType') === 'video/mp4');
  const audio = representations.find((each) => each.getAttribute('mimeType') === 'audio/mp4');
  const [rate, scale] = (video?.getAttribute('frameRate') ?? '0/1').split('/').map(Number);
  const codecs = [video, audio].flatMap((each) => each?.getAttribute('codecs')?.split(',') ?? []);
  const list = video?.getElementsByTagName('SegmentList')[0];
  const range = (element, name) => {
    const [first, last] = (element?.getAttribute(name) ?? '0-0').split('-').map(Number);
    return {first, last};
  };
  const frameRate = rate / (scale || 1), seconds = secondsOf(root.getAttribute('mediaPresentationDuration'));
  return {
    width: Number(video?.getAttribute('width') ?? 0),
    height: Number(video?.getAttribute('height') ?? 0),
    frameRate,
    codecs,
    seconds: frameRate ? Math.round(seconds * frameRate) / frameRate : seconds,  // rounded in the manifest
    file: nameOf(video?.getElementsByTagName('BaseURL')[0]?.textContent ?? ''),
    initialization: range(video?.getElementsByTagName('Initialization')[0], 'range'),
    segmentSeconds: Number(list?.getAttribute('duration') ?? 0) / Number(list?.getAttribute('timescale') ?? 1),
    segments: [...(video?.getElementsByTagName('SegmentURL') ?? [])].map((each) => range(each, 'mediaRange')),
  };
}

// The same for a recording of the list; null when it has no manifest.
export async function describeRecording(recording) {
  if (!recording.manifest) return null;
  const response = await fetch(mediaUrl(recording.manifest));
  return response.ok ? readManifest(await response.text()) : null;
}
