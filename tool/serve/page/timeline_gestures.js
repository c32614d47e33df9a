// Gestures on the time line: the wheel and two fingers zoom, dragging seeks, moving over it reads values. Each calls
// one of `actions`: zoom(factor, x), move(share), seek(x), hover(x) and leave().

const kZoomAPixel = 0.003;  // of the wheel

export function bindGestures(element, actions) {
  const pointers = new Map();  // id to x
  let pinched = null;  // distance of two fingers
  const xOf = (event) => event.clientX - element.getBoundingClientRect().left;
  const apart = () => Math.abs([...pointers.values()][0] - [...pointers.values()][1]);

  element.addEventListener('wheel', (event) => {
    event.preventDefault();
    const pixels = (value) => value * (event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1);
    const sideways = event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY);
    if (sideways) actions.move(pixels(event.deltaX || event.deltaY) / element.clientWidth);
    else actions.zoom(Math.exp(-pixels(event.deltaY) * kZoomAPixel * (event.ctrlKey ? 3 : 1)), xOf(event));
  }, {passive: false});

  element.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    pointers.set(event.pointerId, xOf(event));
    element.setPointerCapture(event.pointerId);
    pinched = pointers.size === 2 ? apart() : null;
    if (pointers.size === 1) actions.seek(xOf(event));
  });
  element.addEventListener('pointermove', (event) => {
    actions.hover(xOf(event));
    if (!pointers.has(event.pointerId)) return;
    pointers.set(event.pointerId, xOf(event));
    if (pointers.size === 1) actions.seek(xOf(event));
    if (pointers.size !== 2 || !pinched) return;
    const [first, second] = pointers.values();
    actions.zoom(Math.max(1, apart()) / pinched, (first + second) / 2);
    pinched = Math.max(1, apart());
  });
  for (const name of ['pointerup', 'pointercancel'])
    element.addEventListener(name, (event) => {
      pointers.delete(event.pointerId);
      pinched = null;
    });
  element.addEventListener('pointerleave', () => actions.leave());
}
