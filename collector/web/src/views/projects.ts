// What each project's clients are to do, and how far that has come.

import { api } from '../api';
import { h, throttled } from '../dom';
import { clock, dateAndClock } from '../format';
import { on } from '../live';
import { hashParameter, setHashParameter } from '../place';
import type { Fault, PolicyKey, Project, Reach, Settings } from '../types';
import { exchangeList } from './exchanges';
import { badge, emptyState, failure } from './parts';
import { policyEditor } from './policy_editor';
import { faultRow } from './switches';

// The kinds of fault that one reaches for when trying a policy, for this project alone.
const quickFaults: [string, Record<string, unknown>][] = [
  ['Answer 3 s late', { endpoint: 'config', kind: 'delay', delay_ms: 3000 }],
  ['Hold answers', { endpoint: 'all', kind: 'delay', delay_ms: 600000 }],
  ['Stale config', { endpoint: 'config', kind: 'stale' }],
  ['Stale init', { endpoint: 'init', kind: 'stale' }],
  ['Recovery without policy', { endpoint: 'recovery', kind: 'no_policy' }],
  ['Config 503', { endpoint: 'config', kind: 'status', status: 503 }],
  ['Init 503', { endpoint: 'init', kind: 'status', status: 503 }],
  ['Garbled config', { endpoint: 'config', kind: 'garbled' }],
  ['Wrong types', { endpoint: 'config', kind: 'mistyped' }],
];

const nameOf = (reach: Reach): string => `${reach.app} · ${reach.environment}`;

// One line for each app: whether it knows what was changed in that revision, and since when.
function reachLine(reach: Reach, at: string | null): HTMLElement {
  const last =
    reach.last_revision === null ? 'told nothing so far' : `told revision ${reach.last_revision} so far`;
  return h(
    'li',
    {},
    badge(at ? 'reached' : 'waits until', at ? 'good' : 'warn'),
    h('span', {}, at ? `${nameOf(reach)} at ${clock(at, true)}` : `${nameOf(reach)} asks, ${last}`),
  );
}

function changeLines(project: Project, changes: Settings[]): HTMLElement[] {
  const part = (label: string, revision: number, at: (reach: Reach) => string | null) => {
    if (revision === 0) return null;
    const change = changes.find((each) => each.revision === revision);
    const when = change?.changed_at ? ` at ${clock(change.changed_at, true)}` : '';
    return h(
      'div',
      { class: 'change' },
      h('p', {}, h('strong', {}, label), ` changed${when}, revision ${revision}`),
      project.reached.length > 0
        ? h('ul', {}, ...project.reached.map((reach) => reachLine(reach, at(reach))))
        : h('p', { class: 'says' }, 'No client has asked yet.'),
    );
  };
  const parts = [
    part('Policy', project.policy_revision, (reach) => reach.policy_reached_at),
    part('Pause', project.pause_revision, (reach) => reach.pause_reached_at),
  ].filter((each) => each !== null);
  return parts.length > 0 ? parts : [h('p', { class: 'says' }, 'As by default: never changed.')];
}

function pauseForm(project: string): { element: HTMLElement; show(settings: Settings): void } {
  const reason = h('input', {
    name: 'reason',
    placeholder: 'Reason',
    'aria-label': 'Reason',
    autocomplete: 'off',
  });
  const button = h('button', { type: 'submit', class: 'button' });
  let paused = false;
  const form = h('form', { class: 'pause-form' }, reason, button);
  form.addEventListener('submit', (submit) => {
    submit.preventDefault();
    void (paused ? api.resumeProject(project) : api.pauseProject(project, reason.value.trim()));
  });
  return {
    element: form,
    show(settings) {
      paused = settings.paused;
      reason.hidden = paused;
      button.textContent = paused ? 'Resume' : 'Pause';
    },
  };
}

function changeRow(change: Settings): HTMLElement {
  return h(
    'li',
    {},
    h('time', { class: 'mono' }, change.changed_at ? dateAndClock(change.changed_at) : ''),
    h('strong', {}, `revision ${change.revision}`),
    h('span', {}, change.what ?? ''),
    change.paused ? badge(change.paused_reason ? `paused: ${change.paused_reason}` : 'paused', 'warn') : null,
  );
}

interface Page {
  element: HTMLElement;
  refresh(project: Project): Promise<void>;
}

