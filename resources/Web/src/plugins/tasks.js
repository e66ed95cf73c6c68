// GitHub task lists: "- [ ] item" / "- [x] item". The box is a span the page
// draws and toggles (taskboxes.js), not a form control: a page with form controls
// has the engine restyle them over and over, which stalls a long task list.
// The page reports clicks with the item's source line.

const MARK = /^\[([ xX])\](?:[ \t]|$)/;

/**
 * Carried by the boxes the converter makes, so that only they toggle a line: a
 * document written before the page loaded cannot know it.
 */
export let TASK_BOX_MARK = Math.random().toString(36).slice(2, 12);

/** The page's own mark, for a converter running in a Worker (conversions.js). */
export function useTaskBoxMark(mark) {
  TASK_BOX_MARK = String(mark);
}

export default function tasks(md) {
  md.core.ruler.push('lumo_tasks', (state) => {
    const tokens = state.tokens;
    const lists = []; // open lists around the current token
    for (let i = 0; i < tokens.length; i++) {
      const inline = tokens[i];
      if (inline.type === 'bullet_list_open' || inline.type === 'ordered_list_open') lists.push(inline);
      else if (inline.type === 'bullet_list_close' || inline.type === 'ordered_list_close') lists.pop();
      if (i < 2 || inline.type !== 'inline' || tokens[i - 1].type !== 'paragraph_open' || tokens[i - 2].type !== 'list_item_open') continue;
      const m = MARK.exec(inline.content);
      const first = inline.children?.[0];
      if (!m || !first || first.type !== 'text' || !MARK.test(first.content)) continue;
      const checked = m[1] !== ' ';
      first.content = first.content.slice(m[0].length);
      const box = new state.Token('html_inline', '', 0);
      box.content = `<span class="task-list-item-checkbox" role="checkbox" aria-checked="${checked}" tabindex="0" data-lumo-task="${TASK_BOX_MARK}"></span>`;
      box.meta = { generated: true }; // not the document's raw HTML
      inline.children.unshift(box);
      const item = tokens[i - 2];
      item.attrJoin('class', 'task-list-item');
      if (checked) item.attrJoin('class', 'checked');
      const list = lists[lists.length - 1];
      if (list && !list.meta?.tasks) {
        list.attrJoin('class', 'contains-task-list');
        list.meta = { ...list.meta, tasks: true };
      }
    }
  });
}
