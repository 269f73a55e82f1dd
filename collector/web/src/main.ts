// The frame around the views: where one is, whether the feed is live, and what is switched on.

import './style/base.css';
import './style/events.css';
import './style/inspector.css';
import './style/requests.css';
import './style/projects.css';
import './style/charts.css';
import './style/reports.css';
import './style/screens.css';
import './style/flow.css';

import { api } from './api';
import { h, icon } from './dom';
import { count } from './format';
import markUrl from './icon.svg';
import { connect, on, onConnection } from './live';
import { batchesView } from './views/batches';
import { crashesView } from './views/crashes';
import { eventsView } from './views/events';
import { flowView } from './views/flow';
import { installationsView } from './views/installations';
import { linksView } from './views/links';
import { networkView } from './views/network';
import { iconButton, paths } from './views/parts';
import { projectsView } from './views/projects';
import { pushView } from './views/push';
import { screensView } from './views/screens';
import { switchesView } from './views/switches';

const pages: [string, string, () => HTMLElement][] = [
  ['events', 'Events', eventsView],
  ['batches', 'Batches', batchesView],
  ['screens', 'Screens', screensView],
  ['flow', 'Flow', flowView],
  ['network', 'Network', networkView],
  ['links', 'Links', linksView],
  ['push', 'Push', pushView],
  ['crashes', 'Crashes', crashesView],
  ['installations', 'Installations', installationsView],
  ['projects', 'Projects', projectsView],
  ['faults', 'Faults', switchesView],
];

function themeButton(): HTMLElement {
  const kept = localStorage.getItem('theme');
  if (kept) document.documentElement.dataset['theme'] = kept;
  return iconButton(paths.moon, 'Light or dark', () => {
    const isDark =
      document.documentElement.dataset['theme'] === 'dark' ||
      (!document.documentElement.dataset['theme'] && matchMedia('(prefers-color-scheme: dark)').matches);
    const theme = isDark ? 'light' : 'dark';
    document.documentElement.dataset['theme'] = theme;
    localStorage.setItem('theme', theme);
  });
}

function resetButton(): HTMLElement {
  return iconButton(paths.trash, 'Forget everything', () => {
    if (confirm('Forget all events and requests that have arrived?')) void api.reset();
  });
}

function connectionState(): HTMLElement {
  const text = h('span', {}, 'connecting');
  const element = h('span', { class: 'live', role: 'status' }, h('span', { class: 'dot' }), text);
  onConnection((connected) => {
    element.classList.toggle('is-live', connected);
    text.textContent = connected ? 'live' : 'not connected';
  });
  return element;
}

// Faults and pauses that were forgotten cost hours: they are told on every page.
function banner(): HTMLElement {
  const element = h('a', { class: 'banner', hidden: true });
  let pausedProjects: string[] = [];
  const load = async () => {
    const switches = await api.switches().catch(() => null);
    if (!switches) return;
    const active = switches.faults.filter((fault) => fault.active).length;
    const parts = [
      switches.paused ? `Paused${switches.paused_reason ? `: ${switches.paused_reason}` : ''}` : '',
      pausedProjects.length > 0 ? `${pausedProjects.join(', ')} paused` : '',
      active > 0 ? `${count(active, 'fault')} switched on` : '',
    ].filter(Boolean);
    element.hidden = parts.length === 0;
    element.setAttribute('href', switches.paused || active > 0 ? '#/faults' : '#/projects');
    element.replaceChildren(icon(paths.warning), parts.join(' · '));
  };
  const loadProjects = async () => {
    const answer = await api.projects().catch(() => null);
    if (answer) pausedProjects = answer.projects.filter((each) => each.paused).map((each) => each.project_id);
    await load();
  };
  for (const event of ['faults', 'batch', 'exchange'] as const) on(event, () => void load());
  for (const event of ['open', 'project'] as const) on(event, () => void loadProjects());
  return element;
}

function start(): void {
  const outlet = h('main', {});
  const tabs = pages.map(([page, label]) => h('a', { href: `#/${page}` }, label));
  const made = new Map<string, HTMLElement>();
  const show = () => {
    const wanted = location.hash.slice(2).split('?')[0];
    const [page, , make] = pages.find(([name]) => name === wanted) ?? (pages[0] as (typeof pages)[number]);
    const view = made.get(page) ?? make();
    made.set(page, view);
    outlet.replaceChildren(view);
    for (const tab of tabs) {
      const isCurrent = tab.getAttribute('href') === `#/${page}`;
      tab.setAttribute('aria-current', isCurrent ? 'page' : 'false');
      if (isCurrent) tab.scrollIntoView({ block: 'nearest', inline: 'nearest' });
    }
  };
  document
    .getElementById('app')
    ?.append(
      h(
        'header',
        { class: 'top' },
        h(
          'a',
          { class: 'brand', href: '#/events' },
          h('img', { src: markUrl, alt: '', width: 26, height: 26 }),
          h('span', {}, 'Zarn', h('em', {}, ' collector')),
        ),
        h('nav', { 'aria-label': 'Views' }, ...tabs),
        connectionState(),
        resetButton(),
        themeButton(),
      ),
      banner(),
      outlet,
    );
  window.addEventListener('hashchange', show);
  show();
  connect();
}

start();
