// Crashes and hangs as the system told them, each with its stack.

import { api } from '../api';
import { h } from '../dom';
import { clock, count, dateAndClock, lasting, shortId } from '../format';
import type { Crash } from '../report_types';
import { threadsOf, type Frame, type Thread } from '../stack';
import { badge, copyButton, emptyState, eventLink, fact, sentNumber, sentText } from './parts';
import { replaceKeeping, reportView } from './report';

const isHang = (crash: Crash): boolean => crash.kind === 'hang';

function titleOf(crash: Crash): string {
  if (!isHang(crash)) return sentText(crash.signal_name) || 'crash';
  const frozen = sentNumber(crash.frozen_ms);
  return frozen === null ? 'hang' : `hang of ${lasting(frozen)}`;
}

const kindBadge = (crash: Crash): HTMLElement => badge(crash.kind, isHang(crash) ? 'warn' : 'bad');

function frameRow(frame: Frame, index: number): HTMLElement {
  const place = frame.offset === '' ? '' : ` + ${frame.offset}`;
  return h(
    'li',
    { class: 'frame', style: frame.depth > 0 ? `--depth:${Math.min(frame.depth, 12)}` : undefined },
    h('span', { class: 'frame-index' }, index),
    h('span', { class: 'frame-binary', title: frame.binary }, frame.binary || '?'),
    h(
      'span',
      { class: 'frame-symbol' },
      frame.symbol || h('span', { class: 'none' }, 'no symbol'),
      h('span', { class: 'none' }, place),
    ),
  );
}

function threadPart(thread: Thread, index: number, isFirst: boolean, kind: string): HTMLElement {
  return h(
    'details',
    { class: 'thread', open: isFirst || thread.isAttributed },
    h(
      'summary',
      {},
      `Stack ${index + 1}`,
      h('small', {}, count(thread.frames.length + thread.left, 'frame')),
      thread.isAttributed ? badge(kind === 'hang' ? 'hung' : 'crashed', 'bad') : null,
    ),
    h('ol', { class: 'frames' }, ...thread.frames.map(frameRow)),
    thread.left > 0 ? h('p', { class: 'none' }, `${count(thread.left, 'more frame')} below.`) : null,
  );
}

function stackPart(crash: Crash): HTMLElement {
  const text = sentText(crash.stack_trace);
  if (text.trim() === '') return h('p', { class: 'none' }, 'None was told.');
  const threads = threadsOf(text);
  if (threads) return h('div', {}, ...threads.map((each, i) => threadPart(each, i, i === 0, crash.kind)));
  return h(
    'div',
    {},
    h('p', { class: 'says' }, 'No call stack that can be read, so here it is as it came.'),
    h('pre', { class: 'raw-stack' }, text),
  );
}

function details(crash: Crash, close: () => void): HTMLElement {
  const happened = sentText(crash.crash_timestamp);
  const frozen = sentNumber(crash.frozen_ms);
  return h(
    'article',
    { class: 'inspector', 'aria-label': `${crash.kind} ${titleOf(crash)}` },
    h('button', { type: 'button', class: 'quiet only-narrow', onclick: close }, '← All crashes'),
    h(
      'header',
      { class: 'inspector-head' },
      h('div', { class: 'grow' }, h('h2', {}, titleOf(crash)), kindBadge(crash)),
      copyButton(() => sentText(crash.stack_trace), 'Copy stack'),
    ),
    h(
      'dl',
      { class: 'facts' },
      fact('Recorded', Number.isNaN(Date.parse(happened)) ? happened : dateAndClock(happened)),
      fact('Told', dateAndClock(crash.time)),
      fact('Reason', sentText(crash.termination_reason)),
      fact('Signal code', sentText(crash.signal_code)),
      fact('Frozen for', frozen === null ? '' : lasting(frozen)),
      fact('App', sentText(crash.app_version)),
      fact('System', sentText(crash.os_version)),
      fact('Device', crash.device_id),
      h(
        'div',
        { class: 'fact' },
        h('dt', {}, 'Event id'),
        h('dd', {}, eventLink(crash.event_id, crash.event_id)),
      ),
    ),
    h('h3', {}, 'Stack'),
    stackPart(crash),
  );
}

