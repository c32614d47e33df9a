// The page: the list of recordings, and the chosen one in a player. The address specifies what is shown: #NAME or
// #NAME/PLAYER, each part percent-encoded.
import {CaptionTrack} from './captions.js';
import {players} from './players.js';
import {describeRecording, listRecordings, mediaUrl} from './recording.js';

const kListSeconds = 3;  // interval between checks of the folder

const at = (id) => document.getElementById(id);
const video = at('video');

let shown = null;  // {recording, description, captions, stop}
let pictureTime = 0;  // media time of the displayed frame, seconds
let firstPicture = 0;  // that of the recording's first frame: B-frames delay it

// ---- the list

function sizeText(bytes) {
  const units = ['bytes', 'KB', 'MB', 'GB', 'TB'];
  let unit = 0;
  while (bytes >= 1000 && unit < units.length - 1) {
    bytes /= 1000;
    ++unit;
  }
  return `${bytes.toFixed(unit ? 1 : 0)} ${units[unit]}`;
}

function timeText(seconds) {
  const milliseconds = Math.max(0, Math.round(seconds * 1000));
  const two = (value) => String(Math.floor(value)).padStart(2, '0');
  return `${two(milliseconds / 3600000)}:${two(milliseconds / 60000 % 60)}:${two(milliseconds / 1000 % 60)}.` +
    String(milliseconds % 1000).padStart(3, '0');
}

function listEntry(recording) {
  const link = document.createElement('a');
  link.href = `#${encodeURIComponent(recording.name)}`;
  link.textContent = recording.name;
  link.setAttribute('aria-current', recording.name === shown?.recording.name);
  const facts = document.createElement('small');
  facts.textContent = sizeText(recording.bytes);
  if (recording.inProgress) {
    const live = document.createElement('span');
    live.className = 'live';
    live.textContent = ' · not ended';
    facts.append(live);
  }
  link.append(facts);
  const entry = document.createElement('li');
  entry.append(link);
  return entry;
}

let listText = '';
async function showList() {
  const recordings = await listRecordings();
  const text = JSON.stringify([recordings, shown?.recording.name]);
  if (text !== listText) at('list').replaceChildren(...recordings.map(listEntry));
  listText = text;
  at('empty').hidden = recordings.length > 0;
  return recordings;
}

// ---- the chosen recording

function report({text, fatal}) {
  const entry = document.createElement('li');
  entry.textContent = text;
  entry.classList.toggle('fatal', fatal);
  at('messages').append(entry);
}

function showFacts(recording, description) {
  const facts = description === null ? [] : [
    `${description.width}×${description.height}`,
    `${Number(description.frameRate.toFixed(3))} frames/s`,
    description.codecs.join(' + '),
    recording.inProgress ? 'not ended' : timeText(description.seconds),
  ];
  at('facts').textContent = facts.join(' · ');
}

// The addresses to copy for other players.
function showAddresses({manifest, playlist}) {
  const files = Object.entries({DASH: manifest, HLS: playlist}).filter(([, file]) => file);
  at('addresses').replaceChildren(...files.map(([label, file]) => {
    const link = document.createElement('a');
    link.href = link.title = mediaUrl(file);
    link.textContent = label;
    return link;
  }));
}

function showPlayers(recording, chosen) {
  const playable = Object.entries(players).filter(([, player]) => recording[player.needs]);
  at('player').replaceChildren(...playable.map(([name, {label}]) => new Option(label, name, false, name === chosen)));
}

// hls.js follows a recording in progress; the manifest is static and read once.
function defaultPlayer(recording) {
  return recording.playlist ? 'hls.js' : 'dash.js';
}

async function show(recording, player) {
  await shown?.stop();
  for (const track of video.textTracks) track.mode = 'disabled';
  at('messages').replaceChildren();
  at('captions').disabled = true;
  at('captions').setAttribute('aria-pressed', 'false');
  pictureTime = firstPicture = 0;
  const description = await describeRecording(recording);
  const captions = await CaptionTrack.of(description, video);
  at('hint').hidden = true;
  at('viewer').hidden = false;
  at('title').textContent = document.title = recording.name;
  at('captions').disabled = captions === null;
  showFacts(recording, description);
  showAddresses(recording);
  showPlayers(recording, player);
  const stop = await players[player].start(video, recording, report);
  shown = {recording, player, description, captions, stop};
  await showList();
}

// Shows a text in place of a recording.
async function showNone(text) {
  await shown?.stop();
  shown = null;
  at('viewer').hidden = true;
  at('hint').hidden = false;
  at('hint').textContent = text;
  await showList();
}

// One at a time: the next starts when the previous one is ready.
let showing = Promise.resolve();
function showAddressed() {
  const [name, player] = location.hash.slice(1).split('/').map(decodeURIComponent);
  if (!name) return;
  showing = showing.then(async () => {
    const recording = (await showList()).find((each) => each.name === name);
    if (!recording) return showNone(`There is no recording “${name}”.`);
    await show(recording, players[player] && recording[players[player].needs] ? player : defaultPlayer(recording));
  }).catch((error) => report({text: String(error), fatal: true}));
}

// Checks a displayed recording that had not ended for changes.
async function follow(recordings) {
  if (!shown?.recording.inProgress) return;
  const recording = recordings.find(({name}) => name === shown.recording.name);
  if (!recording) return;
  const description = await describeRecording(recording);
  if (shown?.recording.name !== recording.name || description === null) return;
  Object.assign(shown, {recording, description});
  if (shown.captions) shown.captions.description = description;
  showFacts(recording, description);
}

