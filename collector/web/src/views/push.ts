// What became of pushes: a funnel, the campaigns, each push, and the tokens and permissions behind them.

import { api } from '../api';
import { h } from '../dom';
import { count, dateAndClock, lasting, number, percent, shortId } from '../format';
import type { Campaign, Push, PushReport, PushToken } from '../report_types';
import { type Bar, barList, type Share, shareBar } from './charts';
import {
  badge,
  card,
  causeText,
  emptyState,
  figure,
  sentNumber,
  sentText,
  statusBadge,
  timeCell,
  tone,
} from './parts';
import { replaceKeeping, reportView } from './report';
import { figures, table, wideOnly } from './table';

const attributedOf = (report: PushReport): number =>
  report.attributed.reduce((sum, each) => sum + each.count, 0);

function medianToOpen(pushes: Push[]): string {
  const times = pushes
    .map((each) => sentNumber(each.time_to_open_ms))
    .filter((each) => each !== null)
    .sort((a, b) => a - b);
  const middle = times[Math.floor((times.length - 1) / 2)];
  return middle === undefined ? '–' : lasting(middle);
}

function funnel(report: PushReport): HTMLElement {
  const { received, silent, opened, dismissed, actions } = report.funnel;
  const step = (label: string, value: number, tone: string): Bar => ({
    label,
    count: value,
    note: percent(value, received),
    tone,
  });
  return card(
    'Funnel',
    'shares of the pushes received',
    h(
      'div',
      { class: 'funnel' },
      barList(
        [
          { label: 'received', count: received, tone: 'pink' },
          step('opened', opened, 'good'),
          step('actions', actions, 'teal'),
          step('dismissed', dismissed, 'warn'),
          { label: 'silent', count: silent, note: 'not shown', tone: 'muted' },
        ],
        '',
      ),
    ),
  );
}

function totals(report: PushReport): HTMLElement {
  const { received, opened } = report.funnel;
  return h(
    'section',
    { class: 'figures figures-row', 'aria-label': 'Totals' },
    figure('received', received),
    figure('opened', percent(opened, received)),
    figure('median time to open', medianToOpen(report.pushes)),
    figure('attributed events', attributedOf(report)),
    figure('campaigns', report.campaigns.length),
    figure('tokens told', report.tokens.length),
  );
}

const campaignShares = (of: Campaign): Share[] => [
  [of.opened, 'good', 'opened'],
  [of.actions, 'teal', 'with an action'],
  [of.dismissed, 'warn', 'dismissed'],
  [Math.max(0, of.received - of.opened - of.actions - of.dismissed), 'muted', 'without an answer'],
];

function campaignTable(campaigns: Campaign[]): HTMLElement {
  return table(
    [
      { text: 'Campaign' },
      { text: 'Outcome' },
      figures('Received'),
      figures('Opened'),
      figures('Actions'),
      figures('Dismissed'),
      figures('Attributed'),
    ],
    campaigns.map((each) => [
      h('span', { class: 'mono' }, each.campaign_id || '(none)'),
      shareBar(campaignShares(each)),
      number(each.received),
      h('span', {}, number(each.opened), ' ', h('small', {}, percent(each.opened, each.received))),
      number(each.actions),
      number(each.dismissed),
      number(each.attributed_events),
    ]),
    'None yet.',
  );
}

const outcomeTones: Record<string, string> = { opened: 'good', action: 'good', dismissed: 'warn' };

function pushTable(pushes: Push[]): HTMLElement {
  return table(
    [
      { text: 'Received' },
      { text: 'Push' },
      { text: 'Campaign' },
      { text: 'Outcome' },
      figures('Time to open'),
      figures('Attributed'),
      wideOnly('Content'),
      wideOnly('Provider'),
    ],
    pushes.map((each) => {
      const toOpen = sentNumber(each.time_to_open_ms);
      const title = sentText(each.title);
      return [
        timeCell(each.received_at),
        h('span', { class: 'mono', title: each.push_id }, shortId(each.push_id)),
        h('span', { class: 'mono' }, sentText(each.campaign_id)),
        badge(each.outcome, outcomeTones[each.outcome] ?? 'muted'),
        toOpen === null ? '' : lasting(toOpen),
        each.attributed_events === 0 ? '' : number(each.attributed_events),
        title === '' ? h('span', { class: 'mono none' }, sentText(each.content_hash)) : title,
        sentText(each.provider),
      ];
    }),
    'None yet.',
  );
}

function tokenTable(tokens: PushToken[]): HTMLElement {
  return table(
    [{ text: 'Time' }, { text: 'Answer' }, { text: 'Provider' }, { text: 'Token' }, wideOnly('Device')],
    tokens.map((each) => {
      const [digest, device] = [sentText(each.token_sha256), sentText(each.device_id)];
      return [
        h('time', { class: 'mono' }, dateAndClock(each.time)),
        h(
          'span',
          { class: 'notes' },
          statusBadge(each.status),
          each.cause ? badge(causeText(each.cause), tone(each.cause)) : null,
        ),
        sentText(each.provider),
        h('span', { class: 'mono', title: digest }, digest.slice(0, 16)),
        h('span', { class: 'mono', title: device }, shortId(device)),
      ];
    }),
    'None yet.',
  );
}

function content(report: PushReport): Node[] {
  const isEmpty =
    Object.values(report.funnel).every((each) => each === 0) &&
    report.tokens.length === 0 &&
    report.permissions.length === 0;
  if (isEmpty)
    return [
      emptyState(
        'No push told yet',
        'Pushes show up here when a host tells of one received, opened or dismissed.',
      ),
    ];
  return [
    totals(report),
    h(
      'div',
      { class: 'columns columns-even' },
      funnel(report),
      card(
        'Attribution',
        'events within the time after an open',
        barList(
          report.attributed.map((each) => ({ label: each.event_name, count: each.count, tone: 'violet' })),
          'No event is attributed to a push.',
        ),
      ),
    ),
    card('Campaigns', count(report.campaigns.length, 'campaign'), campaignTable(report.campaigns)),
    card('Pushes', 'newest first', pushTable(report.pushes)),
    h(
      'div',
      { class: 'columns' },
      card(
        'Permissions',
        'as told, by status',
        barList(
          report.permissions.map(({ status, count }) => ({ label: status, count, tone: 'blue' })),
          'None told.',
        ),
      ),
      card('Tokens', 'newest first, by their SHA-256', tokenTable(report.tokens)),
    ),
  ];
}

export function pushView(): HTMLElement {
  const element = h('div', { class: 'report' });
  return reportView({
    element,
    load: api.pushReport,
    show: (report) => replaceKeeping(element, content(report)),
  });
}
