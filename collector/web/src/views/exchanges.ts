// What a client asked of the control plane, and what it was told.

import { h } from '../dom';
import { clock, count } from '../format';
import { briefly, isRecord } from '../json';
import type { ExchangeRow } from '../types';
import { jsonView } from './json_view';
import { badge, causeText, problemList, statusBadge, tone } from './parts';

const asked: Record<string, string> = {
  init: 'start-up',
  recovery: 'recovery',
  config: 'config',
  batch: 'batch',
  resolve: 'link',
  validate: 'install',
  register: 'token',
  screenshot_check: 'screenshot?',
  screenshot: 'screenshot',
};

// What requests about links, installs, tokens and screenshots were answered; they bring no settings.
function answerText(row: ExchangeRow): string | null {
  const answer = isRecord(row.response) ? row.response : {};
  if (row.endpoint === 'resolve') return answer['resolved'] === true ? 'resolved' : 'not resolved';
  if (row.endpoint === 'validate') return briefly(answer['validation_status'] ?? 'not validated');
  if (row.endpoint === 'register') return row.status >= 200 && row.status < 300 ? 'taken' : 'not taken';
  if (row.endpoint === 'screenshot_check')
    return answer['exists'] === true ? 'exists' : answer['exists'] === false ? 'wanted' : 'not told';
  if (row.endpoint === 'screenshot') return row.status >= 200 && row.status < 300 ? 'taken' : 'not taken';
  return null;
}

export const toldSettings = (row: ExchangeRow): boolean => answerText(row) === null;

/** What the answer told, in words. */
export function toldText(row: ExchangeRow): string {
  const answer = answerText(row);
  if (answer !== null) return answer;
  if (row.revision === null) return 'told nothing';
  const policy = row.policy === null ? 'no policy' : 'policy';
  const pause = row.paused === null ? '' : row.paused ? ', paused' : ', not paused';
  return `revision ${row.revision}: ${policy}${pause}`;
}

function answeredText(row: ExchangeRow): string {
  if (row.status === 0) return 'The connection was closed without an answer.';
  if (row.answered_at === null) return 'The answer is being held.';
  const late = Date.parse(row.answered_at) - Date.parse(row.received_at);
  return late > 0 ? `Answered at ${clock(row.answered_at, true)}, ${late} ms late.` : '';
}

export function exchangeRow(row: ExchangeRow): HTMLElement {
  const app = [row.app, row.environment].filter(Boolean).join(' · ');
  const isStale = row.revision !== null && row.revision < row.newest_revision;
  const answered = answeredText(row);
  return h(
    'details',
    { class: 'call', 'data-exchange': row.id },
    h(
      'summary',
      {},
      h('time', { class: 'mono' }, clock(row.received_at, true)),
      h('strong', { class: 'call-what' }, asked[row.endpoint] ?? row.endpoint),
      statusBadge(row.status),
      h('span', { class: 'told' }, toldText(row)),
      h(
        'span',
        { class: 'notes' },
        row.paused ? badge(row.paused_reason ? `paused: ${row.paused_reason}` : 'paused', 'warn') : null,
        isStale ? badge(`newest was ${row.newest_revision}`, 'warn') : null,
        row.cause && row.cause !== 'paused' ? badge(causeText(row.cause), tone(row.cause)) : null,
        row.answered_at === null && row.status !== 0 ? badge('held', 'warn') : null,
        row.problems.length > 0 ? badge(count(row.problems.length, 'problem'), 'bad') : null,
      ),
    ),
    h('p', { class: 'says' }, [app, answered].filter(Boolean).join(' — ')),
    row.problems.length > 0 ? problemList(row.problems) : null,
    row.endpoint === 'batch' ? null : h('h3', {}, 'Request'),
    row.endpoint === 'batch' ? null : jsonView(row.request),
    h('h3', {}, 'Answer'),
    jsonView(row.response),
  );
}

/** A list of them that keeps what the reader has opened. */
export function exchangeList(): { element: HTMLElement; show(rows: ExchangeRow[]): void } {
  const element = h('div', { class: 'calls' });
  return {
    element,
    show(rows) {
      const open = new Set(
        [...element.querySelectorAll('details[open]')].map((each) => each.getAttribute('data-exchange')),
      );
      element.replaceChildren(...rows.map(exchangeRow));
      for (const each of element.children)
        if (open.has(each.getAttribute('data-exchange'))) each.setAttribute('open', '');
      if (rows.length === 0) element.append(h('p', { class: 'none' }, 'None yet.'));
    },
  };
}
