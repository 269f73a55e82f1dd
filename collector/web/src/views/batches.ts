// The requests, and what each was answered.

import { api } from '../api';
import { h, throttled } from '../dom';
import { bytes, clock, count, dateAndClock } from '../format';
import { on } from '../live';
import type { BatchDetails, BatchItem, BatchRow } from '../types';
import { type Share, shareBar, sharesText } from './charts';
import { exchangeRow } from './exchanges';
import { jsonView } from './json_view';
import {
  badge,
  causeText,
  emptyState,
  eventLink,
  fact,
  failure,
  problemList,
  statusBadge,
  tone,
} from './parts';

// Shares of a batch that were accepted, and that were not, by reason.
function outcomeBar(row: BatchRow, isFull = false): HTMLElement {
  const silent = row.events - row.accepted - row.permanent - row.transient;
  const shares: Share[] = [
    [row.accepted, 'good', 'accepted'],
    [row.transient, 'warn', 'transient'],
    [row.permanent, 'bad', 'permanent'],
    [silent, 'muted', 'not acknowledged'],
  ];
  const brief =
    row.accepted === row.events
      ? 'all accepted'
      : row.accepted > 0
        ? `${row.accepted} of ${row.events} accepted`
        : 'none accepted';
  const text = sharesText(shares) || 'no events';
  return h(
    'div',
    { class: 'outcome', title: text },
    shareBar(shares, text),
    h('span', { class: 'outcome-text' }, row.events === 0 ? 'no events' : isFull ? text : brief),
  );
}

function batchRow(row: BatchRow, open: () => void): HTMLElement {
  const notes = [
    row.cause ? badge(causeText(row.cause), tone(row.cause)) : null,
    row.duplicates > 0 ? badge(count(row.duplicates, 'duplicate'), 'muted') : null,
    row.conflicts > 0 ? badge(count(row.conflicts, 'conflict'), 'bad') : null,
    row.invalid > 0 ? badge(`${row.invalid} invalid`, 'bad') : null,
    row.problems.length > 0 ? badge(count(row.problems.length, 'problem'), 'warn') : null,
  ];
  return h(
    'div',
    {
      class: 'batch',
      role: 'option',
      tabindex: '0',
      'data-batch': row.id,
      onclick: open,
      onkeydown: (key: KeyboardEvent) => key.key === 'Enter' && open(),
    },
    h('span', { class: 'mono batch-id' }, `#${row.id}`),
    h('time', { class: 'mono' }, clock(row.received_at, true)),
    statusBadge(row.status),
    h('span', { class: 'batch-size' }, `${count(row.events, 'event')} · ${bytes(row.bytes)}`),
    outcomeBar(row),
    h('span', { class: 'notes' }, ...notes),
  );
}

function itemRow([id, fate, verdict, problems]: BatchItem): HTMLElement {
  const label =
    id === ''
      ? h('span', { class: 'none' }, 'no id')
      : fate === 'withheld'
        ? h('span', { class: 'mono' }, id)
        : eventLink(id, id);
  return h(
    'li',
    {},
    label,
    h(
      'span',
      { class: 'notes' },
      badge(fate, tone(fate)),
      badge(verdict ?? 'not acknowledged', tone(verdict)),
      problems.length > 0 ? badge('invalid', 'bad') : null,
    ),
  );
}

function policyText(batch: BatchRow): string {
  if (batch.policy_revision === null) return 'none had been answered';
  return `revision ${batch.policy_revision}, by exchange ${batch.policy_exchange}`;
}

