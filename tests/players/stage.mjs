// What tests of the page need around them: a temporary folder with a folder of media in it, which is served, and a
// browser.
import assert from 'node:assert/strict';
import fs from 'node:fs/promises';
import os from 'node:os';
import path from 'node:path';
import {chromium} from 'playwright-core';
import {serve} from './server.mjs';

// Makes both folders.
export async function makeFolders(name) {
  const folder = await fs.mkdtemp(path.join(os.tmpdir(), `${name}-`));
  const media = path.join(folder, 'served');
  await fs.mkdir(media);
  return {folder, media};
}

export async function openStage(fmp4, media) {
  const server = await serve(fmp4, media);
  return {server, browser: await chromium.launch({executablePath: '/usr/bin/chromium', args: ['--no-sandbox']})};
}

// Ends all and removes the temporary folder; the server must end well. What was never opened may be missing.
export async function closeStage({folder, server, browser}) {
  await browser?.close();
  assert.equal(await server?.stop(), 0);
  await fs.rm(folder, {recursive: true});
}
