// How people go from screen to screen: a graph of all visits, or one session's way through it.

import { api } from '../api';
import { h } from '../dom';
import { clock, count, dateAndClock, lasting, number, shortId } from '../format';
import { hashParameter, setHashParameter } from '../place';
import type { FlowReport, Session, Way } from '../screen_types';
import { flowGraph, type FlowGraph } from './flow_graph';
import { card, emptyState, eventLink, figure } from './parts';
import { replaceKeeping, reportView } from './report';
import { figures, table } from './table';

function totals(report: FlowReport): HTMLElement {
  return h(
    'section',
    { class: 'figures figures-row figures-five', 'aria-label': 'Totals' },
    figure('screens', report.screen_count),
    figure('ended visits', report.visit_count),
    figure('timed transitions', report.transition_count),
    figure('ways', report.edges.length),
    figure('sessions', report.session_count),
  );
}

function sessionText(session: Session): string {
  const last = session.visits.at(-1);
  const to = last ? ` to ${last.name}` : '';
  return `${dateAndClock(session.started_at)}, ${count(session.visit_count, 'screen')}${to}, ${shortId(session.session_id)}`;
}

function sessionChoice(report: FlowReport, chosen: string, choose: (id: string) => void): HTMLElement {
  const select = h(
    'select',
    { 'aria-label': 'Whose way', 'data-key': 'session' },
    h('option', { value: '' }, 'All sessions'),
    ...report.sessions.map((each) =>
      h('option', { value: each.session_id, selected: each.session_id === chosen }, sessionText(each)),
    ),
  );
  select.addEventListener('change', () => choose(select.value));
  return select;
}

function trailCard(session: Session): HTMLElement {
  const left = session.visit_count - session.visits.length;
  return card(
    'Trail',
    `${count(session.visit_count, 'visit')} from ${dateAndClock(session.started_at)}`,
    h(
      'ol',
      { class: 'trail' },
      ...session.visits.map((each, i) =>
        h(
          'li',
          {},
          h('span', { class: 'trail-step' }, i + 1),
          h(
            'span',
            { class: 'trail-what' },
            h('a', { class: 'link', href: `#/screens?screen=${encodeURIComponent(each.name)}` }, each.name),
            h(
              'small',
              {},
              [
                lasting(each.dwell_ms),
                each.tap_count > 0 ? count(each.tap_count, 'tap') : '',
                each.scroll_count > 0 ? count(each.scroll_count, 'scroll') : '',
                each.exit_reason,
              ]
                .filter(Boolean)
                .join(' · '),
            ),
          ),
          eventLink(each.event_id, clock(each.entered_at)),
        ),
      ),
    ),
    left > 0 ? h('p', { class: 'says' }, `and ${count(left, 'more visit')}`) : null,
  );
}

function wayTable(ways: Way[], graph: FlowGraph): HTMLElement {
  const element = table(
    [
      { text: 'From' },
      { text: 'To' },
      figures('Count'),
      figures('Tap to arrival'),
      { text: 'By visits', class: 'figures-cell wide-cell' },
      { text: 'Timed', class: 'figures-cell wide-cell' },
    ],
    ways.map((each) => [
      each.from,
      each.to,
      number(each.count),
      each.median_ms === null ? '' : lasting(each.median_ms),
      number(each.visits),
      number(each.transitions),
    ]),
    'None told yet.',
  );
  element.querySelectorAll('tbody tr').forEach((row, i) => {
    const way = ways[i];
    if (!way) return;
    row.addEventListener('mouseenter', () => graph.focus(way));
    row.addEventListener('mouseleave', () => graph.focus(null));
  });
  return element;
}

const legend = (minor: number): HTMLElement =>
  h(
    'p',
    { class: 'legend says' },
    h('span', {}, h('i', { class: 'fill-accent' }), 'onward'),
    h('span', {}, h('i', { class: 'fill-violet' }), 'back'),
    h('span', {}, h('i', { class: 'fill-slate' }), 'across'),
    h('span', {}, 'Labels: how often, and the median time from tap to arrival.'),
    minor > 0 ? h('span', {}, `Point at a screen to see the ${count(minor, 'rarer way')} too.`) : null,
  );

function content(report: FlowReport, chosen: string, choose: (id: string) => void): HTMLElement[] {
  if (report.screens.length === 0)
    return [
      emptyState(
        'No flow told yet',
        'Ways between screens show up with the taps that lead on; visits are told when the app goes to the background.',
      ),
    ];
  const session = report.sessions.find((each) => each.session_id === chosen) ?? null;
  const graph = flowGraph(report, session);
  const left = report.screen_count - report.screens.length;
  const part = left > 0 ? `the ${report.screens.length} busiest screens of ${report.screen_count}` : '';
  const shown = card(
    'Flow',
    chosen !== '' && !session ? 'of all sessions: the wanted one is not among the newest' : part,
    sessionChoice(report, chosen, choose),
    h('div', { class: 'flow-room' }, graph.element),
    legend(graph.minor),
  );
  shown.classList.add('flow-card');
  return [
    totals(report),
    session ? h('div', { class: 'flow-split' }, shown, trailCard(session)) : shown,
    card('Ways', 'busiest first', wayTable(report.edges.slice(0, 100), graph)),
  ];
}

export function flowView(): HTMLElement {
  const element = h('div', { class: 'report' });
  let last: FlowReport | null = null;
  let chosen = '';
  const show = (report: FlowReport) => {
    last = report;
    chosen = hashParameter('session') ?? '';
    replaceKeeping(
      element,
      content(report, chosen, (id) => {
        setHashParameter('session', id);
        show(report);
      }),
    );
  };
  window.addEventListener('hashchange', () =>
    queueMicrotask(() => {
      if (last && element.isConnected && (hashParameter('session') ?? '') !== chosen) show(last);
    }),
  );
  return reportView({ element, load: api.flowReport, show });
}
