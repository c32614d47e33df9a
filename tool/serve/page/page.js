// The page: the list of files, and the chosen one in a player. The address specifies what is shown: #PATH or
// #PATH/PLAYER, each part percent-encoded; a path that ends with a slash is that of a folder.
import {BoxTree} from './boxes.js';
import {Captions} from './captions.js';
import {StatedClock, SteadyClock} from './clock.js';
import {exportCommand} from './export_command.js';
import {bindKeys} from './keys.js';
import {FileList, codecsText} from './list.js';
import {marks} from './marks.js';
import {players, unplayable} from './players.js';
import {dataUrl, describeFile, describeRecording, mediaUrl} from './recording.js';
import {Shuttle} from './shuttle.js';
import {applyStrings, strings, timeText} from './strings.js';
import {Timeline} from './timeline.js';

const kListSeconds = 3;  // interval between checks of the folder
const kTimelineSeconds = 5;  // the latest that the time line begins after the player

const at = (id) => document.getElementById(id);
const video = at('video');
applyStrings(document);

let shown = null;  // {recording, player, description, captions, clock, stop}; description: of the manifest
let pictureTime = 0;  // media time of the displayed frame, seconds
let firstPicture = 0;  // that of the recording's first frame: B-frames delay it
let zeroPicture = null;  // that of composition time 0, when the player tells it
let sought = null;  // {frame, time} of the last step while the position is there: keys come faster than pictures
let sawFirst = false;  // whether firstPicture is that of the frame which was displayed first

const list = new FileList(
  {element: at('list'), end: at('end'), filter: at('find'), path: at('path'), empty: at('empty')});

const timeline = new Timeline({
  root: at('lanes'), canvas: at('overview'), playhead: at('playhead'), range: at('marked'), reading: at('reading'),
}, scrub);
const boxes = new BoxTree({tree: at('box-tree'), details: at('box')});

// ---- the chosen recording

function report({text, fatal, command}) {
  const entry = document.createElement('li');
  entry.textContent = text;
  entry.classList.toggle('fatal', Boolean(fatal));
  if (command) entry.append(commandToCopy(command));
  at('messages').append(entry);
}

function commandToCopy(command) {
  const line = document.createElement('p');
  line.className = 'command';
  const code = document.createElement('code');
  code.textContent = command;
  const button = document.createElement('button');
  button.textContent = strings.copy;
  button.onclick = async () => {
    await navigator.clipboard.writeText(command);
    button.textContent = strings.copied;
  };
  line.append(code, button);
  return line;
}

function showFacts({recording, description, file}) {
  const facts = [];
  if (description) {
    facts.push(strings.pictureSize(description.width, description.height), strings.rate(description.frameRate),
      description.codecs.join(' + '), recording.inProgress ? strings.notEnded : timeText(description.seconds));
  } else if (file?.accepted) {
    if (file.video) {
      facts.push(strings.pictureSize(file.video.width, file.video.height));
      if (file.video.scale) facts.push(strings.rate(file.video.rate / file.video.scale));
    }
    facts.push(codecsText(file), ...file.audio.slice(0, 1).map(({channels}) => strings.channels(channels)),
      timeText(file.durationSeconds));
  }
  at('facts').textContent = facts.filter(Boolean).join(' · ');
}

// The addresses to copy for other players.
function showAddresses({kind, file, manifest, playlist, description}) {
  const made = kind === 'media' && description?.statesTimes;
  const files = {
    DASH: manifest && mediaUrl(manifest),
    HLS: playlist ? mediaUrl(playlist) : made && dataUrl('playlist', file),
    MP4: kind === 'media' && mediaUrl(file),
  };
  at('addresses').replaceChildren(...Object.entries(files).filter(([, address]) => address).map(([label, address]) => {
    const link = document.createElement('a');
    link.href = link.title = address;
    link.textContent = label;
    return link;
  }));
}

