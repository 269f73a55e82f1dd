// The sessions of an installation as bars over time, with the words of the control plane and the
// batches as marks above them.

import { h } from '../dom';
import { clock, count, dateAndClock, shortId, span } from '../format';
import type { ExchangeRow, InstallationDetails, Session } from '../types';
import { toldSettings, toldText } from './exchanges';

const mostRows = 60;

interface Axis {
  from: number;
  until: number;
  /** Where a time stands, in percent. */
  at(ms: number): number;
}

function axisOf(of: InstallationDetails, exchanges: ExchangeRow[]): Axis {
  const times = [
    ...of.sessions
      .flatMap((each) => [each.from, each.until])
      .flatMap((second) => (second === null ? [] : [second * 1000])),
    ...of.recent_batches.map((each) => Date.parse(each.received_at)),
    ...exchanges.map((each) => Date.parse(each.received_at)),
  ];
  const from = Math.min(...times);
  const until = Math.max(...times, from + 1000);
  return { from, until, at: (ms) => Math.min(100, Math.max(0, ((ms - from) / (until - from)) * 100)) };
}

function lane(label: string, ...marks: Node[]): HTMLElement {
  return h(
    'div',
    { class: 'lane' },
    h('span', { class: 'lane-label' }, label),
    h('div', { class: 'lane-track' }, ...marks),
  );
}

function mark(axis: Axis, iso: string, tone: string, title: string): HTMLElement {
  return h('span', { class: `mark fill-${tone}`, style: `left:${axis.at(Date.parse(iso))}%`, title });
}

function exchangeTone(row: ExchangeRow): string {
  if (!toldSettings(row)) return row.status >= 200 && row.status < 300 ? 'muted' : 'bad';
  if (row.revision === null) return 'bad';
  return row.paused ? 'warn' : 'good';
}

const hues = ['teal', 'violet', 'blue', 'gold', 'pink', 'green'];

function sessionLane(axis: Axis, session: Session, users: string[]): HTMLElement {
  const from = (session.from ?? axis.from / 1000) * 1000;
  const until = (session.until ?? session.from ?? axis.from / 1000) * 1000;
  const user = session.users ?? '';
  const hue = user === '' ? 'slate' : (hues[users.indexOf(user) % hues.length] ?? 'teal');
  const seconds = Math.round((until - from) / 1000);
  const who = user === '' ? 'no user' : user.split(',').join(', ');
  const title = `${session.session_id}\n${dateAndClock(new Date(from).toISOString())}, ${span(seconds)}, ${count(session.events, 'event')}\n${who}`;
  return lane(
    `${shortId(session.session_id)}`,
    h('span', {
      class: `bar-session hue-${hue}${session.ends > 0 ? '' : ' is-open'}`,
      style: `left:${axis.at(from)}%;width:max(6px,${axis.at(until) - axis.at(from)}%)`,
      title,
      'data-session': session.session_id,
    }),
    h(
      'span',
      {
        class: 'bar-text',
        style: axis.at(until) > 70 ? `right:${100 - axis.at(from)}%` : `left:${axis.at(until)}%`,
      },
      `${who} · ${count(session.events, 'event')} · ${span(seconds)}`,
    ),
  );
}

export function lifeline(of: InstallationDetails, exchanges: ExchangeRow[]): HTMLElement {
  if (of.sessions.length === 0) return h('p', { class: 'none' }, 'No event has been kept yet.');
  const axis = axisOf(of, exchanges);
  const users = [...new Set(of.sessions.map((each) => each.users ?? '').filter((user) => user !== ''))];
  const label = axis.until - axis.from > 86_400_000 ? dateAndClock : clock;
  return h(
    'div',
    { class: 'lifeline' },
    lane(
      'control plane',
      ...exchanges.map((each) =>
        mark(
          axis,
          each.received_at,
          exchangeTone(each),
          `${each.endpoint}: ${toldText(each)} at ${clock(each.received_at, true)}`,
        ),
      ),
    ),
    lane(
      'batches',
      ...of.recent_batches.map((each) =>
        mark(
          axis,
          each.received_at,
          each.cause ? 'warn' : 'muted',
          `batch ${each.id}: ${count(each.events, 'event')} at ${clock(each.received_at, true)}`,
        ),
      ),
    ),
    ...of.sessions.slice(0, mostRows).map((session) => sessionLane(axis, session, users)),
    h(
      'div',
      { class: 'lane lane-axis' },
      h('span', { class: 'lane-label' }),
      h(
        'div',
        { class: 'chart-axis grow' },
        h('span', {}, label(new Date(axis.from).toISOString())),
        h('span', {}, label(new Date(axis.until).toISOString())),
      ),
    ),
  );
}
