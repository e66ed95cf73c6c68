// The converter's task boxes (plugins/tasks.js) as controls: a click or Space
// ticks one and reports it, and a render that replaces the box the reader was
// on hands the keyboard to the box that took its place.
import { TASK_BOX_MARK } from './plugins/tasks.js';
import { lineOf } from './lines.js';

/** Whether `node` is a box the converter made: a document cannot know the mark. */
const isTaskBox = (node) => node?.nodeType === 1 && node.getAttribute('data-lumo-task') === TASK_BOX_MARK;

/**
 * @param {Element} container
 * @param {(item: Element, checked: boolean) => void} toggled  a box of the list
 *   item `item` (its `li[data-line]`) now shows `checked`
 * @returns {{rendered(): void}}  to call once a render is on the page
 */
export function installTaskBoxes(container, toggled) {
  let focused = null; // the box that last took the keyboard in the page

  function toggle(box) {
    const item = box.closest('li[data-line]');
    if (!item) return;
    const checked = box.getAttribute('aria-checked') !== 'true';
    box.setAttribute('aria-checked', String(checked));
    toggled(item, checked);
  }

  container.addEventListener('click', (event) => {
    if (isTaskBox(event.target)) toggle(event.target);
  });
  container.addEventListener('keydown', (event) => {
    if (event.key !== ' ' || event.ctrlKey || event.altKey || event.metaKey || !isTaskBox(event.target)) return;
    event.preventDefault(); // the page stays where it is
    if (!event.repeat) toggle(event.target);
  });
  container.addEventListener('focusin', (event) => {
    focused = isTaskBox(event.target) ? event.target : null;
  });
  // A click elsewhere leaves the keyboard on the page's body, not on the box.
  document.addEventListener('mousedown', (event) => {
    if (!isTaskBox(event.target)) focused = null;
  });

  return {
    rendered() {
      if (!focused || focused.isConnected) return;
      const was = focused;
      focused = null;
      // Only a page the reader is in, and only while nothing else took the keyboard.
      if (!document.hasFocus() || (document.activeElement && document.activeElement !== document.body)) return;
      const wasItem = was.closest('li[data-line]');
      const line = wasItem ? lineOf(wasItem) : NaN;
      if (!Number.isInteger(line)) return;
      // The item that took its place was written anew, at the line it stands on.
      const item = container.querySelector(`li[data-line="${line}"]`);
      const box = item?.querySelector('.task-list-item-checkbox');
      if (isTaskBox(box) && box.closest('li') === item && lineOf(item) === line) box.focus({ preventScroll: true });
    },
  };
}