function projectPage(name: string, keys: PolicyKey[]): Page {
  const title = h('div', { class: 'grow' });
  const reached = h('div', { class: 'changes', 'aria-label': 'Reach', role: 'status' });
  const history = h('ul', { class: 'history' });
  const faults = h('ul', { class: 'faults' });
  const exchanges = exchangeList();
  const pause = pauseForm(name);
  const editor = policyEditor(keys, async (policy) => {
    await api.editProject(name, { data_collection: policy });
  });
  const quick = quickFaults.map(([label, fault]) =>
    h('button', { type: 'button', onclick: () => void api.addFault({ ...fault, project: name }) }, label),
  );
  const concerns = (fault: Fault) => !fault.project || fault.project === name;
  const element = h(
    'div',
    { class: 'project' },
    h(
      'section',
      { class: 'card panel project-head', 'aria-label': 'Project' },
      h('header', { class: 'panel-head' }, title, pause.element),
      reached,
    ),
    editor.form,
    h(
      'div',
      { class: 'stack' },
      editor.json,
      h(
        'section',
        { class: 'card panel', 'aria-label': 'Answers' },
        h('h2', {}, 'Spoil its answers'),
        h('div', { class: 'kinds' }, ...quick),
        faults,
      ),
      h('section', { class: 'card panel', 'aria-label': 'Changes' }, h('h2', {}, 'Changes'), history),
      h(
        'section',
        { class: 'card panel', 'aria-label': 'Exchanges' },
        h('h2', {}, 'What clients asked and were told'),
        exchanges.element,
      ),
    ),
  );
  return {
    element,
    async refresh(project) {
      const [{ changes }, asked, switches] = await Promise.all([
        api.changes(name),
        api.exchanges({ project: name, limit: 100 }),
        api.switches(),
      ]);
      title.replaceChildren(
        h('h2', {}, name),
        badge(
          project.paused
            ? `paused${project.paused_reason ? `: ${project.paused_reason}` : ''}`
            : 'collecting',
          project.paused ? 'warn' : 'good',
        ),
        ' ',
        badge(`revision ${project.revision}`, 'ink'),
      );
      pause.show(project);
      editor.show(project.data_collection);
      reached.replaceChildren(...changeLines(project, changes));
      history.replaceChildren(...changes.reverse().slice(0, 30).map(changeRow));
      if (changes.length === 0) history.append(h('li', { class: 'none' }, 'None yet.'));
      exchanges.show(asked.exchanges);
      faults.replaceChildren(...switches.faults.filter(concerns).map(faultRow));
    },
  };
}

function listRow(project: Project, open: () => void): HTMLElement {
  const waiting = project.reached.filter((reach) => !reach.reached).length;
  return h(
    'button',
    { type: 'button', class: 'pick', 'data-project': project.project_id, onclick: open },
    h('strong', {}, project.project_id),
    h('small', {}, project.revision > 0 ? `revision ${project.revision}` : 'as by default'),
    project.paused ? badge('paused', 'warn') : null,
    waiting > 0 ? badge(`${waiting} waiting`, 'warn') : null,
  );
}

export function projectsView(): HTMLElement {
  const picks = h('div', { class: 'picks', role: 'group', 'aria-label': 'Projects' });
  const newName = h('input', {
    'aria-label': 'New project',
    placeholder: 'Another project id',
    autocomplete: 'off',
  });
  const add = h(
    'form',
    { class: 'add-project' },
    newName,
    h('button', { type: 'submit', class: 'quiet' }, 'Open'),
  );
  const outlet = h('div', { class: 'project-outlet' });
  const pages = new Map<string, Page>();
  let chosen = hashParameter('project') ?? '';
  let keys: PolicyKey[] = [];

  const byDefault = (name: string): Project => ({
    project_id: name,
    revision: 0,
    policy_revision: 0,
    pause_revision: 0,
    changed_at: null,
    data_collection: {},
    paused: false,
    reached: [],
  });
  const load = async () => {
    try {
      if (keys.length === 0) keys = await api.policyKeys();
      const { projects } = await api.projects();
      if (chosen === '') chosen = projects[0]?.project_id ?? '';
      if (chosen !== '' && !projects.some((each) => each.project_id === chosen))
        projects.push(byDefault(chosen));
      picks.replaceChildren(...projects.map((each) => listRow(each, () => choose(each.project_id))));
      for (const each of picks.children)
        each.setAttribute('aria-pressed', String(each.getAttribute('data-project') === chosen));
      const project = projects.find((each) => each.project_id === chosen);
      if (!project) {
        outlet.replaceChildren(
          emptyState(
            'No project yet',
            'A project shows up here when a client names it. Or open one by its id.',
          ),
        );
        return;
      }
      const page = pages.get(chosen) ?? projectPage(chosen, keys);
      pages.set(chosen, page);
      if (page.element.parentElement !== outlet) outlet.replaceChildren(page.element);
      await page.refresh(project);
    } catch (error) {
      outlet.replaceChildren(failure(error));
    }
  };
  const choose = (name: string) => {
    chosen = name;
    setHashParameter('project', name);
    void load();
  };
  add.addEventListener('submit', (submit) => {
    submit.preventDefault();
    if (newName.value.trim() === '') return;
    choose(newName.value.trim());
    newName.value = '';
  });
  const refresh = throttled(300, load);
  for (const event of ['project', 'exchange', 'faults', 'batch', 'open', 'reset', 'lagged'] as const)
    on(event, refresh);
  window.addEventListener('hashchange', () => {
    const wanted = hashParameter('project');
    if (wanted && wanted !== chosen) choose(wanted);
  });
  refresh();
  return h('div', { class: 'projects' }, h('div', { class: 'project-bar' }, picks, add), outlet);
}