// The names of the players for a recording, the one to be used by itself first. hls.js follows a recording in progress;
// the manifest is static and read once.
function playersOf(recording) {
  return Object.keys(players).filter((name) => players[name].plays(recording));
}

function showPlayers(names, chosen) {
  at('player').replaceChildren(...names.map((name) => new Option(players[name].label, name, false, name === chosen)));
  at('player').disabled = names.length === 0;
}

// Why a file is not played, in a message with what to do. Returns whether it can be tried.
function canBeTried({kind, file: path, description: file}) {
  if (!file) return true;
  if (!file.accepted && file.code !== 'not-fragmented') {
    report({text: file.why, fatal: kind === 'media'});
    return kind !== 'media';  // players read manifests that the plug-in does not
  }
  if (!file.accepted) {
    report({text: strings.makeRecording, command: file.command});
    return true;
  }
  const codecs = unplayable(file.codecs);
  if (codecs.length === 0) return true;
  const isVideo = (codec) => /^(hvc1|hev1|av01|vp09|mp4v|dvh)/.test(codec);
  const quoted = `'${path.replaceAll("'", "'\\''")}'`, copy = `'${path.replace(/\.[^./]*$/, '').replaceAll("'", "'\\''")}-copy.mp4'`;
  const video = codecs.some(isVideo) ? 'libx264' : 'copy', audio = codecs.some((codec) => !isVideo(codec)) ? 'aac' : 'copy';
  report({
    text: strings.cannotPlay(codecs),
    fatal: true,
    command: `ffmpeg -i ${quoted} -c:v ${video} -c:a ${audio} -movflags +frag_keyframe+empty_moov+default_base_moof ${copy}`,
  });
  return false;
}

async function leave() {
  shown?.captions?.close();
  at('boxes').open = false;
  boxes.clear();
  await shown?.stop();
  shown = null;
}

// The player is shown at once; what the plug-in says of a recording comes later. Other files are played by what it says.
async function show(entry, wanted) {
  await leave();
  shuttle.stop();
  at('messages').replaceChildren();
  at('advice').hidden = true;
  at('captions').disabled = true;
  at('captions').setAttribute('aria-pressed', 'false');
  pictureTime = firstPicture = 0;
  zeroPicture = sought = null;
  sawFirst = false;
  marks.clear();
  const recording = {...entry};
  if (recording.kind !== 'recording') recording.description = await list.describe(entry);
  const description = recording.kind === 'recording' ? await describeRecording(recording) : null;
  at('hint').hidden = true;
  at('viewer').hidden = false;
  at('title').textContent = document.title = recording.name;
  shown = {recording, description, captions: null, file: recording.description, stop: async () => {}};
  showFacts(shown);
  showAddresses(recording);
  const tried = canBeTried(recording), names = tried ? playersOf(recording) : [];
  const player = names.includes(wanted) ? wanted : names[0];
  showPlayers(names, player);
  at('screen').hidden = at('timeline').hidden = at('controls').hidden = !player;
  if (tried && !player) report({text: strings.noPlayer, fatal: true});
  if (player === 'file' && recording.description?.accepted && !recording.description.statesTimes) report({text: strings.notPlayedFromFile});
  for (const text of recording.description?.warnings ?? []) report({text});
  shown.clock = description?.frameRate ? new SteadyClock(description.frameRate) : null;
  if (player) {
    const failed = (error) => {
      report(error);
      if (error.fatal && names.length > 1) at('advice').hidden = false;
    };
    const stop = await players[player].start(video, recording, failed, (seconds) => { zeroPicture = seconds; });
    Object.assign(shown, {player, stop});
  }
  list.current = entry.path;
  showTimeline(shown, entry);
  takeClock(shown, entry);
  takeCaptions(shown, entry).catch((error) => report({text: error.message}));
}

