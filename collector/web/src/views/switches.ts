// What the collector is told to do wrong, and the pause.

import { api } from '../api';
import { h } from '../dom';
import { count } from '../format';
import { on } from '../live';
import type { Fault, Switches } from '../types';
import { badge, emptyState, iconButton, paths } from './parts';

interface Kind {
  kind: string;
  label: string;
  says: string;
  fields: string[];
}

const kinds: Kind[] = [
  {
    kind: 'status',
    label: 'Answer a status',
    says: 'An HTTP error instead of the answer.',
    fields: ['status', 'delay_ms'],
  },
  { kind: 'delay', label: 'Answer late', says: 'The usual answer after a while.', fields: ['delay_ms'] },
  { kind: 'hang', label: 'Hang', says: 'No answer; the connection closes in the end.', fields: ['hang_ms'] },
  { kind: 'drop', label: 'Drop', says: 'The connection closes at once.', fields: [] },
  { kind: 'cut', label: 'Cut the body', says: 'Half of the answer, then the end.', fields: ['delay_ms'] },
  { kind: 'empty', label: 'Empty body', says: 'A 200 that says nothing.', fields: ['delay_ms'] },
  { kind: 'garbled', label: 'Garble', says: 'Half of the answer, as if that were all.', fields: [] },
  { kind: 'mistyped', label: 'Wrong types', says: 'The usual keys, with values of wrong types.', fields: [] },
  {
    kind: 'body',
    label: 'Any body',
    says: 'Exactly this text.',
    fields: ['body', 'status'],
  },
  {
    kind: 'stale',
    label: 'Stale settings',
    says: 'Init and config get earlier settings of the project, by default those before the newest.',
    fields: ['revision'],
  },
  {
    kind: 'no_policy',
    label: 'No policy',
    says: 'Init and config get an answer without the policy.',
    fields: [],
  },
  {
    kind: 'outcomes',
    label: 'Reject events',
    says: 'Single events fail, the others pass.',
    fields: ['outcome', 'message'],
  },
];

const labels: Record<string, string> = {
  status: 'Status',
  delay_ms: 'After (ms)',
  hang_ms: 'For (ms)',
  message: 'Message',
  count: 'How often',
  share: 'Share (0–1)',
  every: 'Every nth',
  project: 'Project',
  revision: 'Revision',
  body: 'Body',
};
const defaults: Record<string, string> = {
  status: '503',
  delay_ms: '2000',
  hang_ms: '60000',
  message: 'rejected',
  count: '',
  share: '',
  every: '',
  project: '',
  revision: '',
  body: '{}',
};
const placeholders: Record<string, string> = { count: 'always', revision: 'the one before' };
// Where a kind of fault can strike; all of these where it is not listed.
const endpoints: Record<string, string[]> = {
  outcomes: ['batch'],
  stale: ['config', 'init', 'recovery', 'all'],
  no_policy: ['recovery', 'init', 'config', 'all'],
};
const everyEndpoint = [
  'batch',
  'init',
  'recovery',
  'config',
  'resolve',
  'validate',
  'register',
  'screenshot_check',
  'screenshot',
  'all',
];

export function describe(fault: Fault): string {
  const share =
    fault.share !== undefined
      ? ` for ${Math.round(fault.share * 100)} %`
      : fault.every
        ? ` every ${fault.every}th`
        : '';
  const late = fault.delay_ms && fault.kind !== 'delay' ? `, after ${fault.delay_ms} ms` : '';
  const what: Record<string, string> = {
    status: `answers ${fault.status}`,
    delay: `answers ${fault.delay_ms} ms late`,
    hang: `hangs for ${fault.hang_ms} ms`,
    drop: 'drops the connection',
    cut: 'cuts the body',
    empty: 'answers an empty body',
    garbled: 'garbles the answer',
    mistyped: 'answers values of wrong types',
    body: `answers ${fault.status} with ${(fault.body ?? '').slice(0, 40)}`,
    stale: `answers ${fault.revision ? `the settings of revision ${fault.revision}` : 'the settings before the newest'}`,
    no_policy: 'answers without the policy',
    outcomes: `${fault.outcome === 'omit' ? 'leaves out' : `answers ${fault.outcome} for`} events`,
  };
  const where = fault.project ? `, to ${fault.project}` : '';
  return `${what[fault.kind] ?? fault.kind}${share}${late}${where}`;
}

export function faultRow(fault: Fault): HTMLElement {
  const left = fault.count === undefined ? 'until switched off' : `${fault.struck} of ${fault.count}`;
  return h(
    'li',
    { class: fault.active ? 'fault' : 'fault fault-spent', 'data-fault': fault.id },
    badge(fault.endpoint, 'ink'),
    h(
      'span',
      { class: 'grow' },
      describe(fault),
      h(
        'small',
        {},
        [left, `struck ${count(fault.struck, 'time')}`, fault.keep ? 'keeps events' : '']
          .filter(Boolean)
          .join(' · '),
      ),
    ),
    fault.active ? null : badge('spent', 'muted'),
    iconButton(paths.close, 'Switch off', () => void api.removeFault(fault.id)),
  );
}

