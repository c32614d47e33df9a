// What the tests share: numbers that are the same in every run, and times held against each other.
import assert from 'node:assert/strict';

export const kSoundOverhang = 0.05;  // seconds that coded sound may last beyond the pictures

// Numbers from 0 up to `below` that are the same in every run (Lehmer).
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