// The time line waits for the first picture, though not for long: reading a file takes time from the player.
async function showTimeline(to, entry) {
  timeline.show(null);
  if (to.player && video.readyState < HTMLMediaElement.HAVE_CURRENT_DATA) {
    await new Promise((resolve) => {
      video.addEventListener('loadeddata', resolve, {once: true});
      setTimeout(resolve, kTimelineSeconds * 1000);
    });
  }
  if (shown === to) timeline.show(entry.file);
}

// Gets the times that the file states. A recording in progress has none yet; its frames are of equal duration.
async function takeClock(to, entry) {
  if (entry.inProgress || !entry.file) return;
  to.file = await list.describe(entry);
  const clock = await StatedClock.of(entry.file, to.file);
  await clock?.know(clock.frames - 1).catch(() => {});
  if (shown !== to || !clock) return;
  to.clock = clock;
  placeFirst();
  showTime();
}

// The list keeps how a recording in progress was when it began, perhaps before its first caption.
async function takeCaptions(to, entry) {
  if (!to.player || !entry.file || to.captions) return;
  const file = await (entry.inProgress ? describeFile(entry.file) : list.describe(entry));
  if (shown !== to || to.captions || !(file.captions608 || file.captions708)) return;
  const growing = () => Boolean(to.recording.inProgress);
  to.captions = new Captions(entry.file, {video, overlay: at('overlay'), menu: at('channel'), growing});
  at('captions').disabled = false;
}

// Shows a text in place of a recording.
async function showNone(text) {
  await leave();
  timeline.show(null);
  list.current = null;
  at('viewer').hidden = true;
  at('hint').hidden = false;
  at('hint').textContent = text;
}

// What the address names: without a name the newest file, if nothing is shown.
async function showPath(path, player) {
  const folder = path.slice(0, Math.max(0, path.lastIndexOf('/')));
  const entries = await list.load(folder);
  if (entries === null) return showNone(strings.noFolder(folder));
  if (path === '' || path.endsWith('/')) {
    if (!shown && entries.length) await show(entries[0]);
    return;
  }
  const entry = entries.find((each) => each.path === path);
  if (!entry) return showNone(strings.notFound(path));
  await show(entry, player);
}

// Whether an address names a file, and not only a folder.
function namedFile(hash) {
  return hash.length > 1 && !/^#[^/]*%2F$/i.test(hash);
}

// One at a time: the next starts when the previous one is ready.
let showing = Promise.resolve();
function showAddressed() {
  const [path, player] = location.hash.slice(1).split('/');
  showing = showing.then(() => showPath(decodeURIComponent(path), player && decodeURIComponent(player)))
    .catch((error) => {
      if (shown) report({text: error.message, fatal: true});
      else return showNone(error.message);
    });
}

// Looks whether the folder has changed: a displayed recording that had not ended, or the first file in it.
async function follow() {
  const entries = await list.load();
  if (entries === null) return;
  if (!shown && !namedFile(location.hash) && entries.length) showAddressed();
  if (!shown?.recording.inProgress) return;
  const recording = entries.find(({path}) => path === shown.recording.path);
  if (!recording) return;
  const description = await describeRecording(recording);
  if (shown?.recording.path !== recording.path || description === null) return;
  Object.assign(shown, {recording: {...recording}, description});
  showFacts(shown);
  refresh();
  takeClock(shown, recording).catch(() => {});
}

const kRefreshSeconds = 20;  // of a recording in progress, which the server reads again

let refreshed = 0;
function refresh() {
  const {recording} = shown;
  if (recording.inProgress && Date.now() - refreshed < kRefreshSeconds * 1000) return;
  refreshed = Date.now();
  timeline.refresh();
  takeCaptions(shown, recording).catch(() => {});
}

// ---- time line and controls

function seekableRange() {
  const {seekable} = video;
  return seekable.length ? [seekable.start(0), seekable.end(seekable.length - 1)] : [0, 0];
}

// Seconds of the chosen recording; of one in progress as far as the player knows.
function duration() {
  const {recording, description, file} = shown ?? {};
  if (recording && !recording.inProgress) {
    if (description?.frameRate) return description.seconds;
    if (file?.accepted) return file.durationSeconds;
  }
  return seekableRange()[1] - firstPicture;
}