// ---- time line and controls

function seekableRange() {
  const {seekable} = video;
  return seekable.length ? [seekable.start(0), seekable.end(seekable.length - 1)] : [0, 0];
}

// Seconds of the chosen recording; of one in progress as far as the player knows.
function duration() {
  const {recording, description} = shown ?? {};
  return description?.frameRate && !recording.inProgress ? description.seconds : seekableRange()[1] - firstPicture;
}

// The times between which the position moves: up to the middle of the last frame. Audio may last longer, but players show
// no frame there.
function timeLine() {
  const [first, last] = seekableRange();
  const halfFrame = 0.5 / (shown?.description?.frameRate || Infinity);
  return [first, Math.max(first, Math.min(last, firstPicture + duration()) - halfFrame)];
}

function seek(seconds) {
  const [first, last] = timeLine();
  video.currentTime = Math.min(last, Math.max(first, seconds));
}

const kMostDelayedFrames = 16;  // maximum frames that H.264 lets a decoder hold back

function frameShown(rate) {
  const {buffered} = video;
  if (buffered.length && buffered.start(0) <= kMostDelayedFrames / rate) firstPicture = buffered.start(0);
  return Math.round((pictureTime - firstPicture) * rate);
}

// Times are displayed like frame numbers, from the first frame on.
function showTime() {
  const [first, last] = timeLine();
  const position = at('position');
  position.min = first;
  position.max = last;
  if (!position.matches(':active')) position.value = video.currentTime;
  const ahead = [...Array(video.buffered.length).keys()].find(
    (i) => video.buffered.start(i) <= video.currentTime + 0.1 && video.currentTime <= video.buffered.end(i));
  const share = (time) => last > first ? Math.min(1, Math.max(0, (time - first) / (last - first))) * 100 : 0;
  at('buffered').style.width = `${ahead === undefined ? 0 : share(video.buffered.end(ahead))}%`;
  const whole = duration();
  at('time').textContent = `${timeText(Math.min(whole, video.currentTime - firstPicture))} / ${timeText(whole)}`;
  const rate = shown?.description?.frameRate;
  at('frame').textContent = rate ? `frame ${frameShown(rate)}` : '';
  at('play').textContent = video.paused || video.ended ? 'Play' : 'Pause';
  shown?.captions?.show(video.currentTime);
}

function onPicture(_, {mediaTime}) {
  pictureTime = mediaTime;
  showTime();
  video.requestVideoFrameCallback(onPicture);
}

function togglePlay() {
  if (video.paused || video.ended)
    video.play().catch((error) => report({text: String(error), fatal: false}));
  else
    video.pause();
}

// Seeks to the middle of the frame's time, so that rounding cannot select a neighbour.
function step(frames) {
  const rate = shown?.description?.frameRate;
  if (!rate) return;
  video.pause();
  seek((Math.round(pictureTime * rate) + frames + 0.5) / rate);
}

function setSpeed() {
  video.playbackRate = Number(at('speed').value);
}

function toggleCaptions() {
  if (at('captions').disabled) return;
  const on = at('captions').getAttribute('aria-pressed') !== 'true';
  at('captions').setAttribute('aria-pressed', on);
  shown.captions.visible = on;
  showTime();
}

function toggleWhole() {
  if (document.fullscreenElement) document.exitFullscreen();
  else at('screen').requestFullscreen();
}

// Whether the focused control was reached with the Tab key. The space bar operates such a control; one that was clicked
// leaves all keys to the page.
let focusedByKeyboard = false;
document.addEventListener('keydown', (event) => { focusedByKeyboard ||= event.key === 'Tab'; }, true);
document.addEventListener('pointerdown', () => { focusedByKeyboard = false; }, true);

const keys = {' ': togglePlay, ',': () => step(-1), '.': () => step(1), 'c': toggleCaptions, 'f': toggleWhole};
document.addEventListener('keydown', (event) => {
  if (event.ctrlKey || event.altKey || event.metaKey || !(event.key in keys) || !shown) return;
  if (event.key === ' ' && focusedByKeyboard && event.target.matches('select, button')) return;
  event.preventDefault();
  if (!focusedByKeyboard) event.target.blur();  // else some browsers click a button when the space bar is released
  keys[event.key]();
});
at('play').onclick = video.onclick = togglePlay;
at('back').onclick = () => step(-1);
at('forward').onclick = () => step(1);
at('captions').onclick = toggleCaptions;
at('whole').onclick = toggleWhole;
at('position').oninput = () => seek(Number(at('position').value));
at('speed').onchange = setSpeed;
video.addEventListener('playing', setSpeed);  // players reset it
at('volume').oninput = () => { video.volume = Number(at('volume').value); };
at('player').onchange = () => {
  location.hash = `${encodeURIComponent(shown.recording.name)}/${at('player').value}`;
};
for (const event of ['timeupdate', 'progress', 'durationchange', 'play', 'pause', 'ended', 'seeked'])
  video.addEventListener(event, showTime);
video.requestVideoFrameCallback(onPicture);

addEventListener('hashchange', showAddressed);
setInterval(() => showList().then(follow).catch(() => {}), kListSeconds * 1000);
showList().then(showAddressed).catch((error) => {
  at('hint').textContent = String(error);
});
