// What the tests share: reproducible numbers, and comparisons with a tolerance.
import assert from 'node:assert/strict';

export const kSoundOverhang = 0.05;  // seconds that coded audio may last past the video

// Reproducible numbers from 0 up to `below` (Lehmer).
export function numbers(seed, count, below) {
  let state = seed;
  return Array.from({length: count}, () => {
    state = state * 48271 % 2147483647;
    return state % below;
  });
}

export function assertNear(value, expected, tolerance) {
  assert.ok(Math.abs(value - expected) <= tolerance, `${value} is not ${expected} within ${tolerance}`);
}
