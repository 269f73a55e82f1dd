// The search field and what else narrows the list of events.

import { h, icon } from '../dom';
import { number, shortId } from '../format';
import type { Counts, Filter } from '../types';
import { paths } from './parts';

export const noFilter: Filter = { text: '', type: '', name: '', user: '', session: '', invalid: false };

export const isFiltered = (filter: Filter): boolean =>
  Object.values(filter).some((value) => value !== '' && value !== false);

type Choice = 'type' | 'name' | 'user' | 'session';

export interface Filters {
  element: HTMLElement;
  show(filter: Filter): void;
  update(counts: Counts): void;
  focus(): void;
}

export function filters(change: (part: Partial<Filter>) => void, clear: () => void): Filters {
  let current = noFilter;
  const search = h('input', {
    type: 'search',
    placeholder: 'Search in events',
    'aria-label': 'Search in events',
    spellcheck: 'false',
    autocomplete: 'off',
  });
  let typing: number | undefined;
  search.addEventListener('input', () => {
    clearTimeout(typing);
    typing = window.setTimeout(() => change({ text: search.value.trim() }), 200);
  });
  const select = (key: Choice, label: string) => {
    const element = h('select', { 'aria-label': label });
    element.addEventListener('change', () => change({ [key]: element.value }));
    return { key, label, element };
  };
  const selects = [
    select('type', 'Type'),
    select('name', 'Name'),
    select('user', 'User'),
    select('session', 'Session'),
  ];
  const invalid = h(
    'button',
    {
      type: 'button',
      class: 'chip',
      'aria-pressed': 'false',
      onclick: () => change({ invalid: !current.invalid }),
    },
    'Invalid',
  );
  const reset = h(
    'button',
    { type: 'button', class: 'quiet', onclick: clear, hidden: true },
    'Clear filters',
  );

  const setOptions = (
    element: HTMLSelectElement,
    key: Choice,
    label: string,
    counts: Record<string, number>,
  ) => {
    if (document.activeElement === element) return;
    const chosen = current[key];
    const values = Object.entries(counts).filter(([value]) => value !== '');
    if (chosen !== '' && !(chosen in counts)) values.unshift([chosen, 0]);
    const options = values.map(([value, times]) => {
      const text = key === 'session' ? shortId(value) : value;
      return h('option', { value, selected: value === chosen }, `${text} · ${number(times)}`);
    });
    element.replaceChildren(
      h('option', { value: '', selected: chosen === '' }, `Any ${label.toLowerCase()}`),
      ...options,
    );
    element.classList.toggle('chosen', chosen !== '');
  };
  let lastCounts: Counts | null = null;
  const update = (counts: Counts) => {
    lastCounts = counts;
    const by: Record<Choice, Record<string, number>> = {
      type: counts.by_type,
      name: counts.by_name,
      user: counts.by_user,
      session: counts.by_session,
    };
    for (const { key, label, element } of selects) setOptions(element, key, label, by[key]);
    invalid.textContent = counts.invalid > 0 ? `Invalid · ${number(counts.invalid)}` : 'Invalid';
    invalid.classList.toggle('alarming', counts.invalid > 0);
  };
  return {
    element: h(
      'div',
      { class: 'filters', role: 'search' },
      h('label', { class: 'search' }, icon(paths.search), search),
      ...selects.map(({ element }) => element),
      invalid,
      reset,
    ),
    show(filter) {
      current = filter;
      if (document.activeElement !== search) search.value = filter.text;
      invalid.setAttribute('aria-pressed', String(filter.invalid));
      reset.hidden = !isFiltered(filter);
      selects.forEach(({ element }) => element === document.activeElement && element.blur());
      if (lastCounts) update(lastCounts);
    },
    update,
    focus: () => search.focus(),
  };
}