function batchDetails(batch: BatchDetails): HTMLElement {
  return h(
    'article',
    { class: 'inspector', 'aria-label': `Batch ${batch.id}` },
    h(
      'header',
      { class: 'inspector-head' },
      h('div', { class: 'grow' }, h('h2', {}, `Batch ${batch.id}`), outcomeBar(batch, true)),
      statusBadge(batch.status),
    ),
    batch.problems.length > 0
      ? h(
          'section',
          { class: 'callout' },
          h('strong', {}, 'Problems of the request'),
          problemList(batch.problems),
        )
      : null,
    h(
      'dl',
      { class: 'facts' },
      fact('Arrived', dateAndClock(batch.received_at)),
      fact('Sent', batch.sent_at),
      fact('Project', batch.project_id),
      fact('Environment', batch.environment),
      fact('App', [batch.bundle_id, batch.app_version].filter(Boolean).join(' ')),
      fact('Library', batch.sdk_version),
      fact('Release', batch.release_id),
      fact('Policy', policyText(batch)),
    ),
    h('h3', {}, 'Events'),
    batch.items.length > 0
      ? h('ul', { class: 'items' }, ...batch.items.slice(0, 500).map(itemRow))
      : h('p', { class: 'none' }, 'None.'),
    h('h3', {}, 'Answer'),
    batch.response === ''
      ? h(
          'p',
          { class: 'none' },
          batch.status === 0 ? 'The connection was closed without one.' : 'An empty body.',
        )
      : jsonView(batch.response),
    h('h3', {}, 'Envelope'),
    jsonView(batch.envelope),
  );
}

export function batchesView(): HTMLElement {
  let limit = 60;
  let turn = 0;
  const list = h('div', { class: 'batch-list', role: 'listbox', 'aria-label': 'Batches' });
  const older = h('button', { type: 'button', class: 'quiet older', hidden: true }, 'Load older batches');
  const detail = h(
    'aside',
    { class: 'card detail' },
    emptyState('No batch selected', 'Pick one to see every acknowledgement.'),
  );
  const calls = h('div', { class: 'calls' });
  const view = h('div', { class: 'batches' });

  const open = async (id: number) => {
    const batch = await api.batch(id).catch(() => null);
    if (!batch) return;
    view.classList.add('inspecting');
    for (const each of list.children)
      each.setAttribute('aria-selected', String(each.getAttribute('data-batch') === String(id)));
    detail.replaceChildren(
      h(
        'button',
        { type: 'button', class: 'quiet only-narrow', onclick: () => view.classList.remove('inspecting') },
        '← All batches',
      ),
      batchDetails(batch),
    );
    detail.dataset['batch'] = String(id);
    detail.scrollTop = 0;
  };
  const load = async () => {
    const mine = ++turn;
    try {
      const [page, other] = await Promise.all([api.batches({ limit }), api.calls()]);
      if (mine !== turn) return;
      older.hidden = page.next === null;
      list.replaceChildren(...page.batches.map((row) => batchRow(row, () => void open(row.id))));
      for (const each of list.children)
        each.setAttribute(
          'aria-selected',
          String(each.getAttribute('data-batch') === detail.dataset['batch']),
        );
      if (page.batches.length === 0)
        list.append(
          emptyState(
            'No batch yet',
            'A host sends its events in batches. Each one, and what it was answered, is listed here.',
          ),
        );
      const isOpen = calls.querySelector('details[open]') !== null;
      if (!isOpen)
        calls.replaceChildren(
          ...(other.calls.length > 0
            ? other.calls.map(exchangeRow)
            : [h('p', { class: 'none' }, 'None yet.')]),
        );
    } catch (error) {
      list.replaceChildren(failure(error));
    }
  };
  older.addEventListener('click', () => {
    limit = Math.min(limit * 2, 2000);
    void load();
  });
  const refresh = throttled(400, load);
  for (const event of ['batch', 'exchange', 'open', 'reset', 'lagged'] as const) on(event, refresh);
  refresh();
  view.append(
    h(
      'div',
      { class: 'split' },
      h(
        'section',
        { class: 'card list' },
        h(
          'div',
          { class: 'scroller' },
          list,
          older,
          h('div', { class: 'calls-part' }, h('h3', {}, 'Control plane'), calls),
        ),
      ),
      detail,
    ),
  );
  return view;
}
