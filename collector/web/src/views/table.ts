// A table that scrolls sideways where it must.

import { h } from '../dom';

/** An element, text, or nothing. */
export type Cell = Node | string | null;

export interface Head {
  text: string | Node;
  class?: string;
}

/** A column of numbers. */
export const figures = (text: string): Head => ({ text, class: 'figures-cell' });

/** A column that narrow windows do without. */
export const wideOnly = (text: string | Node): Head => ({ text, class: 'wide-cell' });

export function table(heads: Head[], rows: Cell[][], none: string): HTMLElement {
  if (rows.length === 0) return h('p', { class: 'none' }, none);
  const head = heads.map((each) => h('th', { scope: 'col', class: each.class }, each.text));
  const lines = rows.map((cells) =>
    h('tr', {}, ...cells.map((cell, i) => h('td', { class: heads[i]?.class }, cell))),
  );
  return h(
    'div',
    { class: 'table-room' },
    h('table', {}, h('thead', {}, h('tr', {}, ...head)), h('tbody', {}, ...lines)),
  );
}
