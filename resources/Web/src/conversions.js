// The converter served over a message port: in a Worker (worker.js) the page's
// main thread only sanitises and inserts, so neither a long document nor one
// block markdown-it takes long over holds up scrolling, find or typing.
//   asked:    {ticket, holds, text, base, firstLines, mark}: holds, the ticket whose
//             blocks the page holds in full; mark, the page's task box mark; or
//             {ticket, holds, edit: {start, end, inserted}, ...}: the text of the
//             last request with [start, end) replaced. A file that grows sends its
//             new lines only: cloning the whole text across threads for each write
//             cost more than converting them.
//   answered: {ticket, blocks, tail, total, done, restart}: the blocks converted since
//             the last answer to that ticket (all of them when `restart`: the text
//             was converted again in one piece), or after an edit of the text of `holds`
//             {ticket, edit, total, done: true}: only what changed (editanswer.js).
// A newer request drops an older one between steps.
import { createBlockConverter } from './blocks.js';
import { editAnswer } from './editanswer.js';
import { useTaskBoxMark } from './plugins/tasks.js';

// Each answer holds about this much converting, in pieces of about half as
// long: each piece parses the last block of the one before again, and pieces
// of 4 ms made the conversion about 1.3x markdown-it, of 8 ms about 1.05x
// (node, 1 MB). What an answer brings mostly waits unparsed on the page
// (dormant chunks), so it need not fit one of the page's slices.
const STEP_MS = 16;

// Yields to newer requests between steps; setTimeout(0) is clamped to 4 ms.
function soon() {
  const channel = new MessageChannel();
  let next = null;
  channel.port1.onmessage = () => {
    const task = next;
    next = null;
    task?.();
  };
  channel.port1.unref?.(); // node (tests): an idle port must not keep the process alive
  return (task) => {
    next = task;
    channel.port2.postMessage(null);
  };
}

/** `later(task)` runs a task after what is waiting (tests slow it down). */
export function serveConversions(port, later = soon()) {
  const converter = createBlockConverter();
  let latest = null;
  let held = null; // {ticket, blocks}: the last blocks answered in full, as the page holds them once it has them all
  let source = ''; // the text of the last request, converted or not: an edit is made to it

  function convert(request) {
    const { ticket, holds, text, base, firstLines, mark } = request;
    useTaskBoxMark(mark);
    const fast = converter.update(text, base);
    if (fast) {
      const edit = held?.ticket === holds ? editAnswer(held.blocks, fast) : null;
      if (edit) port.postMessage({ ticket, edit, total: fast.total, done: true });
      else port.postMessage({ ticket, blocks: fast.blocks, tail: fast.tail, total: fast.total, done: true });
      held = { ticket, blocks: fast.blocks };
      return;
    }
    const job = converter.start(text, base);
    const list = job.blocks;
    let sent = 0;
    let lines = firstLines;
    const answer = () => {
      // Converted again in one piece: the blocks sent so far are not the final ones.
      const restart = job.blocks !== list;
      port.postMessage({ ticket, blocks: job.blocks.slice(restart ? 0 : sent), tail: job.tail, total: job.total, done: job.done, restart });
      sent = job.blocks.length;
      if (job.done) held = { ticket, blocks: job.blocks };
    };
    const more = () => {
      if (request !== latest) return;
      const started = performance.now();
      while (!job.done && performance.now() - started < STEP_MS) {
        const line = job.line;
        const before = performance.now();
        job.step(lines);
        // At most twice as many lines as the last step: the next lines may be denser.
        if (job.line > line) lines = Math.max(50, Math.min(2 * lines, 20000, Math.round(lines * (STEP_MS / 2 / Math.max(performance.now() - before, 0.5)))));
      }
      answer();
      if (!job.done) later(more);
    };
    job.step(firstLines);
    answer();
    if (!job.done) later(more);
  }

  port.onmessage = (event) => {
    const { edit, ...asked } = event.data;
    source = edit ? source.slice(0, edit.start) + edit.inserted + source.slice(edit.end) : asked.text;
    latest = { ...asked, text: source };
    // Requests that came together: only the newest is converted.
    const request = latest;
    later(() => request === latest && convert(request));
  };
}
