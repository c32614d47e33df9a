// The keys of the page, and the list of them that "?" shows.

// Whether the focused control was reached with the Tab key. The space bar operates such a control; one that was clicked
// leaves all keys to the page.
let focusedByKeyboard = false;
document.addEventListener('keydown', (event) => { focusedByKeyboard ||= event.key === 'Tab'; }, true);
document.addEventListener('pointerdown', () => { focusedByKeyboard = false; }, true);

// Controls that a key operates by themselves. A text field takes all of them; the position leaves the arrows to frames.
function keepsKey({target, key}) {
  if (target.matches('input[type=search]')) return key !== 'Escape';
  if (target.matches('summary, dialog *') && (key === ' ' || key === 'Escape')) return true;
  if (key === ' ') return focusedByKeyboard && target.matches('select, button');
  const moves = key.startsWith('Arrow') || key === 'Home' || key === 'End';
  return moves && target.matches('select, #volume');
}

// "Shift+ArrowLeft"
function nameOf(event) {
  return (event.shiftKey && event.key.length > 1 ? 'Shift+' : '') + event.key;
}

function shownName(key) {
  const names = {' ': 'Space', ArrowLeft: '←', ArrowRight: '→', 'Shift+ArrowLeft': 'Shift + ←',
    'Shift+ArrowRight': 'Shift + →'};
  return names[key] ?? (/^[a-z]$/.test(key) ? key.toUpperCase() : key);
}

// `bindings`: [{keys, what, run}]; `run(key)` gets the name of the key. `active()` says whether there is something to
// operate. `dialog` shows the list.
export function bindKeys(bindings, active, dialog) {
  const runs = new Map(bindings.flatMap(({keys, run}) => keys.map((key) => [key, run])));
  const rows = bindings.map(({keys, what}) => {
    const row = document.createElement('tr');
    const names = document.createElement('th');
    names.scope = 'row';
    for (const key of keys) {
      const element = document.createElement('kbd');
      element.textContent = shownName(key);
      names.append(element, ' ');
    }
    const text = document.createElement('td');
    text.textContent = what;
    row.append(names, text);
    return row;
  });
  dialog.querySelector('tbody').replaceChildren(...rows);

  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey || keepsKey(event)) return;
    const name = nameOf(event);
    const run = runs.get(name) ?? runs.get(name.toLowerCase());
    if (!run || dialog.open || (name !== '?' && !active())) return;
    event.preventDefault();
    if (!focusedByKeyboard) event.target.blur();  // else some browsers click a button when the space bar is released
    run(name);
  });
}
