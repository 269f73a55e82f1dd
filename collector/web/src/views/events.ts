// What has arrived: figures, chart, filters, list and inspector.

import { api } from '../api';
import { h, throttled } from '../dom';
import { on } from '../live';
import { hashParameter, setHashParameter } from '../place';
import type { Counts, EventRow, Filter } from '../types';
import { eventList } from './event_list';
import { filters, isFiltered, noFilter } from './filters';
import { inspector } from './inspector';
import { emptyState, failure, figure } from './parts';
import { timelineView } from './timeline';

const pageSize = 100;
const mostShown = 2000;

function figures(counts: Counts): HTMLElement[] {
  return [
    figure('events', counts.unique),
    figure('sessions', counts.sessions),
    figure('users', counts.users),
    figure('batches', counts.batches),
    figure('duplicates', counts.duplicates),
    figure('invalid', counts.invalid, counts.invalid > 0 ? 'figure-bad' : ''),
  ];
}

function nothingYet(address: string): HTMLElement {
  return emptyState(
    'Waiting for the first event',
    'Point a host at this collector, and what it tracks shows up here at once.',
    h(
      'pre',
      { class: 'snippet' },
      `zarn::Zarn::configure("wk_test", {.apiHost = "${address}"});\nzarn::Zarn::track("hello");`,
    ),
  );
}

export function eventsView(): HTMLElement {
  let filter: Filter = noFilter;
  let rows: EventRow[] = [];
  let next: number | null = null;
  let selected: EventRow | null = null;
  let turn = 0;

  const numbers = h('section', { class: 'figures', 'aria-label': 'Totals' });
  const chart = timelineView();
  const detail = h('aside', { class: 'card detail' });
  const view = h('div', { class: 'events' });

  const narrow = (part: Partial<Filter>) => {
    filter = { ...filter, ...part };
    controls.show(filter);
    void load(true);
  };
  const clear = () => narrow(noFilter);
  const select = (row: EventRow | null) => {
    selected = row;
    view.classList.toggle('inspecting', row !== null);
    list.mark(row?.seq ?? null);
    detail.replaceChildren(inspector(row, narrow, () => select(null)));
    detail.scrollTop = 0;
  };
  const controls = filters(narrow, clear);
  const list = eventList(select, () => void loadOlder());

  const load = async (isFresh: boolean) => {
    const mine = ++turn;
    const limit = isFresh ? pageSize : Math.min(mostShown, Math.max(pageSize, rows.length));
    try {
      const [page, counts] = await Promise.all([api.events(filter, { limit }), api.counts()]);
      if (mine !== turn) return;
      rows = page.events;
      next = page.next;
      numbers.replaceChildren(...figures(counts));
      controls.update(counts);
      if (rows.length > 0) return list.show(rows, next, isFresh);
      list.showInstead(
        isFiltered(filter)
          ? emptyState(
              'No event fits',
              'Nothing that has arrived matches these filters.',
              h('button', { type: 'button', class: 'button', onclick: clear }, 'Clear filters'),
            )
          : nothingYet(location.origin),
      );
    } catch (error) {
      if (mine === turn) list.showInstead(failure(error));
    }
  };
  const loadOlder = async () => {
    if (next === null) return;
    const page = await api.events(filter, { before: next, limit: pageSize });
    rows = [...rows, ...page.events];
    next = rows.length < mostShown ? page.next : null;
    list.show(rows, next, false);
  };

  const refresh = throttled(250, () => {
    chart.refresh();
    return load(false);
  });
  on('batch', refresh);
  on('lagged', refresh);
  on('open', refresh);
  on('reset', () => {
    select(null);
    refresh();
  });
  document.addEventListener('keydown', (key) => {
    if (!view.isConnected || key.ctrlKey || key.metaKey || key.altKey) return;
    const isTyping = key.target instanceof HTMLInputElement || key.target instanceof HTMLSelectElement;
    if (key.key === 'Escape') selected ? select(null) : (key.target as HTMLElement).blur?.();
    if (isTyping) return;
    if (key.key === '/') (key.preventDefault(), controls.focus());
    if (key.key === 'ArrowDown' || key.key === 'j') (key.preventDefault(), list.move(1));
    if (key.key === 'ArrowUp' || key.key === 'k') (key.preventDefault(), list.move(-1));
  });
  // "#/events?event=ID", as other pages link to one.
  const inspectWanted = () => {
    const id = view.isConnected ? hashParameter('event') : null;
    if (id === null) return;
    setHashParameter('event', '');
    void api.event(id).then(select, () => undefined);
  };
  window.addEventListener('hashchange', inspectWanted);
  queueMicrotask(inspectWanted);

  select(null);
  refresh();
  view.append(
    h('div', { class: 'overview' }, numbers, chart.element),
    controls.element,
    h('div', { class: 'split' }, list.element, detail),
  );
  return view;
}
