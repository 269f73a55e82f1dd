// One installation over time: who used it, its sessions, what it told of itself, and what it was
// told.

import { api } from '../api';
import { h, throttled } from '../dom';
import { count, dateAndClock, shortId } from '../format';
import { on } from '../live';
import { hashParameter, setHashParameter } from '../place';
import type { ExchangeRow, Identity, Installation, InstallationBatch, InstallationDetails } from '../types';
import { contextCard } from './context_card';
import { exchangeList, toldText } from './exchanges';
import { badge, card, causeText, emptyState, fact, failure, statusBadge, tone } from './parts';
import { lifeline } from './lifeline';

const timeOf = (second: number | null): string =>
  second === null ? 'at no known time' : dateAndClock(new Date(second * 1000).toISOString());

function identityRow(identity: Identity): HTMLElement {
  return h(
    'li',
    { class: 'identity' },
    h(
      'div',
      { class: 'identity-time mono' },
      timeOf(identity.from),
      h('small', {}, `until ${timeOf(identity.until)}`),
    ),
    h(
      'div',
      { class: 'grow' },
      identity.user_id
        ? h('strong', { class: 'mono' }, identity.user_id)
        : h('strong', { class: 'none' }, 'no user'),
      h('small', { class: 'mono' }, `anonymous ${identity.anonymous_id ?? 'unknown'}`),
    ),
    badge(count(identity.events, 'event'), 'ink'),
  );
}

function batchRow(batch: InstallationBatch): HTMLElement {
  const hadPolicy = batch.policy_exchange !== null;
  const policy = hadPolicy ? `under revision ${batch.policy_revision}` : 'before any policy';
  return h(
    'li',
    {},
    h('span', { class: 'mono' }, `#${batch.id}`),
    h('time', { class: 'mono' }, dateAndClock(batch.received_at)),
    statusBadge(batch.status),
    h('span', { class: 'grow' }, count(batch.events, 'event')),
    batch.cause ? badge(causeText(batch.cause), tone(batch.cause)) : null,
    badge(policy, hadPolicy ? 'ink' : 'warn'),
  );
}

function factLine(of: InstallationDetails, exchanges: ExchangeRow[]): HTMLElement {
  const last = exchanges.find((each) => each.revision !== null && each.answered_at !== null);
  return h(
    'dl',
    { class: 'facts facts-wide' },
    fact('Device', of.device_id),
    fact('Project', `${of.project_id} · ${of.environment}`),
    fact('App', [of.app, of.app_version].filter(Boolean).join(' ')),
    fact('Library', of.sdk_version ?? ''),
    fact('First seen', dateAndClock(of.first_seen)),
    fact('Last seen', dateAndClock(of.last_seen)),
    fact('Arrived', `${count(of.events, 'event')} in ${count(of.batches, 'batch', 'batches')}`),
    fact(
      'Last told',
      last ? `${toldText(last)}, at ${dateAndClock(last.answered_at ?? last.received_at)}` : 'nothing',
    ),
  );
}

interface Page {
  element: HTMLElement;
  refresh(): Promise<void>;
}

function installationPage(id: number): Page {
  const element = h('div', { class: 'installation' });
  const list = exchangeList();
  const context = contextCard();
  return {
    element,
    async refresh() {
      const of = await api.installation(id);
      const { project_id: project, environment, app } = of;
      const { exchanges } = await api.exchanges({ project, environment, app, limit: 500 });
      list.show(exchanges);
      context.show(of.contexts);
      const shared =
        of.app_installations > 1
          ? `of the app, which ${of.app_installations} installations share`
          : 'of its app, newest first';
      element.replaceChildren(
        card(shortId(of.device_id), `installation ${of.id}`, factLine(of, exchanges)),
        card('Over time', count(of.sessions.length, 'session'), lifeline(of, exchanges)),
        h(
          'div',
          { class: 'columns' },
          h(
            'div',
            { class: 'stack' },
            card(
              'Identity',
              `${count(of.identities.length, 'stretch', 'stretches')}, newest first`,
              h('ul', { class: 'identities' }, ...of.identities.map(identityRow)),
            ),
            card(
              'Batches',
              'and the policy last answered before each',
              h('ul', { class: 'history' }, ...of.recent_batches.slice(0, 100).map(batchRow)),
            ),
          ),
          h(
            'div',
            { class: 'stack' },
            card('Control plane', shared, list.element),
            card('Context', `${count(of.contexts.length, 'version')}, newest first`, context.element),
          ),
        ),
      );
    },
  };
}

function listRow(of: Installation, open: () => void): HTMLElement {
  return h(
    'button',
    { type: 'button', class: 'pick', 'data-installation': of.id, onclick: open },
    h('strong', { class: 'mono' }, shortId(of.device_id)),
    h('small', {}, `${of.project_id} · ${of.app} · ${of.environment}`),
    h('small', {}, count(of.events, 'event')),
  );
}

export function installationsView(): HTMLElement {
  const picks = h('div', { class: 'picks', role: 'group', 'aria-label': 'Installations' });
  const outlet = h('div', { class: 'project-outlet' });
  let chosen = Number(hashParameter('installation') ?? 0);
  let page: Page | null = null;
  let shown = 0;

  const load = async () => {
    try {
      const { installations } = await api.installations();
      if (!installations.some((each) => each.id === chosen)) chosen = installations[0]?.id ?? 0;
      picks.replaceChildren(...installations.map((each) => listRow(each, () => choose(each.id))));
      for (const each of picks.children)
        each.setAttribute('aria-pressed', String(each.getAttribute('data-installation') === String(chosen)));
      if (chosen === 0) {
        page = null;
        outlet.replaceChildren(
          emptyState('No installation yet', 'An installation shows up here with its first batch of events.'),
        );
        return;
      }
      if (!page || shown !== chosen) page = installationPage(chosen);
      shown = chosen;
      await page.refresh();
      if (page.element.parentElement !== outlet) outlet.replaceChildren(page.element);
    } catch (error) {
      outlet.replaceChildren(failure(error));
    }
  };
  const choose = (id: number) => {
    chosen = id;
    setHashParameter('installation', String(id));
    void load();
  };
  const refresh = throttled(1500, load);
  for (const event of ['batch', 'exchange', 'open', 'reset', 'lagged'] as const) on(event, refresh);
  window.addEventListener('hashchange', () => {
    const wanted = Number(hashParameter('installation') ?? 0);
    if (wanted > 0 && wanted !== chosen) choose(wanted);
  });
  refresh();
  return h('div', { class: 'projects' }, h('div', { class: 'project-bar' }, picks), outlet);
}
