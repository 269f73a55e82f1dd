// A project's policy as a form with every key, beside the same as JSON. Both edit one draft.

import { h } from '../dom';
import { count } from '../format';
import { fits, policyProblems, textFromValue, valueFromText, valueOf, withValue } from '../policy';
import type { Policy, PolicyKey } from '../types';
import { problemList } from './parts';

interface Field {
  element: HTMLElement;
  show(policy: Policy): void;
}

const absentText = (key: PolicyKey): string => {
  if (key.default === null) return 'absent';
  const text = Array.isArray(key.default) && key.default.length === 0 ? 'none' : String(key.default);
  return `absent: ${text}`;
};

function triState(key: PolicyKey, set: (value: unknown) => void): Field {
  const choices: [string, unknown][] = [
    [absentText(key), undefined],
    ['true', true],
    ['false', false],
  ];
  const group = h('div', {
    class: 'segments tri',
    role: 'radiogroup',
    'aria-label': `${key.section}.${key.key}`,
  });
  for (const [label, value] of choices)
    group.append(h('button', { type: 'button', role: 'radio', onclick: () => set(value) }, label));
  return {
    element: group,
    show(policy) {
      const value = valueOf(policy, key);
      choices.forEach(([, each], i) =>
        group.children[i]?.setAttribute('aria-checked', String(each === value)),
      );
    },
  };
}

function textField(key: PolicyKey, set: (value: unknown) => void, refuse: () => void): Field {
  const name = `${key.section}.${key.key}`;
  const isList = key.type === 'strings';
  const input = isList
    ? h('textarea', { name, rows: 2, 'aria-label': name, placeholder: absentText(key), spellcheck: 'false' })
    : h('input', { name, 'aria-label': name, placeholder: absentText(key), autocomplete: 'off' });
  const error = h('small', { class: 'form-error', role: 'alert', hidden: true });
  const complain = (problem: string) => {
    error.textContent = problem;
    error.hidden = problem === '';
    input.setAttribute('aria-invalid', String(problem !== ''));
  };
  input.addEventListener('input', () => {
    try {
      const value = valueFromText(input.value, key.type);
      complain('');
      set(value);
    } catch (problem) {
      complain(problem instanceof Error ? problem.message : String(problem));
      refuse();
    }
  });
  return {
    element: h('div', { class: 'policy-text' }, input, error),
    show(policy) {
      const value = valueOf(policy, key);
      if (document.activeElement !== input) {
        input.value = value !== undefined && !fits(value, key.type) ? '' : textFromValue(value);
        complain('');
      }
      input.placeholder = Array.isArray(value) && value.length === 0 ? 'an empty list' : absentText(key);
    },
  };
}

function sectionForm(
  section: string,
  keys: PolicyKey[],
  set: (key: PolicyKey, value: unknown) => void,
  refuse: () => void,
): Field {
  const fields = keys.map((key) => {
    const change = (value: unknown) => set(key, value);
    return key.type === 'boolean' ? triState(key, change) : textField(key, change, refuse);
  });
  const state = h('span', { class: 'badge tone-ink' });
  const rows = keys.map((key, i) =>
    h(
      'div',
      { class: 'policy-row' },
      h('div', { class: 'policy-key' }, h('span', { class: 'mono' }, key.key), h('small', {}, key.note)),
      (fields[i] as Field).element,
    ),
  );
  return {
    element: h(
      'details',
      { class: 'policy-section', open: section !== 'replay' },
      h('summary', {}, h('strong', {}, section), state),
      ...rows,
    ),
    show(policy) {
      const used = keys.filter((key) => valueOf(policy, key) !== undefined).length;
      state.textContent = used === 0 ? 'all by default' : `${used} set`;
      state.className = `badge tone-${used === 0 ? 'ink' : 'good'}`;
      fields.forEach((field, i) => {
        field.show(policy);
        rows[i]?.classList.toggle('is-set', valueOf(policy, keys[i] as PolicyKey) !== undefined);
      });
    },
  };
}

