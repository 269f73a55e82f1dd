// What hosts ask over the network: by host and route, as the summaries count them, and the requests
// that were told one by one.

import { api } from '../api';
import { h } from '../dom';
import { bytes, count, lasting, number, percent } from '../format';
import type { DiagnosticRequest, Host, NetworkReport, Route, Traffic } from '../report_types';
import { histogram, latencyColumns, type Share, shareBar, sharesText } from './charts';
import {
  badge,
  card,
  emptyState,
  eventLink,
  figure,
  sentNumber,
  sentText,
  statusBadge,
  timeCell,
} from './parts';
import { replaceKeeping, reportView } from './report';
import { figures, table, wideOnly } from './table';

const classes: [string, string, string][] = [
  ['2xx', 'good', '2xx'],
  ['3xx', 'blue', '3xx'],
  ['4xx', 'warn', '4xx'],
  ['5xx', 'bad', '5xx'],
  ['error', 'slate', 'without an answer'],
];

function statusShares(statuses: Record<string, number>): Share[] {
  const known = classes.map(([key, tone, word]): Share => [statuses[key] ?? 0, tone, word]);
  const all = Object.values(statuses).reduce((sum, each) => sum + each, 0);
  const others = all - known.reduce((sum, [requests]) => sum + requests, 0);
  return [...known, [others, 'muted', 'otherwise']];
}

function statusesOf(routes: Route[]): Record<string, number> {
  const all: Record<string, number> = {};
  for (const { statuses } of routes)
    for (const [key, requests] of Object.entries(statuses)) all[key] = (all[key] ?? 0) + requests;
  return all;
}

function sumOf(hosts: Host[]): Traffic {
  const sum = { count: 0, errors: 0, request_bytes: 0, response_bytes: 0, latency: [0, 0, 0, 0, 0] };
  for (const host of hosts) {
    sum.count += host.count;
    sum.errors += host.errors;
    sum.request_bytes += host.request_bytes;
    sum.response_bytes += host.response_bytes;
    sum.latency = sum.latency.map((each, i) => each + (host.latency[i] ?? 0));
  }
  return sum;
}

const errorText = (of: Traffic): HTMLElement =>
  h('span', { class: of.errors > 0 ? 'bad-text' : 'none' }, percent(of.errors, of.count));

function routeTable(routes: Route[]): HTMLElement {
  return table(
    [
      { text: 'Route' },
      figures('Requests'),
      { text: 'Latency' },
      wideOnly('Answers'),
      figures('Errors'),
      { text: 'Sent', class: 'figures-cell wide-cell' },
      figures('Received'),
    ],
    routes.map((route) => {
      const shares = statusShares(route.statuses);
      return [
        h('span', { class: 'mono' }, route.route),
        number(route.count),
        histogram(route.latency),
        h('div', { class: 'outcome' }, shareBar(shares), h('small', { class: 'soft' }, sharesText(shares))),
        errorText(route),
        bytes(route.request_bytes),
        bytes(route.response_bytes),
      ];
    }),
    'None.',
  );
}

// Which hosts the reader has folded out or in.
type Folds = Map<string, boolean>;

// Its routes are built once they are looked at: there may be thousands.
function hostRow(host: Host, folds: Folds, isFirst: boolean): HTMLElement {
  const isOpen = folds.get(host.host) ?? isFirst;
  const row = h(
    'details',
    { class: 'host', 'data-key': `host ${host.host}`, 'data-host': host.host, open: isOpen },
    h(
      'summary',
      {},
      h(
        'span',
        { class: 'host-name' },
        h('strong', {}, host.host || '(no host)'),
        h('small', {}, count(host.routes.length, 'route')),
      ),
      h('span', { class: 'host-figure' }, number(host.count), h('small', {}, 'requests')),
      histogram(host.latency),
      shareBar(statusShares(statusesOf(host.routes))),
      h('span', { class: 'host-figure' }, errorText(host), h('small', {}, 'errors')),
      h('span', { class: 'host-figure' }, bytes(host.request_bytes), h('small', {}, 'sent')),
      h('span', { class: 'host-figure' }, bytes(host.response_bytes), h('small', {}, 'received')),
    ),
    isOpen ? routeTable(host.routes) : null,
  );
  row.addEventListener('toggle', () => {
    folds.set(host.host, row.open);
    if (row.open && row.childElementCount === 1) row.append(routeTable(host.routes));
  });
  return row;
}