// The function where it happened, or else the reason that was told.
function gistOf(crash: Crash): string {
  const frames = threadsOf(sentText(crash.stack_trace))?.[0]?.frames ?? [];
  return frames.find((frame) => frame.symbol !== '')?.symbol ?? sentText(crash.termination_reason);
}

function row(crash: Crash, gist: string, open: () => void): HTMLElement {
  return h(
    'div',
    {
      class: 'crash',
      role: 'option',
      tabindex: '0',
      'data-key': crash.event_id,
      onclick: open,
      onkeydown: (key: KeyboardEvent) => key.key === 'Enter' && open(),
    },
    h('time', { class: 'mono', title: dateAndClock(crash.time) }, clock(crash.time)),
    kindBadge(crash),
    h('span', { class: 'crash-what' }, h('strong', {}, titleOf(crash)), h('small', { class: 'mono' }, gist)),
    h(
      'span',
      { class: 'crash-where' },
      sentText(crash.app_version),
      h('span', { class: 'mono session' }, shortId(crash.device_id)),
    ),
  );
}

export function crashesView(): HTMLElement {
  let crashes: Crash[] = [];
  // By event, for stacks are long and lists are drawn often.
  const gists = new Map<string, string>();
  let chosen: string | null = null;
  const list = h('div', { class: 'rows', role: 'listbox', 'aria-label': 'Crashes' });
  const detail = h('aside', { class: 'card detail' });
  const element = h(
    'div',
    { class: 'crashes' },
    h(
      'div',
      { class: 'split' },
      h('section', { class: 'card list' }, h('div', { class: 'scroller' }, list)),
      detail,
    ),
  );

  const select = (crash: Crash | null) => {
    // What is being read stays as it is when others arrive.
    if (crash === null || crash.event_id !== chosen || detail.childElementCount === 0)
      detail.replaceChildren(
        crash
          ? details(crash, () => select(null))
          : emptyState('No crash selected', 'Pick one to see its stack.'),
      );
    chosen = crash?.event_id ?? null;
    element.classList.toggle('inspecting', crash !== null);
    for (const each of list.children)
      each.setAttribute('aria-selected', String(each.getAttribute('data-key') === chosen));
  };
  const move = (by: number) => {
    const at = crashes.findIndex((each) => each.event_id === chosen);
    const next = crashes[Math.min(crashes.length - 1, Math.max(0, at < 0 ? 0 : at + by))];
    if (!next) return;
    select(next);
    list.children[crashes.indexOf(next)]?.scrollIntoView({ block: 'nearest' });
  };
  document.addEventListener('keydown', (key) => {
    if (!element.isConnected || key.ctrlKey || key.metaKey || key.altKey) return;
    if (key.key === 'Escape') select(null);
    if (key.key === 'ArrowDown' || key.key === 'j') (key.preventDefault(), move(1));
    if (key.key === 'ArrowUp' || key.key === 'k') (key.preventDefault(), move(-1));
  });
  return reportView({
    element,
    load: api.crashReport,
    show(report) {
      crashes = report.crashes;
      for (const each of crashes) if (!gists.has(each.event_id)) gists.set(each.event_id, gistOf(each));
      replaceKeeping(
        list,
        crashes.length > 0
          ? crashes.map((each) => row(each, gists.get(each.event_id) ?? '', () => select(each)))
          : [
              emptyState(
                'No crash told',
                'Crashes and hangs are told at the launch after, from what the system has recorded.',
              ),
            ],
      );
      select(crashes.find((each) => each.event_id === chosen) ?? null);
    },
  });
}