// The times between which the position moves: up to the middle of the last frame. Audio may last longer, but players show
// no frame there.
function timeLine() {
  const [first, last] = seekableRange(), clock = shown?.clock;
  const halfFrame = 0.5 / (clock?.rate || Infinity);
  const end = clock?.frames ? clock.middleOf(clock.frames - 1) : undefined;
  return [first, Math.max(first, Math.min(last - halfFrame, firstPicture + (end ?? duration() - halfFrame)))];
}

// The number of the last frame; while the file's times are not known, that of the end of the time line.
function lastFrame() {
  const {clock} = shown;
  return clock.frames ? clock.frames - 1 : Math.floor((timeLine()[1] - firstPicture) * clock.rate);
}

function seek(seconds) {
  const [first, last] = timeLine();
  video.currentTime = Math.min(last, Math.max(first, seconds));
}

const kMostDelayedFrames = 16;  // maximum frames that H.264 lets a decoder hold back

// Finds out at which media time the first frame is: from what the player says, else from what was displayed first, else
// from where the player's media begin.
function placeFirst() {
  const {clock} = shown ?? {};
  if (!clock) return;
  const latest = kMostDelayedFrames / clock.rate;
  if (zeroPicture !== null && clock.start !== undefined) {
    firstPicture = clock.start + zeroPicture;
  } else if (!sawFirst || clock.start === undefined) {
    const {buffered} = video;
    if (buffered.length && buffered.start(0) <= latest) firstPicture = buffered.start(0);
  }
}

function frameShown() {
  placeFirst();
  return shown?.clock?.frameAt(pictureTime - firstPicture);
}

// The number of a frame as the plug-in delivers it, where that is known.
function delivered(frame) {
  return shown?.clock?.deliveredAs(frame) ?? frame;
}

function showFrame() {
  const frame = frameShown(), {clock} = shown ?? {};
  at('frame').textContent = frame === undefined ? '' : strings.frame(frame);
  const number = video.paused ? delivered(frame) : frame;
  at('delivered').textContent = number === frame ? '' : strings.delivered(number);
  at('position').setAttribute('aria-valuetext',
    strings.frameValue(frame ?? '', timeText(Math.max(0, video.currentTime - firstPicture))));
  if (frame === undefined) clock?.knowAt(pictureTime - firstPicture).then(showTime).catch(() => {});
  return frame;
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
  const frame = showFrame();
  timeline.moveTo(delivered(frame), Math.max(0, video.currentTime - firstPicture), !video.paused);
  at('play').textContent = video.paused || video.ended ? strings.play : strings.pause;
  shown?.captions?.show(frame);
}

function onPicture(_, {mediaTime}) {
  pictureTime = mediaTime;
  if (!video.paused) sought = null;
  // A picture before this one may have been displayed already when somebody has sought since.
  if (!sawFirst && shown?.stop && mediaTime <= kMostDelayedFrames / (shown.clock?.rate ?? 24)) {
    firstPicture = mediaTime;
    sawFirst = true;
  }
  showTime();
  video.requestVideoFrameCallback(onPicture);
}

const kReportSeconds = 0.3;  // in which a browser reports the picture of a seek

// Whether the picture that was reported last can be that of the position.
function isPictureOfPosition() {
  const frames = (video.currentTime - pictureTime) * shown.clock.rate;
  return frames > -0.25 && frames < 1.25;
}

// The media time at which a frame begins to be shown.
const startOf = (frame) => firstPicture + shown.clock.middleOf(frame) - 0.5 / shown.clock.rate;

// The frame that is shown at the position; undefined while that part of the file is not known.
function frameAtPosition() {
  const {clock} = shown, position = video.currentTime;
  const halfFrame = 0.5 / clock.rate, next = clock.frameAt(position - firstPicture);
  if (next === undefined) return undefined;
  const begun = startOf(next) > position + halfFrame / 10 ? next - 1 : next;
  const frame = Math.max(0, Math.min(lastFrame(), begun));
  return position >= startOf(frame) - halfFrame ? frame : undefined;
}