const phaseTones: [string, string][] = [
  ['violet', 'name'],
  ['gold', 'connect'],
  ['teal', 'first byte'],
  ['muted', 'rest'],
];

const phaseLegend = (): HTMLElement =>
  h(
    'span',
    { class: 'legend' },
    ...phaseTones.map(([tone, word]) => h('span', {}, h('i', { class: `fill-${tone}` }), word)),
  );

// The parts of a request's time, one after the other. The first byte's time counts from the start.
function phases(request: DiagnosticRequest): Share[] {
  const part = (value: unknown) => Math.max(0, sentNumber(value) ?? 0);
  const [dns, connect] = [part(request.dns_ms), part(request.connect_ms)];
  const whole = part(request.duration);
  const first = Math.min(whole, part(request.ttfb_ms));
  const rest = Math.max(0, whole - Math.max(first, dns + connect));
  const times = [dns, connect, Math.max(0, first - dns - connect), rest];
  return phaseTones.map(([tone, word], i) => [times[i] ?? 0, tone, `ms: ${word}`]);
}

function statusOf(request: DiagnosticRequest): HTMLElement {
  const status = sentNumber(request.status_code);
  if (status === null || status === 0) return badge('no status', 'muted');
  return status < 0 ? badge('failed', 'bad') : statusBadge(status);
}

function diagnosticTable(requests: DiagnosticRequest[]): HTMLElement {
  const longest = Math.max(1, ...requests.map((each) => sentNumber(each.duration) ?? 0));
  return table(
    [{ text: 'Time' }, { text: 'Request' }, { text: 'Status' }, figures('Duration'), wideOnly(phaseLegend())],
    requests.map((each) => {
      const duration = sentNumber(each.duration);
      const width = (100 * (duration ?? 0)) / longest;
      return [
        timeCell(each.time),
        h(
          'span',
          {},
          h('span', { class: 'method' }, sentText(each.method)),
          eventLink(each.event_id, sentText(each.url)),
        ),
        statusOf(each),
        duration === null ? '–' : lasting(duration),
        h('div', { class: 'phases', style: `width:${Math.max(2, width)}%` }, shareBar(phases(each))),
      ];
    }),
    'None. They come only for the hosts that a policy allows with network.hostAllowlist.',
  );
}

function overview(report: NetworkReport): HTMLElement {
  const all = sumOf(report.hosts);
  const dropped = report.dropped_records;
  return h(
    'div',
    { class: 'overview' },
    h(
      'section',
      { class: 'figures', 'aria-label': 'Totals' },
      figure('requests', report.total_requests),
      figure('errors', percent(all.errors, all.count), all.errors > 0 ? 'figure-bad' : ''),
      figure('hosts', report.hosts.length),
      figure('sent', bytes(all.request_bytes)),
      figure('received', bytes(all.response_bytes)),
      figure('dropped', dropped, dropped > 0 ? 'figure-bad' : ''),
    ),
    h(
      'section',
      { class: 'card chart', 'aria-label': 'Latency' },
      h(
        'div',
        { class: 'chart-head' },
        h('span', {}, 'Latency of all requests'),
        h('span', {}, `told by ${count(report.summaries, 'summary', 'summaries')}`),
      ),
      latencyColumns(all.latency),
    ),
  );
}

function content(report: NetworkReport, folds: Folds): Node[] {
  if (report.summaries === 0 && report.diagnostics.length === 0)
    return [
      emptyState(
        'No request told yet',
        'A host that observes its network sends a summary of its requests every 30 seconds.',
      ),
    ];
  return [
    overview(report),
    card(
      'Hosts',
      'by requests; fold one out for its routes',
      report.hosts.length > 0
        ? h('div', { class: 'hosts' }, ...report.hosts.map((host, i) => hostRow(host, folds, i === 0)))
        : h('p', { class: 'none' }, 'None told.'),
    ),
    card('Diagnostic requests', 'newest first', diagnosticTable(report.diagnostics)),
  ];
}

export function networkView(): HTMLElement {
  const element = h('div', { class: 'report' });
  const folds: Folds = new Map();
  return reportView({
    element,
    load: api.networkReport,
    show: (report) => replaceKeeping(element, content(report, folds)),
  });
}
