// Draws a screen of captions (docs/json.md, /data/captions) into an SVG element that lies over the video. Its
// coordinates are pixels of the picture, so that it is scaled and letterboxed as the video is.

const kOpacities = {solid: 1, flash: 1, translucent: 0.5, transparent: 0};
const kSizes = {small: 0.75, large: 1.2};
const kTextHeight = 0.8;  // of a row
const kBaseline = 0.76;
// Where an edge has its second drawing, in parts of a row.
const kEdges = {
  'raised': [0.03, 0.03], 'depressed': [-0.03, -0.03], 'left-shadow': [-0.06, 0.06], 'right-shadow': [0.06, 0.06],
};

function element(name, attributes) {
  const made = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  return made;
}

function rectangle({x, y, width, height}, colour, opacity) {
  const made = element('rect', {x, y, width, height, fill: colour, 'fill-opacity': kOpacities[opacity]});
  if (opacity === 'flash') made.classList.add('flash');
  return made;
}

// By how many columns each row is moved for the alignment of its region.
function shiftsOf({columns, align, text}) {
  const ends = new Map();
  for (const {row, column, columns: width} of text) {
    const [start, end] = ends.get(row) ?? [column, column];
    ends.set(row, [Math.min(start, column), Math.max(end, column + width)]);
  }
  const shift = ([start, end]) =>
    align === 'centre' ? (columns - end - start) / 2 : align === 'right' ? columns - end : 0;
  return new Map([...ends].map(([row, both]) => [row, shift(both)]));
}

function writing(run, box, rowHeight) {
  const scale = kSizes[run.size] ?? 1, raised = {superscript: -0.2, subscript: 0.15}[run.offset] ?? 0;
  const made = element('text', {
    'x': box.x,
    'y': box.y + rowHeight * (kBaseline + raised),
    'font-size': rowHeight * kTextHeight * scale,
    'textLength': box.width,
    'lengthAdjust': 'spacingAndGlyphs',
    'fill': run.foreground ?? '#ffffff',
    'fill-opacity': kOpacities[run.foregroundOpacity ?? 'solid'],
    'data-font': run.font ?? 'default',
  });
  made.textContent = run.text;
  if (run.italics) made.setAttribute('font-style', 'italic');
  if (run.underline) made.setAttribute('text-decoration', 'underline');
  if (run.foregroundOpacity === 'flash') made.classList.add('flash');
  if (run.edge === 'uniform') {
    made.setAttribute('stroke', run.edgeColour);
    made.setAttribute('stroke-width', rowHeight * 0.08);
  }
  return made;
}

// The same text in the colour of its edge, beside it; none when the edge has no such.
function edgeOf(run, text, rowHeight) {
  const moved = kEdges[run.edge];
  if (!moved) return [];
  const edge = text.cloneNode(true);
  edge.setAttribute('fill', run.edgeColour);
  edge.setAttribute('transform', `translate(${moved.map((part) => part * rowHeight).join(' ')})`);
  edge.setAttribute('aria-hidden', 'true');
  return [edge];
}

function drawRegion(region, width, height) {
  const group = element('g', {});
  const box = {
    x: region.left * width / 100, y: region.top * height / 100, width: region.width * width / 100,
    height: region.height * height / 100,
  };
  const rowHeight = box.height / region.rows, columnWidth = box.width / region.columns;
  const frame = rectangle(box, region.fill, region.fillOpacity);
  if (region.border !== 'none') {
    frame.setAttribute('stroke', region.borderColour);
    frame.setAttribute('stroke-width', rowHeight * 0.08);
  }
  group.append(frame);
  const shifts = shiftsOf(region);
  for (const run of region.text) {
    const place = {
      x: box.x + (run.column + shifts.get(run.row)) * columnWidth, y: box.y + run.row * rowHeight,
      width: run.columns * columnWidth, height: rowHeight,
    };
    const text = writing(run, place, rowHeight);
    group.append(rectangle(place, run.background ?? '#000000', run.backgroundOpacity ?? 'solid'),
      ...edgeOf(run, text, rowHeight), text);
  }
  return group;
}

// Draws `screen`, or nothing for null, over a picture of this size.
export function drawScreen(overlay, screen, width, height) {
  overlay.setAttribute('viewBox', `0 0 ${width} ${height}`);
  overlay.replaceChildren(...(screen?.regions ?? []).map((region) => drawRegion(region, width, height)));
}

// The text of a screen, its rows as lines.
export function textOf(screen) {
  const lines = [];
  for (const {text} of screen.regions) {
    const rows = new Map();
    for (const run of text) rows.set(run.row, (rows.get(run.row) ?? '') + run.text);
    lines.push(...[...rows.values()].map((row) => row.trim()).filter(Boolean));
  }
  return lines.join('\n');
}
