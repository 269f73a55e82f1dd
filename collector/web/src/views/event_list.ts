// The rows of events, newest first. While the reader is further down, new ones wait behind a pill.

import { h } from '../dom';
import { clock, count, hue, shortId } from '../format';
import { briefly, isRecord } from '../json';
import type { EventRow } from '../types';

function gist(event: unknown): HTMLElement {
  const properties = isRecord(event) && isRecord(event['properties']) ? event['properties'] : {};
  const parts = Object.entries(properties).slice(0, 6);
  return h(
    'span',
    { class: 'gist' },
    ...parts.map(([key, value]) => h('span', { class: 'pair' }, h('i', {}, key), briefly(value))),
  );
}

const timeOf = (row: EventRow): string =>
  row.timestamp === undefined ? row.received_at : new Date(row.timestamp * 1000).toISOString();

function rowOf(row: EventRow, select: (row: EventRow) => void): HTMLElement {
  return h(
    'div',
    {
      class: `row${row.valid ? '' : ' row-bad'}`,
      role: 'option',
      tabindex: '-1',
      'data-seq': row.seq,
      onclick: () => select(row),
    },
    h(
      'time',
      { class: 'mono', title: row.timestamp === undefined ? 'arrived' : 'happened' },
      clock(timeOf(row)),
    ),
    h('span', { class: `type hue-${hue(row.event_type)}` }, row.event_type || 'no type'),
    h(
      'span',
      { class: 'name' },
      row.event_name || '(no name)',
      row.valid ? null : h('span', { class: 'mark-bad' }, 'invalid'),
    ),
    gist(row.event),
    h(
      'span',
      { class: 'who' },
      row.user_id ?? '',
      h('span', { class: 'mono session' }, shortId(row.session_id)),
    ),
  );
}

export interface EventList {
  element: HTMLElement;
  /** Shows the rows; those that were not there before stand out for a moment. */
  show(rows: EventRow[], next: number | null, isFresh: boolean): void;
  showInstead(content: HTMLElement): void;
  mark(seq: number | null): void;
  move(by: number): void;
}

export function eventList(select: (row: EventRow) => void, loadOlder: () => void): EventList {
  let shown: EventRow[] = [];
  let chosen: number | null = null;
  let waiting: { rows: EventRow[]; next: number | null } | null = null;
  const rows = h('div', { class: 'rows', role: 'listbox', 'aria-label': 'Events', tabindex: '0' });
  const older = h(
    'button',
    { type: 'button', class: 'quiet older', onclick: loadOlder },
    'Load older events',
  );
  const pill = h('button', { type: 'button', class: 'pill', hidden: true });
  const scroller = h('div', { class: 'scroller' }, rows, older);
  const element = h('section', { class: 'card list', 'aria-label': 'Events' }, pill, scroller);

  const mark = (seq: number | null) => {
    chosen = seq;
    for (const each of rows.children)
      each.setAttribute('aria-selected', String(each.getAttribute('data-seq') === String(seq)));
  };
  const draw = (next: EventRow[], more: number | null, isFresh: boolean) => {
    const known = new Map([...rows.children].map((each) => [each.getAttribute('data-seq'), each]));
    rows.replaceChildren(
      ...next.map((row) => {
        const old = known.get(String(row.seq));
        if (old && !isFresh) return old;
        const made = rowOf(row, select);
        if (!isFresh && known.size > 0) made.classList.add('arrived');
        return made;
      }),
    );
    shown = next;
    older.hidden = more === null;
    waiting = null;
    pill.hidden = true;
    mark(chosen);
  };
  const flush = () => {
    if (waiting) draw(waiting.rows, waiting.next, false);
    scroller.scrollTo({ top: 0 });
  };
  pill.addEventListener('click', flush);
  scroller.addEventListener('scroll', () => {
    if (waiting && scroller.scrollTop < 8) flush();
  });
  return {
    element,
    show(next, more, isFresh) {
      if (!rows.isConnected) scroller.replaceChildren(rows, older);
      const newest = shown[0]?.seq ?? 0;
      const added = next.filter((row) => row.seq > newest).length;
      if (isFresh || scroller.scrollTop < 8 || added === 0) return draw(next, more, isFresh);
      waiting = { rows: next, next: more };
      pill.textContent = `${count(added, 'new event')} ↑`;
      pill.hidden = false;
    },
    showInstead(content) {
      shown = [];
      rows.replaceChildren();
      pill.hidden = true;
      scroller.replaceChildren(content);
    },
    mark,
    move(by) {
      const at = shown.findIndex((row) => row.seq === chosen);
      const row = shown[Math.min(shown.length - 1, Math.max(0, at < 0 ? 0 : at + by))];
      if (!row) return;
      select(row);
      rows.querySelector(`[data-seq="${row.seq}"]`)?.scrollIntoView({ block: 'nearest' });
    },
  };
}