function field(name: string): HTMLElement {
  if (name === 'outcome') {
    return h(
      'label',
      {},
      'Outcome',
      h(
        'select',
        { name },
        ...['transient', 'permanent', 'omit', 'accept'].map((word) => h('option', { value: word }, word)),
      ),
    );
  }
  return h(
    'label',
    {},
    labels[name] ?? name,
    h('input', {
      name,
      value: defaults[name],
      placeholder: placeholders[name] ?? 'all',
      autocomplete: 'off',
    }),
  );
}

function faultForm(): HTMLElement {
  let chosen = kinds[0] as Kind;
  const error = h('p', { class: 'form-error', role: 'alert', hidden: true });
  const fields = h('div', { class: 'fields' });
  const says = h('p', { class: 'says' });
  const choices = h('div', { class: 'kinds', role: 'radiogroup', 'aria-label': 'Kind of fault' });
  const form = h('form', { class: 'fault-form', novalidate: true });
  const choose = (kind: Kind) => {
    chosen = kind;
    for (const each of choices.children)
      each.setAttribute('aria-checked', String(each.getAttribute('data-kind') === kind.kind));
    says.textContent = kind.says;
    const endpoint = endpoints[kind.kind] ?? everyEndpoint;
    fields.replaceChildren(
      h(
        'label',
        {},
        'Endpoint',
        h('select', { name: 'endpoint' }, ...endpoint.map((word) => h('option', { value: word }, word))),
      ),
      ...kind.fields.filter((name) => kind.kind === 'delay' || name !== 'delay_ms').map(field),
      field('project'),
      field('count'),
      field('share'),
      h(
        'label',
        { class: 'check', title: 'As a server that stored the events but could not say so' },
        h('input', { type: 'checkbox', name: 'keep' }),
        'Keep the events',
      ),
    );
  };
  for (const kind of kinds) {
    choices.append(
      h(
        'button',
        { type: 'button', role: 'radio', 'data-kind': kind.kind, onclick: () => choose(kind) },
        kind.label,
      ),
    );
  }
  form.addEventListener('submit', (submit) => {
    submit.preventDefault();
    const fault: Record<string, unknown> = { kind: chosen.kind };
    for (const [name, value] of new FormData(form))
      if (value !== '') fault[name] = name === 'keep' ? true : value;
    api.addFault(fault).then(
      () => (error.hidden = true),
      (problem: Error) => {
        error.textContent = problem.message;
        error.hidden = false;
      },
    );
  });
  form.append(choices, says, fields, error, h('button', { type: 'submit', class: 'button' }, 'Switch on'));
  choose(chosen);
  return form;
}

function pauseCard(): { element: HTMLElement; show(switches: Switches): void } {
  const reason = h('input', {
    name: 'reason',
    placeholder: 'Reason, such as maintenance',
    'aria-label': 'Reason',
    autocomplete: 'off',
  });
  const state = h('p', { class: 'says' });
  const button = h('button', { type: 'submit', class: 'button' });
  let paused = false;
  const form = h('form', { class: 'pause-form' }, reason, button);
  form.addEventListener('submit', (submit) => {
    submit.preventDefault();
    void (paused ? api.resume() : api.pause(reason.value.trim()));
  });
  return {
    element: h('section', { class: 'card panel', 'aria-label': 'Pause' }, h('h2', {}, 'Pause'), state, form),
    show(switches) {
      paused = switches.paused;
      state.textContent = paused
        ? `Paused${switches.paused_reason ? `: ${switches.paused_reason}` : '.'}`
        : 'Tell every client of every project that it is paused. Nothing is kept meanwhile.';
      reason.hidden = paused;
      button.textContent = paused ? 'Resume' : 'Pause';
    },
  };
}

export function switchesView(): HTMLElement {
  const list = h('ul', { class: 'faults' });
  const clear = h(
    'button',
    { type: 'button', class: 'quiet', onclick: () => void api.clearFaults() },
    'Switch all off',
  );
  const pause = pauseCard();
  const show = (switches: Switches) => {
    pause.show(switches);
    clear.hidden = switches.faults.length === 0;
    list.replaceChildren(...switches.faults.map(faultRow));
    if (switches.faults.length === 0)
      list.append(
        emptyState('Everything works', 'No fault is switched on: requests are answered as they should be.'),
      );
  };
  const load = () => void api.switches().then(show, () => undefined);
  for (const event of ['faults', 'open', 'batch', 'exchange'] as const) on(event, load);
  load();
  return h(
    'div',
    { class: 'switches' },
    h(
      'section',
      { class: 'card panel', 'aria-label': 'New fault' },
      h('h2', {}, 'Switch a fault on'),
      faultForm(),
    ),
    h(
      'div',
      { class: 'stack' },
      h(
        'section',
        { class: 'card panel', 'aria-label': 'Faults' },
        h('header', { class: 'panel-head' }, h('h2', {}, 'Switched on'), clear),
        list,
      ),
      pause.element,
    ),
  );
}
