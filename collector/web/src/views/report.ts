// The frame of a page that shows one report: the choice of project and time above, and below what the
// report tells, asked for again when something arrives while the page is looked at.

import { api } from '../api';
import { h, throttled } from '../dom';
import { on } from '../live';
import { hashParameter, setHashParameter } from '../place';
import type { ReportScope } from '../report_types';
import { failure } from './parts';

export interface ReportPage<T> {
  element: HTMLElement;
  load(scope: ReportScope): Promise<T>;
  show(report: T, scope: ReportScope): void;
}

const spans: [number, string][] = [
  [600, '10m'],
  [3600, '1h'],
  [86400, '1d'],
  [0, 'All'],
];

// One choice for all these pages, so that going from one to the next stays with it.
let project = '';
let span = 0;

const scopeNow = (): ReportScope => ({
  project,
  from: span === 0 ? undefined : Math.floor(Date.now() / 1000) - span,
});

function projectButton(name: string, choose: () => void): HTMLElement {
  return h(
    'button',
    {
      type: 'button',
      class: 'pick',
      'data-key': `project ${name}`,
      'aria-pressed': String(name === project),
      onclick: choose,
    },
    name === '' ? 'All projects' : h('strong', {}, name),
  );
}

function spanChoice(choose: () => void): { element: HTMLElement; show(): void } {
  const buttons = spans.map(([seconds, label]) => {
    const button = h('button', { type: 'button' }, label);
    button.addEventListener('click', () => {
      span = seconds;
      choose();
    });
    return button;
  });
  return {
    element: h('div', { class: 'segments', role: 'group', 'aria-label': 'Arrived within' }, ...buttons),
    show: () =>
      buttons.forEach((button, i) => button.setAttribute('aria-pressed', String(spans[i]?.[0] === span))),
  };
}

/** Puts new children in place; the focus stays with what has the same `data-key`. */
export function replaceKeeping(parent: Element, children: Node[]): void {
  const focused = document.activeElement?.closest('[data-key]');
  const key = focused && parent.contains(focused) ? focused.getAttribute('data-key') : null;
  parent.replaceChildren(...children);
  if (key === null) return;
  for (const each of parent.querySelectorAll<HTMLElement>('[data-key]'))
    if (each.getAttribute('data-key') === key) (each.querySelector('summary') ?? each).focus();
}

export function reportView<T>(page: ReportPage<T>): HTMLElement {
  const picks = h('div', { class: 'picks', role: 'group', 'aria-label': 'Projects' });
  const outlet = h('div', { class: 'project-outlet' });
  let shown = '';
  let isLoading = false;
  let isWanted = false;

  const show = (report: T, names: string[], scope: ReportScope) => {
    const told = JSON.stringify([scope.project, names, report]);
    if (told === shown) return;
    shown = told;
    replaceKeeping(
      picks,
      names.map((name) => projectButton(name, () => choose(name))),
    );
    page.show(report, scope);
    if (page.element.parentElement !== outlet) outlet.replaceChildren(page.element);
  };
  // One at a time: a report over many events takes longer than events take to arrive.
  const load = async () => {
    if (!view.isConnected) return;
    isWanted = isLoading;
    if (isLoading) return;
    isLoading = true;
    const scope = scopeNow();
    const asked = [project, span];
    const isStale = () => asked[0] !== project || asked[1] !== span;
    try {
      const [report, { projects }] = await Promise.all([page.load(scope), api.projects()]);
      const names = new Set(['', ...projects.map((each) => each.project_id), scope.project]);
      if (!isStale()) show(report, [...names], scope);
    } catch (error) {
      shown = '';
      if (!isStale()) outlet.replaceChildren(failure(error));
    }
    isLoading = false;
    if (isStale()) void load();
    else if (isWanted) refresh();
  };
  const choose = (name: string) => {
    project = name;
    setHashParameter('project', name);
    void load();
  };
  const within = spanChoice(() => {
    within.show();
    void load();
  });
  const view = h(
    'div',
    { class: 'projects' },
    h('div', { class: 'project-bar' }, picks, within.element),
    outlet,
  );
  // Also when the reader comes back to the page, for what has arrived meanwhile.
  const arrive = () => {
    if (!view.isConnected) return;
    const wanted = hashParameter('project');
    if (wanted !== null) project = wanted;
    else setHashParameter('project', project);
    within.show();
    void load();
  };
  const refresh = throttled(1000, load);
  for (const event of ['batch', 'exchange', 'project', 'open', 'reset', 'lagged'] as const)
    on(event, refresh);
  // The window slides even when nothing arrives.
  setInterval(() => {
    if (span !== 0 && !document.hidden) refresh();
  }, 5000);
  window.addEventListener('hashchange', arrive);
  queueMicrotask(arrive);
  return view;
}
