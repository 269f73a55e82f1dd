// What is known of one screen.

import { api } from '../api';
import { h } from '../dom';
import { bytes, clock, count, dateAndClock, lasting, number, shortId } from '../format';
import type { Neighbour, Screen, Screenshot } from '../screen_types';
import { badge, eventLink, fact, iconButton, paths } from './parts';
import { figures, table } from './table';

export const stateTones: Record<string, string> = {
  populated: 'good',
  loading: 'warn',
  empty: 'ink',
  error: 'bad',
  normal: 'muted',
};

export interface DetailsLinks {
  close(): void;
  /** Opens another screen. */
  open(name: string): void;
  isKnown(name: string): boolean;
}

export function pictureFigure(picture: Screenshot): HTMLElement {
  const path = api.screenshotPath(picture.sha256);
  const state = picture.state ?? 'no state told';
  return h(
    'figure',
    { class: 'picture' },
    h(
      'a',
      { href: path, target: '_blank', rel: 'noopener' },
      h('img', {
        src: path,
        alt: `${picture.screen_name}, ${state}`,
        width: picture.width,
        height: picture.height,
        loading: 'lazy',
      }),
    ),
    h(
      'figcaption',
      {},
      badge(state, stateTones[state] ?? 'muted'),
      h('span', { class: 'mono' }, picture.screen_name),
      h(
        'small',
        { class: 'none', title: picture.release_id },
        `${picture.width} × ${picture.height}, ${bytes(picture.bytes)}, ${dateAndClock(picture.received_at)}`,
      ),
    ),
  );
}

function neighbours(title: string, list: Neighbour[], links: DetailsLinks): HTMLElement {
  const all = list.reduce((sum, each) => sum + each.count, 0);
  return h(
    'section',
    { 'aria-label': title },
    h('h3', {}, title),
    list.length === 0 ? h('p', { class: 'none' }, 'Nowhere told.') : null,
    h(
      'ul',
      { class: 'bar-list neighbours' },
      ...list.map((each) =>
        h(
          'li',
          {},
          links.isKnown(each.name)
            ? h('button', { type: 'button', class: 'link', onclick: () => links.open(each.name) }, each.name)
            : h('span', {}, each.name),
          h(
            'span',
            { class: 'bar-room' },
            h('span', { class: 'bar-part fill-accent', style: `width:${(100 * each.count) / all}%` }),
          ),
          h('span', { class: 'bar-value' }, number(each.count)),
        ),
      ),
    ),
  );
}

function candidateTable(screen: Screen): HTMLElement {
  return table(
    [{ text: 'Name' }, { text: 'From' }, figures('Confidence'), figures('Seen')],
    screen.candidates.map((each) => [
      each.text,
      h('span', { class: 'mono' }, each.source),
      each.confidence.toFixed(2),
      number(each.count),
    ]),
    'None told.',
  );
}

function visitTable(screen: Screen): HTMLElement {
  return table(
    [
      { text: 'Entered' },
      figures('Stayed'),
      figures('Taps'),
      figures('Scrolls'),
      { text: 'Left' },
      { text: 'Session' },
    ],
    screen.recent_visits.map((each) => [
      h('span', { title: dateAndClock(each.entered_at) }, eventLink(each.event_id, clock(each.entered_at))),
      lasting(each.dwell_ms),
      number(each.tap_count),
      number(each.scroll_count),
      each.exit_reason,
      h(
        'a',
        { class: 'link mono', href: `#/flow?session=${encodeURIComponent(each.session_id)}` },
        shortId(each.session_id),
      ),
    ]),
    'No visit has ended yet.',
  );
}

const wordsOf = (counts: Record<string, number>): string =>
  Object.entries(counts)
    .map(([word, times]) => `${word} ${number(times)}`)
    .join(', ');

export function screenDetails(screen: Screen, links: DetailsLinks): HTMLElement {
  const { dwell_median_ms: median } = screen;
  return h(
    'article',
    { class: 'inspector screen-details', 'aria-label': screen.name },
    h(
      'header',
      { class: 'inspector-head' },
      h(
        'div',
        { class: 'grow' },
        h('h2', {}, screen.name),
        h('p', { class: 'mono none class-text' }, screen.classes.join(', ')),
      ),
      iconButton(paths.close, 'Close', links.close),
    ),
    h(
      'dl',
      { class: 'facts' },
      fact('Views', [number(screen.views), wordsOf(screen.states)].filter(Boolean).join(': ')),
      fact('Triggered by', wordsOf(screen.triggers)),
      fact('Visits', count(screen.visits, 'ended visit')),
      fact(
        'Stay',
        median === null ? '' : `${lasting(median)} median, ${lasting(screen.dwell_total_ms)} in all`,
      ),
      fact(
        'Used',
        screen.visits === 0 ? '' : `${count(screen.taps, 'tap')}, ${count(screen.scrolls, 'scroll')}`,
      ),
      fact('Fingerprints', screen.fingerprints.join(', ')),
    ),
    h('div', { class: 'pictures' }, ...screen.screenshots.map(pictureFigure)),
    h(
      'div',
      { class: 'columns columns-even' },
      neighbours('Came from', screen.came_from, links),
      neighbours('Went to', screen.went_to, links),
    ),
    h('h3', {}, 'Names it may have'),
    candidateTable(screen),
    h('h3', {}, 'Newest visits'),
    visitTable(screen),
  );
}
