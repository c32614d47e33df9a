// A reporter for `node --test`: the table of docs/compatibility.md, counted in the tests that passed.
import fs from 'node:fs/promises';
import * as names from './names.mjs';
import {recordings, run} from './recordings.mjs';

const moduleVersion = async (name) =>
  JSON.parse(await fs.readFile(new URL(`../../tool/page/node_modules/${name}/package.json`, import.meta.url))).version;
const programVersion = async (program, option, pattern) => `${pattern.exec(await run(program, option))[1]} (Debian)`;

const kHls = '.master.m3u8';

const describes = (program) => (name, list) => names.describes(program, name, list);

// `dash` and `hls` give the test of a recording by its name and its manifest's extension; the others name tests of a
// recording in progress.
const clients = [
  {client: 'hls.js, in Chromium', version: () => moduleVersion('hls.js'), verb: 'plays', hls: names.plays('hls.js'),
    follows: names.follows('hls.js')},
  {client: 'dash.js, in Chromium', version: () => moduleVersion('dashjs'), verb: 'plays',
    dash: names.plays('dash.js'), showsWhatThereWas: names.showsWhatThereWas('dash.js')},
  {client: 'Shaka Player with DASH, in Chromium', version: () => moduleVersion('shaka-player'), verb: 'plays',
    dash: names.plays('shaka-dash'), showsWhatThereWas: names.showsWhatThereWas('shaka-dash')},
  {client: 'Shaka Player with HLS, in Chromium', version: () => moduleVersion('shaka-player'), verb: 'plays',
    hls: names.plays('shaka-hls'), follows: names.follows('shaka-hls')},
  {client: 'Chromium itself', version: () => programVersion('chromium', '--version', /Chromium ([\d.]+)/),
    verb: 'plays', hls: names.plays('browser')},
  {client: 'ffmpeg, over HTTP', version: () => programVersion('ffmpeg', '-version', /version ([\d.]+)/),
    verb: 'decodes', dash: names.decodes, hls: (name) => names.decodes(name, kHls)},
  {client: 'ffprobe', version: () => programVersion('ffprobe', '-version', /version ([\d.]+)/), verb: 'describes',
    dash: describes('ffprobe'), hls: (name) => describes('ffprobe')(name, kHls)},
  {client: 'MediaInfo', version: () => programVersion('mediainfo', '--Version', /v([\d.]+)/), verb: 'describes',
    dash: describes('MediaInfo'), hls: (name) => describes('MediaInfo')(name, kHls)},
];

const forms = [
  {manifest: '.mpd', recordings: recordings.filter(({extension}) => extension === undefined)},
  {manifest: '.xml', recordings: recordings.filter(({extension}) => extension === '.ismv')},
];

// How many recordings of a form passed a test: "plays 7 of 7".
function count(passed, verb, testOf, {recordings, manifest}) {
  if (!testOf) return '';
  const successes = recordings.filter(({name}) => passed.has(testOf(name, manifest))).length;
  return `${verb} ${successes} of ${recordings.length}`;
}

function progress(passed, {follows, showsWhatThereWas}) {
  if (passed.has(follows)) return 'follows it';
  return passed.has(showsWhatThereWas) ? 'as it was when opened' : '';
}

export default async function* compatibilityTable(events) {
  const passed = new Set();
  for await (const {type, data} of events)
    if (type === 'test:pass' && data.skip === undefined) passed.add(data.name);
  yield '| client | version | `.mpd` | `.xml` of `.ismv` | `.master.m3u8` | `.master.m3u8` of `.ismv` | in progress |\n';
  yield '|---|---|---|---|---|---|---|\n';
  for (const client of clients) {
    const cells = [client.dash, client.hls].flatMap((testOf) =>
      forms.map((form) => count(passed, client.verb, testOf, form)));
    yield `| ${[client.client, await client.version(), ...cells, progress(passed, client)].join(' | ')} |\n`;
  }
}
