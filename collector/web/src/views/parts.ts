// Small pieces that several views share.

import { h, icon } from '../dom';
import { clock, dateAndClock, number } from '../format';
import { briefly } from '../json';
import type { Sent } from '../report_types';

export const paths = {
  search: 'M9 3.5a5.5 5.5 0 1 1 0 11 5.5 5.5 0 0 1 0-11Zm4.2 9.7 3.3 3.3',
  close: 'M5 5l10 10M15 5 5 15',
  copy: 'M7.5 7.5h8v9h-8zM12.5 7.5v-4h-8v9h3',
  moon: 'M16 11.6A6.6 6.6 0 1 1 8.4 4a5.2 5.2 0 0 0 7.6 7.6Z',
  trash: 'M4 6h12M8 6V4h4v2M6 6l.7 10h6.6L14 6',
  pause: 'M7 4.5v11M13 4.5v11',
  play: 'M6.5 4.5v11l9-5.5z',
  back: 'M12 4.5 6.5 10l5.5 5.5',
  warning: 'M10 3.5 17.5 16h-15L10 3.5ZM10 8.5v3.5M10 14v.2',
  down: 'M5.5 8 10 12.5 14.5 8',
};

export function emptyState(title: string, text: string, ...more: Node[]): HTMLElement {
  return h('div', { class: 'empty', role: 'status' }, h('h2', {}, title), h('p', {}, text), ...more);
}

export function badge(text: string, tone: string): HTMLElement {
  return h('span', { class: `badge tone-${tone}` }, text);
}

export function card(title: string, note: string, ...body: (Node | null)[]): HTMLElement {
  return h(
    'section',
    { class: 'card panel', 'aria-label': title },
    h('header', { class: 'panel-head' }, h('h2', {}, title), h('small', { class: 'none' }, note)),
    ...body,
  );
}

export function figure(label: string, value: number | string, tone = ''): HTMLElement {
  return h(
    'div',
    { class: `figure ${tone}` },
    h('strong', {}, typeof value === 'number' ? number(value) : value),
    h('span', {}, label),
  );
}

export function fact(label: string, value: string | undefined): HTMLElement | null {
  return value ? h('div', { class: 'fact' }, h('dt', {}, label), h('dd', { class: 'mono' }, value)) : null;
}

/** Text of a value that a client sent; '' where there is none. */
export const sentText = (value: Sent): string =>
  value === null || value === undefined ? '' : briefly(value);

/** The number that a client sent, if it is one. */
export function sentNumber(value: Sent): number | null {
  const found = typeof value === 'string' ? NaN : Number(sentText(value) || NaN);
  return Number.isFinite(found) ? found : null;
}

export const timeCell = (iso: string | null): HTMLElement =>
  iso === null
    ? h('span', { class: 'none' }, '–')
    : h('time', { class: 'mono', title: dateAndClock(iso) }, clock(iso));

/** Opens the event in its list. */
export function eventLink(id: string, text: string): HTMLElement {
  return h('a', { class: 'link mono', href: `#/events?event=${encodeURIComponent(id)}` }, text);
}

export function iconButton(path: string, label: string, onclick: () => void, extra = ''): HTMLButtonElement {
  return h(
    'button',
    { type: 'button', class: `icon-button ${extra}`, 'aria-label': label, title: label, onclick },
    icon(path),
  );
}

export function copyButton(text: () => string, label: string): HTMLButtonElement {
  const button = h('button', { type: 'button', class: 'quiet', onclick: () => void copy() }, label);
  const copy = async () => {
    await navigator.clipboard.writeText(text());
    button.textContent = 'Copied';
    setTimeout(() => (button.textContent = label), 1200);
  };
  return button;
}

export function statusBadge(status: number): HTMLElement {
  if (status === 0) return badge('no answer', 'warn');
  return badge(String(status), status < 300 ? 'good' : status < 500 && status !== 429 ? 'bad' : 'warn');
}

export const causeText = (cause: string): string =>
  cause === 'refused' || cause === 'paused' ? cause : `fault: ${cause}`;

export function problemList(problems: string[]): HTMLElement {
  return h('ul', { class: 'problems' }, ...problems.map((problem) => h('li', {}, problem)));
}

export function failure(error: unknown): HTMLElement {
  return emptyState('The collector did not answer', error instanceof Error ? error.message : String(error));
}

/** Words for what became of an event, and the tone they are shown in. */
export function tone(word: string | null): string {
  const tones: Record<string, string> = {
    accept: 'good',
    stored: 'good',
    duplicate: 'muted',
    conflict: 'bad',
    withheld: 'warn',
    permanent: 'bad',
    transient: 'warn',
    omit: 'warn',
    refused: 'bad',
    paused: 'warn',
  };
  return tones[word ?? ''] ?? (word === null ? 'muted' : 'warn');
}
