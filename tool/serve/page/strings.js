// Everything the page says, in one place.

function two(value) {
  return String(Math.floor(value)).padStart(2, '0');
}

export function timeText(seconds) {
  const milliseconds = Math.max(0, Math.round(seconds * 1000));
  return `${two(milliseconds / 3600000)}:${two(milliseconds / 60000 % 60)}:${two(milliseconds / 1000 % 60)}.` +
    String(milliseconds % 1000).padStart(3, '0');
}

export function sizeText(bytes) {
  const units = ['bytes', 'KB', 'MB', 'GB', 'TB'];
  let unit = 0;
  while (bytes >= 1000 && unit < units.length - 1) {
    bytes /= 1000;
    ++unit;
  }
  return `${bytes.toFixed(unit ? 1 : 0)} ${units[unit]}`;
}

export const strings = {
  recordings: 'Recordings',
  notEnded: 'not ended',
  choose: 'Choose a recording.',
  emptyFolder: 'There is no recording in this folder yet. It shows here as soon as its first segment is written.',
  nothingFound: 'No name here contains this.',
  topFolder: 'All',
  folder: (name) => `Folder ${name}`,
  frame: (number) => `frame ${number}`,
  frameValue: (number, time) => `Frame ${number}, ${time}`,
  delivered: (number) => `in the file ${number}`,
  rate: (value) => `${Number(value.toFixed(3))} frames/s`,
  pictureSize: (width, height) => `${width}×${height}`,
  channels: (count) => count === 1 ? 'mono' : count === 2 ? 'stereo' : `${count} channels`,
  notRead: 'not read',
  plain: 'plain MP4',
  play: 'Play',
  pause: 'Pause',
  copy: 'Copy',
  copied: 'Copied',
  bytes: (count) => `${count} bytes`,
  boxName: ({type, size, offset}) => `${type}, ${size} bytes at byte ${offset}`,
  boxesBetween: (bytes) => `Boxes between, ${sizeText(bytes)}`,
  boxesAfter: (bytes) => `More boxes, ${sizeText(bytes)}`,
  moreBoxes: (count) => `and ${count} more`,
  firstBytes: (shown, all) => shown < all ? `The first ${shown} of ${all} bytes` : `${all} bytes`,
  channel: (number) => `CC${number}`,
  service: (number) => `Service ${number}`,
  shuttle: (speed) => speed < 0 ? `◀ ${-speed}×` : `${speed}× ▶`,
  lanes: {frames: 'frame sizes, bit rate', channel: (number) => `channel ${number}`},
  timelineValue: (time, first, last) => `${time}; shown: ${first} to ${last}`,
  framesRead: (first, frames, bytes, keys) => frames === 1 ?
    `frame ${first}: ${bytes} bytes${keys ? ', key frame' : ''}` :
    `frames ${first} to ${first + frames - 1}: ${bytes} bytes, ${keys} ${keys === 1 ? 'key frame' : 'key frames'}`,
  audioRead: (peaks, means) => `peak ${peaks.join(', ')} · RMS ${means.join(', ')}`,
  marked: (first, last) => `${first ?? ''} – ${last ?? ''}`,

  notFound: (name) => `There is no recording “${name}”.`,
  noFolder: (name) => `There is no folder “${name}”; choose one in the list.`,
  noList: (status) => `The list of files could not be loaded (${status}). Is the program that serves this page still ` +
    'running? Start it again, then reload the page.',
  makeRecording: 'A plain MP4 has no fragments, so its frames cannot be counted here. This makes a recording of it, ' +
    'without encoding it again:',
  cannotPlay: (codecs) => `This browser cannot play ${codecs.join(' and ')}. Open this page in a browser that can, or ` +
    'make a copy that every browser plays:',
  tryAnother: 'Another player, chosen above, may play it; “fmp4 verify” says whether the file is damaged.',
  noPlayer: 'No player here can play this.',
  notPlayedFromFile: 'Its fragments do not say when they play, so that the browser plays it from its start only; ' +
    '“fmp4 package” makes a recording of it in which one can seek.',

  // Names of the parts of the page, by the attributes data-text and data-name of index.html.
  labels: {
    find: 'Find a name',
    path: 'Folders',
    player: 'Player',
    picture: 'Picture',
    position: 'Position',
    lanes: 'Frame sizes, sound and captions',
    timeLine: 'Time line',
    reading: 'Values at the pointer',
    zoomIn: 'Show less of the time line',
    zoomOut: 'Show more of the time line',
    zoomAll: 'Show the whole file in the time line',
    back: 'One frame back',
    forward: 'One frame forward',
    frameNumber: 'Frame number',
    time: 'Time and duration',
    markIn: 'In point here',
    markOut: 'Out point here',
    clearMarks: 'Clear the in and out points',
    marks: 'In and out points',
    captions: 'Captions',
    captionChannel: 'Caption channel',
    boxes: 'Boxes',
    boxesHere: 'Go to the fragment of the frame shown',
    box: 'The chosen box',
    speed: 'Speed',
    volume: 'Volume',
    fullScreen: 'Full screen',
    keys: 'Keys',
    addresses: 'Addresses for players',
    close: 'Close',
  },

  keys: {
    playPause: 'Play or pause',
    back: 'One frame back',
    forward: 'One frame forward',
    secondBack: 'One second back',
    secondForward: 'One second forward',
    shuttleBack: 'Backwards; again: faster',
    shuttleStop: 'Stop',
    shuttleForward: 'Forwards; again: faster',
    first: 'First frame',
    last: 'Last frame',
    markIn: 'In point here',
    markOut: 'Out point here',
    clearMarks: 'No in and out points',
    zoom: 'Show less or more of the time line',
    zoomAll: 'Show the whole file in the time line',
    move: 'Earlier or later in the time line',
    captions: 'Captions',
    fullScreen: 'Full screen',
    help: 'This list',
  },
};

const textOf = (name) => strings.labels[name] ?? strings[name];

// Puts the texts and the names into the elements that ask for them, with the key that does the same.
export function applyStrings(root) {
  for (const element of root.querySelectorAll('[data-text]'))
    element.textContent = textOf(element.dataset.text);
  for (const element of root.querySelectorAll('[data-name]')) {
    const name = textOf(element.dataset.name);
    element.setAttribute('aria-label', name);
    if (element.type === 'search') element.placeholder = name;
    element.title = element.dataset.key ? `${name} (${element.dataset.key})` : name;
  }
}
