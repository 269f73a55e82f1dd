// One event in full.

import { h } from '../dom';
import { dateAndClock, hue } from '../format';
import { isRecord, prettyJson } from '../json';
import type { EventRow, Filter } from '../types';
import { jsonView } from './json_view';
import { copyButton, emptyState, iconButton, paths, problemList } from './parts';

type Tab = 'Properties' | 'Context' | 'JSON';
let lastTab: Tab = 'Properties';

function fact(label: string, value: string | undefined, onclick?: () => void): HTMLElement | null {
  if (!value) return null;
  const text = onclick
    ? h('button', { type: 'button', class: 'link mono', title: 'Show only these', onclick }, value)
    : h('span', { class: 'mono' }, value);
  return h('div', { class: 'fact' }, h('dt', {}, label), h('dd', {}, text));
}

function tabBody(event: unknown, tab: Tab): HTMLElement {
  if (tab === 'JSON' || !isRecord(event)) return jsonView(event);
  const part = event[tab === 'Properties' ? 'properties' : 'context'];
  if (isRecord(part) && Object.keys(part).length === 0)
    return h('p', { class: 'none' }, `No ${tab.toLowerCase()}.`);
  return jsonView(part);
}

function tabs(event: unknown): HTMLElement {
  const body = h('div', { class: 'tab-body' });
  const bar = h('div', { class: 'tabs', role: 'tablist' });
  const show = (tab: Tab) => {
    lastTab = tab;
    for (const each of bar.children) each.setAttribute('aria-selected', String(each.textContent === tab));
    body.replaceChildren(tabBody(event, tab));
  };
  for (const tab of ['Properties', 'Context', 'JSON'] as const) {
    bar.append(h('button', { type: 'button', role: 'tab', onclick: () => show(tab) }, tab));
  }
  show(lastTab);
  return h('div', {}, bar, body);
}

export function inspector(
  row: EventRow | null,
  narrow: (part: Partial<Filter>) => void,
  close: () => void,
): HTMLElement {
  if (!row) return emptyState('Nothing selected', 'Pick an event to see all of it.');
  const time =
    row.timestamp === undefined ? undefined : dateAndClock(new Date(row.timestamp * 1000).toISOString());
  return h(
    'article',
    { class: 'inspector', 'aria-label': `Event ${row.event_name}` },
    h(
      'header',
      { class: 'inspector-head' },
      iconButton(paths.back, 'Back to the list', close, 'only-narrow'),
      h(
        'div',
        { class: 'grow' },
        h('h2', {}, row.event_name || '(no name)'),
        h('span', { class: `type hue-${hue(row.event_type)}` }, row.event_type || 'no type'),
      ),
      copyButton(() => prettyJson(row.event), 'Copy JSON'),
      iconButton(paths.close, 'Close', close, 'only-wide'),
    ),
    row.valid
      ? null
      : h(
          'section',
          { class: 'callout', 'aria-label': 'Problems' },
          h('strong', {}, 'Not as the wire form asks'),
          problemList(row.problems),
        ),
    h(
      'dl',
      { class: 'facts' },
      fact('Happened', time),
      fact('Arrived', `${dateAndClock(row.received_at)} in batch ${row.batch}`),
      fact('User', row.user_id, () => narrow({ user: row.user_id ?? '' })),
      fact('Session', row.session_id, () => narrow({ session: row.session_id })),
      fact('Device', row.device_id),
      fact('Event id', row.event_id),
    ),
    tabs(row.event),
  );
}
