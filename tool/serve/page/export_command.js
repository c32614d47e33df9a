// The command that exports what is between the in and out points.

function quoted(name) {
  return `'${name.replaceAll("'", "'\\''")}'`;
}

// `file`: its path below the served folder; `first` and `last`: frames by the plug-in's count, or null.
export function exportCommand(file, {first, last}, {video, audio}) {
  const base = file.replace(/^.*\//, '').replace(/\.[^.]*$/, ''), part = `${base}-${first ?? 0}`;
  const words = ['fmp4 export', quoted(file)];
  if (video) words.push('--video', quoted(`${part}.h264`));
  if (audio) words.push('--audio', quoted(`${part}.wav`));
  if (first !== null) words.push('--from', first);
  if (last !== null) words.push('--count', last - (first ?? 0) + 1);
  return words.join(' ');
}
