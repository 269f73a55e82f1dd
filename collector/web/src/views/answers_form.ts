// The form for what a project answers about links, installs and push tokens.

import { api } from '../api';
import { type AnswerTexts, answerFields, answerOf, textsOf } from '../answers';
import { h } from '../dom';
import type { Answers, LinkAnswer, LinkRule } from '../report_types';
import { iconButton, paths } from './parts';

const validationWords = [
  'validated',
  'replayed',
  'invalid_sig',
  'wrong_bundle',
  'absent',
  'error',
  'unavailable',
  'disabled',
  'opted_out',
  'not_run',
];

// The label is null where an element around it says what is chosen.
function choice(label: string | null, options: [string, string][], value: string): HTMLSelectElement {
  return h(
    'select',
    { 'aria-label': label },
    ...options.map(([key, text]) => h('option', { value: key, selected: key === value }, text)),
  );
}

interface Part<T> {
  element: HTMLElement;
  /** Throws what is wrong. */
  read(): T;
}

// Whether a link is resolved, and to what. `before` and `after` go beside the choice.
function answerPart(
  answer: LinkAnswer | null,
  before: Node[] = [],
  after: Node[] = [],
): Part<LinkAnswer | null> {
  const texts = textsOf(answer);
  const inputs = answerFields.map(([key, label]): [keyof AnswerTexts, HTMLInputElement, string] => [
    key,
    h('input', { value: texts[key], autocomplete: 'off', spellcheck: 'false' }),
    label,
  ]);
  const isResolved = choice(
    'Answer',
    [
      ['no', 'not resolved'],
      ['yes', 'resolved'],
    ],
    answer === null ? 'no' : 'yes',
  );
  const fields = h(
    'div',
    { class: 'fields' },
    ...inputs.map(([, input, label]) => h('label', {}, label, input)),
  );
  const showFields = () => (fields.hidden = isResolved.value === 'no');
  isResolved.addEventListener('input', showFields);
  showFields();
  return {
    element: h('div', {}, h('div', { class: 'rule-key' }, ...before, isResolved, ...after), fields),
    read() {
      if (isResolved.value === 'no') return null;
      return answerOf(Object.fromEntries(inputs.map(([key, input]) => [key, input.value])) as AnswerTexts);
    },
  };
}

function rulePart(rule: LinkRule, remove: () => void): Part<LinkRule> {
  const kind = choice(
    'Link known by',
    [
      ['zarn_click_id', 'click id'],
      ['clipboard_token', 'clipboard token'],
    ],
    rule.clipboard_token === undefined ? 'zarn_click_id' : 'clipboard_token',
  );
  const key = h('input', {
    value: rule.zarn_click_id ?? rule.clipboard_token ?? '',
    'aria-label': 'Its value',
    placeholder: 'exactly as the client sends it',
    autocomplete: 'off',
    spellcheck: 'false',
  });
  const answer = answerPart(rule.answer, [kind, key], [iconButton(paths.close, 'Remove this link', remove)]);
  return {
    element: h('fieldset', { class: 'rule' }, answer.element),
    read() {
      if (key.value.trim() === '') throw new Error('A link has neither click id nor clipboard token');
      return { [kind.value]: key.value.trim(), answer: answer.read() };
    },
  };
}

