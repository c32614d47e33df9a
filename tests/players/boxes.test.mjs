// The tree of a file's boxes on the page. FMP4 names the program; SHOTS a folder for screenshots.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {makeSource, run} from './recordings.mjs';
import {closeStage, makeFolders, openStage} from './stage.mjs';
import {Viewer} from './viewer.mjs';

const fmp4 = process.env.FMP4;

// Thirty fragments of ten frames.
const source = {name: 'source', rate: [25, 1], frames: 300, delayed: 2, audio: false, width: 320, height: 180};

let folder, media, server, browser;

before(async () => {
  ({folder, media} = await makeFolders('boxes'));
  await run('ffmpeg', '-nostdin', '-v', 'error', '-i', await makeSource(source, folder), '-c', 'copy', '-movflags',
    '+frag_keyframe+empty_moov+default_base_moof', path.join(media, 'clip.mp4'));
  // A box after the media whose type and text would be markup.
  const hostile = Buffer.concat([Buffer.from([0, 0, 0, 40]), Buffer.from('<b>x<img src=x onerror=alert(1)>....')]);
  await fs.writeFile(path.join(media, 'hostile.mp4'),
    Buffer.concat([await fs.readFile(path.join(media, 'clip.mp4')), hostile]));
  ({server, browser} = await openStage(fmp4, media));
});

after(() => closeStage({folder, server, browser}));

async function boxesOf(name) {
  return JSON.parse(await run(fmp4, 'boxes', '--json', path.join(media, name))).boxes;
}

async function openBoxes(viewer) {
  await viewer.page.getByText('Boxes', {exact: true}).click();
  await viewer.page.getByRole('tree', {name: 'Boxes'}).getByRole('treeitem').first().waitFor();
}

function chosen(viewer, name) {
  return viewer.page.getByRole('treeitem', {name, selected: true}).waitFor();
}

test('the tree opens at the fragment of the frame that is shown', async () => {
  const viewer = await Viewer.open(browser, server.address, 'clip.mp4');
  await viewer.sees(0);
  await viewer.seek((2 + 155.5) / 25);
  await viewer.sees(155);
  await openBoxes(viewer);
  const fragment = (await boxesOf('clip.mp4')).filter(({type}) => type === 'moof')[15];
  await chosen(viewer, `moof, ${fragment.size} bytes at byte ${fragment.offset}`);
  const tree = viewer.page.getByRole('tree', {name: 'Boxes'});
  const inner = tree.getByRole('treeitem', {name: /^traf,/});
  await inner.waitFor();
  assert.equal(await inner.getAttribute('aria-level'), '2');
  assert.ok(await tree.getByRole('treeitem').count() < 60, 'not all of the boxes');
  await viewer.keepScreenshot('boxes.png', {fullPage: true});
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('the arrow keys walk the tree, open and close it, and step no frames', async () => {
  const viewer = await Viewer.open(browser, server.address, 'clip.mp4');
  await viewer.sees(0);
  await openBoxes(viewer);
  const {keyboard} = viewer.page;
  const boxes = await boxesOf('clip.mp4');
  const nameOf = ({type, size, offset}) => `${type}, ${size} bytes at byte ${offset}`;
  const moof = boxes.find(({type}) => type === 'moof');
  await chosen(viewer, nameOf(moof));
  await viewer.page.getByRole('treeitem', {name: nameOf(moof)}).focus();
  await viewer.page.getByRole('treeitem', {name: /^traf,/}).waitFor();
  await keyboard.press('ArrowRight');
  await chosen(viewer, nameOf(moof.boxes[0]));
  await keyboard.press('ArrowDown');
  const traf = moof.boxes[1];
  await chosen(viewer, nameOf(traf));
  await keyboard.press('ArrowRight');
  await viewer.page.getByRole('treeitem', {name: /^trun,/}).waitFor();
  await keyboard.press('ArrowRight');
  await chosen(viewer, nameOf(traf.boxes[0]));
  await keyboard.press('ArrowLeft');
  await chosen(viewer, nameOf(traf));
  await keyboard.press('ArrowLeft');
  await viewer.page.getByRole('treeitem', {name: /^trun,/}).waitFor({state: 'hidden'});
  await keyboard.press('Home');
  await chosen(viewer, nameOf(boxes[0]));
  await keyboard.press('End');
  await chosen(viewer, 'More boxes');
  await keyboard.press('ArrowUp');
  assert.equal(await viewer.page.textContent('#frame'), 'frame 0');
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('a box is shown with its fields and bytes', async () => {
  const viewer = await Viewer.open(browser, server.address, 'clip.mp4');
  await viewer.sees(0);
  await openBoxes(viewer);
  await viewer.page.getByRole('treeitem', {name: /^traf,/}).click();
  const header = viewer.page.getByRole('treeitem', {name: /^tfhd,/});
  await header.click();
  const details = viewer.page.getByRole('region', {name: 'The chosen box'});
  await details.getByRole('row', {name: 'track_ID 1'}).waitFor();
  const [tfhd] = (await boxesOf('clip.mp4')).find(({type}) => type === 'moof').boxes[1].boxes;
  const file = await fs.readFile(path.join(media, 'clip.mp4'));
  const bytes = [...file.subarray(tfhd.offset, tfhd.offset + Math.min(16, tfhd.size))]
    .map((byte) => byte.toString(16).padStart(2, '0')).join(' ');
  assert.match(await details.locator('pre').textContent(), new RegExp(`^ *${tfhd.offset}  ${bytes}`));
  await viewer.page.getByRole('treeitem', {name: /^trun,/}).click();
  await details.getByRole('row', {name: 'sample_count 10'}).waitFor();
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('more boxes come when they are asked for, until there are all', async () => {
  const viewer = await Viewer.open(browser, server.address, 'clip.mp4');
  await viewer.sees(0);
  await openBoxes(viewer);
  const more = viewer.page.getByRole('treeitem', {name: 'More boxes'});
  const count = () => viewer.page.locator('#box-tree > [role=treeitem]').count();
  while (await more.count()) {
    const before = await viewer.page.locator('#box-tree > :last-child').textContent();
    await more.click();
    await viewer.page.waitForFunction((text) =>
      document.getElementById('box-tree').lastElementChild.textContent !== text, before);
  }
  assert.equal(await count(), (await boxesOf('clip.mp4')).length);
  assert.deepEqual(await viewer.messages(), []);
  await viewer.close();
});

test('hostile names and texts of boxes are text', async () => {
  const viewer = await Viewer.open(browser, server.address, 'hostile.mp4');
  viewer.page.on('dialog', () => assert.fail('a script of the file ran'));
  await viewer.sees(0);
  await viewer.seek((2 + 295.5) / 25);
  await viewer.sees(295);
  await openBoxes(viewer);
  await viewer.page.getByRole('treeitem', {name: /^<b>x,/}).click();
  await viewer.page.getByRole('heading', {name: /^<b>x,/}).waitFor();
  assert.equal(await viewer.page.locator('#boxes b, #boxes img').count(), 0);
  await viewer.close();
});
