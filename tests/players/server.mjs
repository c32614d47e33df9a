// A server of the recordings on a free port: `fmp4 serve`, or the program that SERVER names, which takes the folder and
// the same options.
import {spawn} from 'node:child_process';
import {once} from 'node:events';
import readline from 'node:readline';

export async function serve(fmp4, folder) {
  const [program, ...words] = process.env.SERVER ? [process.env.SERVER] : [fmp4, 'serve'];
  const server = spawn(program, [...words, folder, '--port', '0', '--json'], {stdio: ['ignore', 'pipe', 'inherit']});
  const [line] = await once(readline.createInterface({input: server.stdout}), 'line');
  return {
    address: JSON.parse(line).address,
    // Ends it and returns its exit code.
    async stop() {
      server.kill('SIGTERM');
      const [code] = await once(server, 'exit');
      return code;
    },
  };
}