// The fields of a whole set of answers. `change` is called when the set of fields has changed.
function answersFields(answers: Answers, change: () => void): Part<Partial<Answers>> {
  const rules: Part<LinkRule>[] = [];
  const list = h('div', { class: 'rules' });
  const addRule = (rule: LinkRule) => {
    const part = rulePart(rule, () => {
      rules.splice(rules.indexOf(part), 1);
      part.element.remove();
      change();
    });
    rules.push(part);
    list.append(part.element);
  };
  answers.links.forEach(addRule);
  const add = () => {
    addRule({ zarn_click_id: '', answer: {} });
    change();
    rules.at(-1)?.element.querySelector('input')?.focus();
  };
  const others = answerPart(answers.defaultLink);
  const words = validationWords.includes(answers.validation_status)
    ? validationWords
    : [answers.validation_status, ...validationWords];
  const validation = choice(
    null,
    words.map((word) => [word, word]),
    answers.validation_status,
  );
  const status = h('input', { inputmode: 'numeric', value: answers.register_status, autocomplete: 'off' });
  return {
    element: h(
      'div',
      {},
      list,
      h('button', { type: 'button', class: 'quiet', onclick: add }, '+ Add a link'),
      h('fieldset', { class: 'rule' }, h('legend', {}, 'All other links'), others.element),
      h(
        'div',
        { class: 'fields' },
        h('label', {}, 'Installs are', validation),
        h('label', {}, 'Push tokens get', status),
      ),
    ),
    read() {
      if (!/^\d+$/.test(status.value.trim())) throw new Error('What push tokens get must be a whole number');
      return {
        links: rules.map((rule) => rule.read()),
        defaultLink: others.read(),
        validation_status: validation.value,
        register_status: Number(status.value),
      };
    },
  };
}

export interface AnswersForm {
  element: HTMLElement;
  /** Takes over what the server has, unless something else is being edited. Null: no project is chosen. */
  show(project: string, answers: Answers | null): void;
}

export function answersForm(): AnswersForm {
  let project = '';
  let kept: Answers | null = null;
  let baseline = '';
  let fields: Part<Partial<Answers>> | null = null;
  const title = h('small', { class: 'none' });
  const body = h('div', { class: 'answers-body' });
  const problem = h('p', { class: 'form-error', role: 'alert', hidden: true });
  const state = h('span', { class: 'says grow' });
  const apply = h('button', { type: 'submit', class: 'button' }, 'Apply');
  const discard = h('button', { type: 'button', class: 'quiet' }, 'Discard');
  const bar = h('div', { class: 'apply' }, state, discard, apply);

  const complain = (text: string) => {
    problem.textContent = text;
    problem.hidden = text === '';
  };
  const draft = (): string => {
    try {
      return JSON.stringify(fields?.read());
    } catch {
      return 'cannot be read';
    }
  };
  const mark = () => {
    const isDirty = draft() !== baseline;
    apply.toggleAttribute('disabled', !isDirty);
    discard.hidden = !isDirty;
    state.textContent = isDirty ? 'Not applied yet' : 'As the server has it';
  };
  const write = (answers: Answers) => {
    kept = answers;
    fields = answersFields(answers, mark);
    baseline = draft();
    body.replaceChildren(fields.element);
    complain('');
    mark();
  };
  const send = async () => {
    const mine = project;
    try {
      if (!fields) return;
      const answers = await api.setAnswers(mine, fields.read());
      if (mine === project) write(answers);
    } catch (error) {
      complain(error instanceof Error ? error.message : String(error));
    }
  };
  discard.addEventListener('click', () => kept && write(kept));
  const element = h(
    'form',
    {
      class: 'card panel',
      'aria-label': 'Answers',
      oninput: mark,
      onsubmit: (submit: Event) => {
        submit.preventDefault();
        void send();
      },
    },
    h('header', { class: 'panel-head' }, h('h2', {}, 'Answers'), title),
    body,
    problem,
    bar,
  );
  return {
    element,
    show(name, answers) {
      if (name !== project) fields = null;
      project = name;
      title.textContent = name === '' ? '' : `to clients of ${name}`;
      bar.hidden = answers === null;
      if (answers === null) {
        complain('');
        body.replaceChildren(
          h('p', { class: 'says' }, 'Pick a project above to set what its links, installs and tokens get.'),
        );
        return;
      }
      const isNew = JSON.stringify(answers) !== JSON.stringify(kept);
      if (!fields || (isNew && draft() === baseline)) return write(answers);
      kept = answers;
      if (isNew) state.textContent = 'Not applied yet; the server has changed meanwhile';
    },
  };
}