// The frame where somebody is who paused there: keys come faster than pictures.
function currentFrame() {
  const isAwaited = shown?.clock && video.paused && !isPictureOfPosition();
  return sought?.frame ?? (isAwaited ? frameAtPosition() : undefined) ?? frameShown();
}

// After a seek of a paused video the report of its picture may stay out. The picture is that of the position.
function supplyPicture() {
  if (!shown?.clock?.frames || !video.paused || video.seeking || isPictureOfPosition()) return;
  const frame = frameAtPosition();
  if (frame === undefined) return;
  pictureTime = startOf(frame);
  showTime();
}
video.addEventListener('seeked', () => setTimeout(supplyPicture, kReportSeconds * 1000));

function togglePlay() {
  if (video.paused || video.ended)
    video.play().catch((error) => report({text: String(error), fatal: false}));
  else
    video.pause();
}

// Seeks to the middle of the frame's time, so that rounding cannot select a neighbour.
async function goTo(frame) {
  const {clock} = shown ?? {};
  if (!clock) return;
  video.pause();
  const target = {frame: Math.max(0, Math.min(frame, lastFrame()))};
  sought = target;
  if (clock.middleOf(target.frame) === undefined) await clock.know(target.frame);
  if (shown?.clock !== clock || sought !== target) return;
  seek(firstPicture + clock.middleOf(target.frame));
  target.time = video.currentTime;
}
video.addEventListener('seeking', () => {
  if (sought && Math.abs(video.currentTime - (sought.time ?? video.currentTime)) > 0.001) sought = null;
});

const kMostSeekSeconds = 2;  // that are waited for

function whenSought() {
  if (!video.seeking) return undefined;
  return new Promise((resolve) => {
    video.addEventListener('seeked', resolve, {once: true});
    setTimeout(resolve, kMostSeekSeconds * 1000);
  });
}

// Goes to a place of the time line; of those that come while the picture is sought only the last counts.
let scrubbed = null, scrubbing = false;
async function scrub(place) {
  scrubbed = place;
  if (scrubbing) return;
  scrubbing = true;
  while (scrubbed !== null) {
    const next = scrubbed;
    scrubbed = null;
    await goToPlace(next).catch((error) => report({text: error.message}));
    await whenSought();
  }
  scrubbing = false;
}

async function goToPlace(place) {
  const {clock} = shown ?? {};
  if (!timeline.hasVideo) return seek(firstPicture + place / 100);
  if (clock) await goTo(await clock.shownAs(place));
}

function step(frames) {
  const from = currentFrame();
  if (from !== undefined) goTo(from + frames).catch((error) => report({text: error.message}));
}

function stepSeconds(seconds) {
  video.pause();
  sought = null;
  seek(video.currentTime + seconds);
}

function goToEnd() {
  if (shown?.clock) return goTo(lastFrame()).catch((error) => report({text: error.message}));
  video.pause();
  return seek(timeLine()[1]);
}

const shuttle = new Shuttle(video, seek, (speed) => {
  at('shuttle').textContent = speed === 0 ? '' : strings.shuttle(speed);
  setSpeed();
});

function setSpeed() {
  video.playbackRate = shuttle.speed > 0 ? shuttle.speed : Number(at('speed').value);
}

function mark(end) {
  const frame = currentFrame();
  if (frame !== undefined) marks[end] = frame;
}
marks.onchange(() => {
  const any = marks.in !== null || marks.out !== null;
  at('marks').textContent = any ? strings.marked(marks.in, marks.out) : '';
  at('clear').hidden = !any;
  const [first, last] = [marks.in, marks.out].map((frame) => frame === null ? null : delivered(frame));
  timeline.mark({in: first, out: last});
  at('command').replaceChildren(...any && shown?.recording.file ? [commandToCopy(exportCommand(
    shown.recording.file, {first, last}, {video: timeline.hasVideo, audio: Boolean(shown.file?.audio?.length)}))] : []);
});

