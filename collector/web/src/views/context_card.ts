// The newest context of an installation, and what had changed each time before.

import { h } from '../dom';
import { count, dateAndClock } from '../format';
import { briefly, isRecord } from '../json';
import type { KeptContext } from '../types';
import { jsonView } from './json_view';

function flat(value: unknown, path = ''): Map<string, string> {
  const all = new Map<string, string>();
  if (!isRecord(value)) return all;
  for (const [key, each] of Object.entries(value)) {
    const name = path === '' ? key : `${path}.${key}`;
    if (isRecord(each)) flat(each, name).forEach((text, inner) => all.set(inner, text));
    else all.set(name, Array.isArray(each) ? each.map(briefly).join(', ') : briefly(each));
  }
  return all;
}

function changesBetween(before: unknown, after: unknown): string[] {
  if (!isRecord(after)) return ['left out of the batches'];
  if (!isRecord(before)) return ['in the batches again'];
  const old = flat(before);
  const now = flat(after);
  const names = [...new Set([...old.keys(), ...now.keys()])].filter(
    (name) => old.get(name) !== now.get(name),
  );
  return names.map((name) => `${name}: ${old.get(name) ?? 'absent'} → ${now.get(name) ?? 'absent'}`);
}

function newest(context: unknown): HTMLElement {
  if (!isRecord(context)) return h('p', { class: 'none' }, 'The newest batch has no context.');
  return h(
    'div',
    { class: 'context-parts' },
    ...Object.entries(context).map(([part, values]) =>
      h(
        'div',
        {},
        h('h3', {}, part),
        h(
          'dl',
          { class: 'facts' },
          ...[...flat(values)].map(([key, text]) =>
            h(
              'div',
              { class: 'fact' },
              h('dt', {}, key),
              h('dd', { class: text === '' ? 'none' : 'mono' }, text === '' ? 'empty' : text),
            ),
          ),
        ),
      ),
    ),
  );
}

/** `show` takes the contexts newest first. */
export function contextCard(): { element: HTMLElement; show(contexts: KeptContext[]): void } {
  const now = h('div', {});
  const past = h('ul', { class: 'history context-history' });
  return {
    element: h('div', {}, now, h('h3', {}, 'Changes'), past),
    show(contexts) {
      now.replaceChildren(contexts[0] ? newest(contexts[0].context) : h('p', { class: 'none' }, 'None yet.'));
      past.replaceChildren(
        ...contexts.map((each, i) => {
          const before = contexts[i + 1];
          const changes = before ? changesBetween(before.context, each.context) : ['first seen'];
          return h(
            'li',
            {},
            h('time', { class: 'mono' }, dateAndClock(each.first_seen)),
            h(
              'details',
              { class: 'grow' },
              h(
                'summary',
                {},
                changes.slice(0, 3).join(' · '),
                changes.length > 3 ? ` · ${count(changes.length - 3, 'more', 'more')}` : null,
              ),
              ...changes.slice(3).map((text) => h('p', { class: 'says' }, text)),
              jsonView(each.context),
            ),
            h(
              'span',
              { class: 'none' },
              `${count(each.batches, 'batch', 'batches')} from #${each.first_batch}`,
            ),
          );
        }),
      );
    },
  };
}
