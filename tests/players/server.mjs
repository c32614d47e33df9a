// A server of the recordings on a free port: `fmp4 serve`, or the program that SERVER names, which takes the folder and
// the same options. What it keeps of files is in a folder of its own, until it is stopped.
import {spawn} from 'node:child_process';
import {once} from 'node:events';
import fs from 'node:fs/promises';
import os from 'node:os';
import path from 'node:path';
import readline from 'node:readline';

export async function serve(fmp4, folder) {
  const [program, ...words] = process.env.SERVER ? [process.env.SERVER] : [fmp4, 'serve'];
  const cache = await fs.mkdtemp(path.join(os.tmpdir(), 'cache-'));
  const server = spawn(program, [...words, folder, '--port', '0', '--json'],
    {stdio: ['ignore', 'pipe', 'inherit'], env: {...process.env, FMP4_CACHE: cache}});
  const [line] = await once(readline.createInterface({input: server.stdout}), 'line');
  return {
    address: JSON.parse(line).address,
    // Ends it and returns its exit code.
    async stop() {
      server.kill('SIGTERM');
      const [code] = await once(server, 'exit');
      await fs.rm(cache, {recursive: true});
      return code;
    },
  };
}