function toggleCaptions() {
  if (at('captions').disabled) return;
  const on = at('captions').getAttribute('aria-pressed') !== 'true';
  at('captions').setAttribute('aria-pressed', on);
  shown.captions.visible = on;
  showTime();
}

function openBoxes() {
  if (!shown || !at('boxes').open) return;
  boxes.open(shown.recording.file, currentFrame()).catch((error) => report({text: error.message}));
}

function toggleWhole() {
  if (document.fullscreenElement) document.exitFullscreen();
  else at('screen').requestFullscreen();
}

const showKeys = () => at('help').showModal();
const {keys} = strings;
bindKeys([
  {keys: [' '], what: keys.playPause, run: togglePlay},
  {keys: ['j'], what: keys.shuttleBack, run: () => shuttle.backward()},
  {keys: ['k'], what: keys.shuttleStop, run: () => shuttle.stop()},
  {keys: ['l'], what: keys.shuttleForward, run: () => shuttle.forward()},
  {keys: ['ArrowLeft', ','], what: keys.back, run: () => step(-1)},
  {keys: ['ArrowRight', '.'], what: keys.forward, run: () => step(1)},
  {keys: ['Shift+ArrowLeft'], what: keys.secondBack, run: () => stepSeconds(-1)},
  {keys: ['Shift+ArrowRight'], what: keys.secondForward, run: () => stepSeconds(1)},
  {keys: ['Home'], what: keys.first, run: () => goTo(0)},
  {keys: ['End'], what: keys.last, run: goToEnd},
  {keys: ['i'], what: keys.markIn, run: () => mark('in')},
  {keys: ['o'], what: keys.markOut, run: () => mark('out')},
  {keys: ['x'], what: keys.clearMarks, run: () => marks.clear()},
  {keys: ['+', '-'], what: keys.zoom, run: (key) => key === '+' ? timeline.zoomIn() : timeline.zoomOut()},
  {keys: ['0'], what: keys.zoomAll, run: () => timeline.showAll()},
  {keys: ['PageUp', 'PageDown'], what: keys.move, run: (key) => timeline.move(key === 'PageUp' ? -0.5 : 0.5)},
  {keys: ['c'], what: keys.captions, run: toggleCaptions},
  {keys: ['f'], what: keys.fullScreen, run: toggleWhole},
  {keys: ['?'], what: keys.help, run: showKeys},
], () => shown?.player, at('help'));

at('play').onclick = video.onclick = togglePlay;
at('back').onclick = () => step(-1);
at('forward').onclick = () => step(1);
at('in').onclick = () => mark('in');
at('out').onclick = () => mark('out');
at('clear').onclick = () => marks.clear();
at('zoom-in').onclick = () => timeline.zoomIn();
at('zoom-out').onclick = () => timeline.zoomOut();
at('zoom-all').onclick = () => timeline.showAll();
at('captions').onclick = toggleCaptions;
at('boxes').ontoggle = openBoxes;
at('boxes-here').onclick = openBoxes;
at('whole').onclick = toggleWhole;
at('keys').onclick = showKeys;
at('position').oninput = () => seek(Number(at('position').value));
at('speed').onchange = setSpeed;
video.addEventListener('playing', setSpeed);  // players reset it
at('volume').oninput = () => { video.volume = Number(at('volume').value); };
at('player').onchange = () => {
  location.hash = `${encodeURIComponent(shown.recording.path)}/${at('player').value}`;
};
for (const event of ['timeupdate', 'progress', 'durationchange', 'play', 'pause', 'ended', 'seeked'])
  video.addEventListener(event, showTime);
video.requestVideoFrameCallback(onPicture);

addEventListener('hashchange', showAddressed);
setInterval(() => follow().catch(() => {}), kListSeconds * 1000);
showAddressed();
