// What is said of one box: its place, what is wrong, its fields, and its first bytes. Names and values come from a file
// that anybody may have made: they become text, never markup.
import {strings} from './strings.js';

const kLine = 16;  // bytes

function make(name, ...children) {
  const made = document.createElement(name);
  made.append(...children);
  return made;
}

const isObject = (value) => value !== null && typeof value === 'object' && !Array.isArray(value);

function tableOf(fields) {
  return make('table', make('tbody', ...Object.entries(fields).map(([name, value]) => {
    const header = make('th', name);
    header.scope = 'row';
    return make('tr', header, make('td', valueOf(value)));
  })));
}

// A list of entries is a table with a row each.
function entriesOf(list) {
  const rows = list.filter(isObject), rest = list.filter((value) => !isObject(value));
  const names = [...new Set(rows.flatMap(Object.keys))];
  const head = make('tr', ...names.map((name) => make('th', name)));
  const body = rows.map((row) => make('tr', ...names.map((name) => make('td', name in row ? valueOf(row[name]) : ''))));
  return make('div', make('table', make('thead', head), make('tbody', ...body)), rest.join(' '));
}

function valueOf(value) {
  if (Array.isArray(value)) return value.some(isObject) ? entriesOf(value) : value.join(', ');
  return isObject(value) ? tableOf(value) : String(value);
}

// Lines of an offset, bytes and the characters of ASCII.
function hexText(digits, offset) {
  const bytes = digits.match(/../g) ?? [], lines = [];
  for (let i = 0; i < bytes.length; i += kLine) {
    const line = bytes.slice(i, i + kLine);
    const characters = line.map((byte) => parseInt(byte, 16))
      .map((code) => code >= 32 && code < 127 ? String.fromCharCode(code) : '.');
    lines.push(`${String(offset + i).padStart(10)}  ${line.join(' ').padEnd(3 * kLine)} ${characters.join('')}`);
  }
  return lines.join('\n');
}

// The elements that describe a box, from the program's answer.
export function describeBox(box) {
  const parts = [make('h3', strings.boxName(box))];
  const wrong = box.defects.filter(({offset}) => offset === box.offset || !box.parent);
  for (const {text} of wrong) {
    const said = make('p', text);
    said.className = 'trouble';
    parts.push(said);
  }
  if (Object.keys(box.fields).length) parts.push(tableOf(box.fields));
  if (box.bytes) {
    parts.push(make('h4', strings.firstBytes(box.bytes.length / 2, box.size)),
      make('pre', hexText(box.bytes, box.offset)));
  }
  return parts;
}
