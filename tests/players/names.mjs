// The names of the tests that docs/compatibility.md counts (compatibility_table.mjs).

export const plays = (player) => (name) => `${player} plays ${name} to the end and seeks in it`;
export const follows = (player) => `${player} follows a recording while it is made`;
export const showsWhatThereWas = (player) =>
  `${player} shows a recording in progress as it was when opened`;
export const decodes = (name, list) => `ffmpeg decodes ${name}${list} over HTTP to the last frame`;
export const describes = (program, name, list) => `${program} describes ${name}${list}`;
