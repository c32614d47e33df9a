// `fmp4 serve` on a free port.
import {spawn} from 'node:child_process';
import {once} from 'node:events';
import readline from 'node:readline';

export async function serve(fmp4, folder) {
  const process = spawn(fmp4, ['serve', folder, '--port', '0', '--json'], {stdio: ['ignore', 'pipe', 'inherit']});
  const [line] = await once(readline.createInterface({input: process.stdout}), 'line');
  return {
    address: JSON.parse(line).address,
    // Ends it and returns its exit code.
    async stop() {
      process.kill('SIGTERM');
      const [code] = await once(process, 'exit');
      return code;
    },
  };
}
