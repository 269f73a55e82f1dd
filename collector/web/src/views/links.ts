// How people came: deep links and what they were resolved to, installs and their validation, and the
// form for what the project's links are answered.

import { api } from '../api';
import { h } from '../dom';
import { count, number, percent, shortId } from '../format';
import type { DeepLink, LinksReport, Resolve, Validation } from '../report_types';
import { answersForm } from './answers_form';
import { barList } from './charts';
import { badge, card, causeText, emptyState, eventLink, figure, sentText, timeCell, tone } from './parts';
import { replaceKeeping, reportView } from './report';
import { table, wideOnly } from './table';

const mono = (value: unknown, title?: string): HTMLElement =>
  h('span', { class: 'mono', title }, sentText(value));

const short = (value: unknown): HTMLElement => mono(shortId(sentText(value)), sentText(value));

function totals(report: LinksReport): HTMLElement {
  const opened = Object.values(report.by_source).reduce((sum, each) => sum + each, 0);
  const resolved = report.resolves.filter((each) => each.resolved === true).length;
  const validated = report.validations.filter((each) => each.status === 'validated').length;
  return h(
    'section',
    { class: 'figures figures-row', 'aria-label': 'Totals' },
    figure('deep links', opened),
    figure('campaigns', report.by_campaign.length),
    figure('resolves', report.resolves.length),
    figure('of them resolved', percent(resolved, report.resolves.length)),
    figure('installs', report.installs.length),
    figure('validated', `${number(validated)} of ${number(report.validations.length)}`),
  );
}

const utmBadges = (utm: Record<string, unknown>): HTMLElement =>
  h(
    'span',
    { class: 'notes' },
    ...Object.entries(utm).map(([key, value]) =>
      h('span', { class: 'badge tone-ink', title: key }, `${key.replace(/^utm_/, '')} ${sentText(value)}`),
    ),
  );

function linkTable(links: DeepLink[]): HTMLElement {
  return table(
    [
      { text: 'Time' },
      { text: 'Host' },
      { text: 'Source' },
      { text: 'Campaign' },
      wideOnly('Link'),
      wideOnly('Path’s hash'),
      wideOnly('Click'),
      wideOnly('Device'),
    ],
    links.map((each) => [
      timeCell(each.time),
      eventLink(each.event_id, sentText(each.link_host) || '(no host)'),
      h(
        'span',
        { class: 'notes' },
        badge(sentText(each.source) || 'unknown', 'ink'),
        each.is_deferred === true ? badge('deferred', 'warn') : null,
      ),
      utmBadges(each.utm),
      mono(each.link_id),
      mono(each.link_path_hash),
      short(each.zarn_click_id),
      short(each.device_id),
    ]),
    'None yet.',
  );
}

function resolveTable(resolves: Resolve[]): HTMLElement {
  return table(
    [{ text: 'Time' }, { text: 'Asked by' }, { text: 'Answer' }, { text: 'Link' }, { text: 'Campaign' }],
    resolves.map((each) => [
      timeCell(each.time),
      [each.has_click_id ? 'click id' : '', each.has_clipboard_token ? 'clipboard token' : '']
        .filter(Boolean)
        .join(', ') || 'nothing',
      h(
        'span',
        { class: 'notes' },
        each.resolved === null
          ? badge('nothing readable', 'warn')
          : badge(each.resolved ? 'resolved' : 'not resolved', each.resolved ? 'good' : 'muted'),
        each.cause ? badge(causeText(each.cause), tone(each.cause)) : null,
      ),
      mono(each.link_id),
      sentText(each.campaign),
    ]),
    'No client has asked yet.',
  );
}

const goodWords = ['validated', 'replayed'];

function validationTable(validations: Validation[]): HTMLElement {
  return table(
    [{ text: 'Time' }, { text: 'Answer' }, { text: 'Install' }],
    validations.map((each) => [
      timeCell(each.time),
      h(
        'span',
        { class: 'notes' },
        badge(each.status ?? 'nothing readable', goodWords.includes(each.status ?? '') ? 'good' : 'warn'),
        each.cause ? badge(causeText(each.cause), tone(each.cause)) : null,
      ),
      short(each.install_id),
    ]),
    'No client has asked yet.',
  );
}

function told(report: LinksReport): Node[] {
  const isEmpty = [report.events, report.resolves, report.installs, report.validations].every(
    (each) => each.length === 0,
  );
  if (isEmpty)
    return [
      emptyState(
        'No link told yet',
        'Deep links, what they resolve to, and installs show up here. Below you can set the answers.',
      ),
    ];
  const sources = Object.entries(report.by_source).map(([label, value]) => ({ label, count: value }));
  const campaigns = report.by_campaign.map((each) => ({
    label: each.campaign,
    count: each.count,
    tone: 'pink',
  }));
  return [
    totals(report),
    h(
      'div',
      { class: 'columns columns-even' },
      card('Sources', 'of deep links', barList(sources, 'None yet.')),
      card('Campaigns', 'of deep links', barList(campaigns, 'None named.')),
    ),
    card('Deep links', 'newest first', linkTable(report.events)),
    h(
      'div',
      { class: 'columns columns-even' },
      card('Resolves', 'newest first', resolveTable(report.resolves)),
      h(
        'div',
        { class: 'stack' },
        card(
          'Installs',
          count(report.installs.length, 'install'),
          table(
            [{ text: 'Time' }, { text: 'App' }, { text: 'Click' }, { text: 'Device' }],
            report.installs.map((each) => [
              timeCell(each.time),
              eventLink(each.event_id, sentText(each.app_version) || 'unknown'),
              short(each.zarn_click_id),
              short(each.device_id),
            ]),
            'None yet.',
          ),
        ),
        card('Validations', 'of installs', validationTable(report.validations)),
      ),
    ),
  ];
}

export function linksView(): HTMLElement {
  const facts = h('div', { class: 'report' });
  const answers = answersForm();
  return reportView({
    element: h('div', { class: 'report' }, facts, answers.element),
    async load(scope) {
      const [report, kept] = await Promise.all([
        api.linksReport(scope),
        scope.project === '' ? null : api.answers(scope.project),
      ]);
      return { report, kept };
    },
    show({ report, kept }, { project }) {
      replaceKeeping(facts, told(report));
      answers.show(project, kept);
    },
  });
}
