// Draws the lanes of the time line. Each takes as many cells as fit into the width; all return how many they drew.

export const kHeights = {ticks: 10, frames: 64, audio: 40, captions: 20};

// The cells of tiles as (index, answer, place in it), those alone that are known.
function* cellsOf(tiles, from, to, lengthOf) {
  for (const answer of tiles) {
    if (!answer) continue;
    const first = Math.max(answer.from, from), end = Math.min(answer.from + lengthOf(answer), to);
    for (let index = first; index < end; ++index) yield {index, answer, at: index - answer.from};
  }
}

function clearLane(context, {top, height, width, colours}) {
  context.fillStyle = colours.panel;
  context.fillRect(0, top, width, height);
}

// Over what is drawn, on a plate that lets it be read.
function label(context, {top, colours}, text) {
  if (!text) return;
  context.font = '11px system-ui, sans-serif';
  context.globalAlpha = 0.85;
  context.fillStyle = colours.panel;
  context.fillRect(0, top + 1, context.measureText(text).width + 8, 14);
  context.globalAlpha = 1;
  context.fillStyle = colours.faint;
  context.textBaseline = 'top';
  context.fillText(text, 4, top + 3);
}

// The mean bytes of a frame in about a second around each of `cells`, which are consecutive.
function smoothed(cells, cellsASecond) {
  const reach = Math.max(0, Math.floor(cellsASecond / 2)), sums = [[0, 0]];
  for (const {answer, at} of cells) {
    const [bytes, frames] = sums.at(-1);
    sums.push([bytes + answer.bytes[at], frames + answer.frames[at]]);
  }
  return cells.map((_, i) => {
    const first = sums[Math.max(0, i - reach)], end = sums[Math.min(cells.length, i + reach + 1)];
    return (end[0] - first[0]) / Math.max(1, end[1] - first[1]);
  });
}

// `lane`: {top, height, width, colours}; `xOf(index)`: the left edge of a cell. Bars of the largest frames, key frames
// marked, and the bit rate as a line.
export function drawFrames(context, lane, {tiles, from, to, xOf, cellsASecond, name}) {
  clearLane(context, lane);
  const cells = [...cellsOf(tiles, from, to, ({bytes}) => bytes.length)];
  const {top, height, colours} = lane;
  const largest = cells.reduce((most, {answer, at}) => Math.max(most, answer.largest[at]), 1);
  const means = smoothed(cells, cellsASecond), fastest = means.reduce((most, mean) => Math.max(most, mean), 1);
  for (const {index, answer, at} of cells) {
    const x = xOf(index), width = Math.max(1, xOf(index + 1) - x - (xOf(1) - xOf(0) > 4 ? 1 : 0));
    const bar = Math.max(1, answer.largest[at] / largest * (height - 4));
    context.fillStyle = answer.unread[at] ? colours.warning : answer.keys[at] ? colours.accent : colours.bar;
    context.fillRect(x, top + height - (answer.unread[at] ? height : bar), width, answer.unread[at] ? height : bar);
  }
  context.strokeStyle = colours.rate;
  context.beginPath();
  let before = null;
  for (const [i, {index}] of cells.entries()) {
    const x = (xOf(index) + xOf(index + 1)) / 2, y = top + height - means[i] / fastest * (height - 4);
    if (before === index - 1) context.lineTo(x, y);
    else context.moveTo(x, y);
    before = index;
  }
  context.stroke();
  label(context, lane, name);
  return cells.length;
}

// Fragments as short ticks, segments as long ones.
export function drawTicks(context, lane, {tiles, from, to, xOf}) {
  clearLane(context, lane);
  const {top, height, colours} = lane;
  let drawn = 0;
  for (const {index, answer, at} of cellsOf(tiles, from, to, ({bytes}) => bytes.length)) {
    ++drawn;
    if (!answer.fragments[at]) continue;
    const long = answer.segments[at] > 0;
    context.fillStyle = long ? colours.accent : colours.bar;
    context.fillRect(Math.round(xOf(index)), top, 1, long ? height : height / 2);
  }
  return drawn;
}

// Peak and root mean square of a channel. `faults`: what is wrong, drawn over it; `xOfSample(n)`: of a PCM frame.
export function drawAudio(context, lane, {tiles, from, to, xOf, channel, faults, xOfSample, name}) {
  clearLane(context, lane);
  const {top, height, width, colours} = lane, middle = top + height / 2, scale = height / 2 / 32768;
  let drawn = 0;
  for (const {index, answer, at} of cellsOf(tiles, from, to, ({peak}) => peak[channel]?.length ?? 0)) {
    ++drawn;
    const x = xOf(index), across = Math.max(1, xOf(index + 1) - x);
    for (const [values, colour] of [[answer.peak, colours.bar], [answer.rms, colours.accent]]) {
      const reach = Math.max(0.5, values[channel][at] * scale);
      context.fillStyle = colour;
      context.fillRect(x, middle - reach, across, 2 * reach);
    }
  }
  for (const {kind, from: first, to: end} of faults) {
    const x = Math.max(0, xOfSample(first)), right = Math.min(width, Math.max(xOfSample(end), x + 2));
    if (right <= x) continue;
    context.globalAlpha = kind === 'gap' ? 0.35 : 0.6;
    context.fillStyle = colours.warning;
    context.fillRect(x, top, right - x, height);
    context.globalAlpha = 1;
  }
  label(context, lane, name);
  return drawn;
}

const kLeastText = 24;  // pixels

// Captions of a channel as boxes with their text, where it fits.
export function drawCaptions(context, lane, {cues, xOf, name}) {
  clearLane(context, lane);
  const {top, height, width, colours} = lane;
  let drawn = 0;
  for (const {first, end, text} of cues) {
    const x = Math.max(0, xOf(first)), right = Math.min(width, xOf(end));
    if (right < 0 || x > width) continue;
    ++drawn;
    const across = Math.max(1, right - x - 1);
    context.fillStyle = colours.raised;
    context.fillRect(x, top + 1, across, height - 2);
    if (across < kLeastText || !text) continue;
    context.save();
    context.beginPath();
    context.rect(x, top, across - 2, height);
    context.clip();
    context.fillStyle = colours.text;
    context.font = '12px system-ui, sans-serif';
    context.textBaseline = 'middle';
    context.fillText(text.replaceAll('\n', ' '), x + 3, top + height / 2 + 1);
    context.restore();
  }
  label(context, {...lane, top: top - 2}, drawn ? '' : name);
  return drawn;
}