export interface PolicyEditor {
  form: HTMLElement;
  json: HTMLElement;
  /** Takes over what the server has, unless something else is being edited. */
  show(policy: Policy): void;
  /** Forgets the draft. */
  discard(policy: Policy): void;
}

/** `apply` sends the draft; it throws what is wrong. */
export function policyEditor(keys: PolicyKey[], apply: (policy: Policy) => Promise<void>): PolicyEditor {
  let kept: Policy = {};
  let draft: Policy = {};
  let isBroken = false;
  const text = h('textarea', { class: 'raw-json mono', 'aria-label': 'Policy as JSON', spellcheck: 'false' });
  const problems = h('div', { class: 'raw-problems', role: 'alert' });
  const state = h('span', { class: 'says grow' });
  const applyButton = h('button', { type: 'button', class: 'button' }, 'Apply');
  const discardButton = h('button', { type: 'button', class: 'quiet' }, 'Discard');

  const isDirty = () => isBroken || JSON.stringify(draft) !== JSON.stringify(kept);
  const complain = (found: string[]) =>
    problems.replaceChildren(...(found.length ? [problemList(found)] : []));
  // Called only once all of the editor has been built.
  const mark = () => {
    const isRefused = form.querySelector('[aria-invalid="true"]') !== null;
    applyButton.toggleAttribute('disabled', isRefused || isBroken || !isDirty());
    discardButton.hidden = !isDirty();
    state.textContent = isDirty() ? 'Not applied yet' : 'As the server has it';
  };
  // Shows the draft in both.
  const write = () => {
    text.value = JSON.stringify(draft, null, 2);
    text.rows = Math.min(26, Math.max(8, text.value.split('\n').length + 1));
    complain([]);
    sections.forEach((section) => section.show(draft));
    mark();
  };
  const set = (key: PolicyKey, value: unknown) => {
    draft = withValue(draft, key, value);
    isBroken = false;
    write();
  };
  const names = [...new Set(keys.map((key) => key.section))];
  const sections = names.map((name) =>
    sectionForm(
      name,
      keys.filter((key) => key.section === name),
      set,
      mark,
    ),
  );
  const form = h(
    'section',
    { class: 'card panel policy-form', 'aria-label': 'Policy' },
    h(
      'header',
      { class: 'panel-head' },
      h('h2', {}, 'Policy'),
      h('small', { class: 'none' }, count(keys.length, 'key')),
    ),
    ...sections.map((section) => section.element),
  );
  text.addEventListener('input', () => {
    let found: string[];
    try {
      const parsed = JSON.parse(text.value) as unknown;
      found = policyProblems(parsed, keys);
      if (found.length === 0) draft = parsed as Policy;
    } catch (error) {
      found = [error instanceof Error ? error.message : String(error)];
    }
    isBroken = found.length > 0;
    complain(found);
    if (!isBroken) sections.forEach((section) => section.show(draft));
    mark();
  });
  const discard = (policy: Policy) => {
    kept = draft = policy;
    isBroken = false;
    write();
  };
  discardButton.addEventListener('click', () => discard(kept));
  applyButton.addEventListener('click', () => {
    const sent = draft;
    apply(sent).then(
      () => discard(sent),
      (error: Error) => complain([error.message]),
    );
  });
  write();
  return {
    form,
    json: h(
      'section',
      { class: 'card panel', 'aria-label': 'Policy as JSON' },
      h('header', { class: 'panel-head' }, h('h2', {}, 'As JSON')),
      text,
      problems,
      h('div', { class: 'apply' }, state, discardButton, applyButton),
    ),
    show(policy) {
      const isNew = JSON.stringify(policy) !== JSON.stringify(kept);
      if (!isDirty()) return isNew ? discard(policy) : undefined;
      kept = policy;
      mark();
      if (isNew) state.textContent = 'Not applied yet; the server has changed meanwhile';
    },
    discard,
  };
}
