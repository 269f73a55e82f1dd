// A JSON value as a tree that folds.

import { h } from '../dom';
import { ExactNumber, isRecord } from '../json';

function scalar(value: unknown): HTMLElement {
  if (value instanceof ExactNumber) return h('span', { class: 'j-number' }, value.text);
  if (typeof value === 'number') return h('span', { class: 'j-number' }, String(value));
  if (typeof value === 'string') return h('span', { class: 'j-string' }, JSON.stringify(value));
  return h('span', { class: 'j-word' }, String(value));
}

function branch(
  label: HTMLElement | null,
  entries: [string, unknown][],
  isArray: boolean,
  isOpen: boolean,
): HTMLElement {
  const [left, right] = isArray ? ['[', ']'] : ['{', '}'];
  if (entries.length === 0)
    return h('div', { class: 'j-line' }, label, h('span', { class: 'j-mark' }, left + right));
  const summary = h(
    'summary',
    { class: 'j-line' },
    label,
    h('span', { class: 'j-mark' }, left),
    h('span', { class: 'j-count' }, `${entries.length}`),
    h('span', { class: 'j-mark j-closed' }, right),
  );
  const body = h(
    'div',
    { class: 'j-body' },
    ...entries.map(([key, value]) => node(key, value, isArray, false)),
  );
  return h(
    'details',
    { class: 'j-branch', open: isOpen },
    summary,
    body,
    h('div', { class: 'j-line j-mark j-end' }, right),
  );
}

function node(key: string | null, value: unknown, isIndex: boolean, isOpen: boolean): HTMLElement {
  const label =
    key === null
      ? null
      : h('span', { class: isIndex ? 'j-index' : 'j-key' }, isIndex ? key : JSON.stringify(key));
  if (Array.isArray(value))
    return branch(
      label,
      value.map((each, i) => [String(i), each]),
      true,
      isOpen || value.length <= 8,
    );
  if (isRecord(value))
    return branch(label, Object.entries(value), false, isOpen || Object.keys(value).length <= 8);
  return h('div', { class: 'j-line' }, label, scalar(value));
}

export function jsonView(value: unknown): HTMLElement {
  return h('div', { class: 'json' }, node(null, value, false, true));
}
