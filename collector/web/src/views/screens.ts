// A gallery of the screens: each with its picture, its states and how it is used.

import { api } from '../api';
import { h } from '../dom';
import { count, lasting, number } from '../format';
import { hashParameter, setHashParameter } from '../place';
import type { Answers } from '../report_types';
import type { Screen, Screenshot, ScreensReport } from '../screen_types';
import { badge, card, emptyState } from './parts';
import { replaceKeeping, reportView } from './report';
import { pictureFigure, screenDetails, stateTones } from './screen_details';

const settled = ['populated', 'normal'];

/** The picture that says most of a screen. */
function bestOf(pictures: Screenshot[]): Screenshot | undefined {
  return pictures.find((each) => settled.includes(each.state ?? '')) ?? pictures[0];
}

function pictureOf(screen: Screen): HTMLElement {
  const picture = bestOf(screen.screenshots);
  if (!picture)
    return h('span', { class: 'screen-picture screen-blank' }, h('span', {}, screen.name.slice(0, 1)));
  return h(
    'span',
    { class: 'screen-picture' },
    h('img', { src: api.screenshotPath(picture.sha256), alt: '', loading: 'lazy' }),
    screen.screenshots.length > 1
      ? h('small', { class: 'picture-count' }, count(screen.screenshots.length, 'picture'))
      : null,
  );
}

const used = (screen: Screen): string =>
  [
    count(screen.views, 'view'),
    screen.dwell_median_ms === null ? '' : lasting(screen.dwell_median_ms),
    screen.taps > 0 ? count(screen.taps, 'tap') : '',
  ]
    .filter(Boolean)
    .join(' · ');

function screenCard(screen: Screen, open: () => void): HTMLElement {
  return h(
    'button',
    { type: 'button', class: 'screen-card', 'data-key': screen.name, onclick: open },
    pictureOf(screen),
    h('strong', { class: 'screen-name', title: screen.name }, screen.name),
    h('span', { class: 'screen-used' }, used(screen)),
    h(
      'span',
      { class: 'chips' },
      ...Object.entries(screen.states).map(([state, views]) =>
        badge(views === 1 ? state : `${state} ${number(views)}`, stateTones[state] ?? 'muted'),
      ),
    ),
  );
}

// What clients are told when they ask whether a picture is there.
const wishes: [string, boolean | null][] = [
  ['taken where missing', null],
  ['taken every time', false],
  ['not taken', true],
];

function pictureBar(pictures: number, project: string, answers: Answers | null): HTMLElement {
  const facts = h('span', { class: 'grow says' }, count(pictures, 'picture'));
  if (answers === null) return h('div', { class: 'picture-bar' }, facts);
  const wish = h(
    'select',
    { 'aria-label': 'Pictures are', 'data-key': 'wish' },
    ...wishes.map(([text, exists]) =>
      h('option', { selected: exists === answers.screenshot_exists }, `Pictures are ${text}`),
    ),
  );
  wish.addEventListener('change', () => {
    const exists = wishes[wish.selectedIndex]?.[1] ?? null;
    void api.setAnswers(project, { screenshot_exists: exists }).catch((error) => alert(String(error)));
  });
  const forget = h('button', { type: 'button', class: 'quiet', 'data-key': 'forget' }, 'Forget pictures');
  forget.addEventListener('click', () => {
    if (confirm(`Forget all pictures of ${project}, so that they are taken anew?`))
      void api.removeScreenshots(project).catch((error) => alert(String(error)));
  });
  return h('div', { class: 'picture-bar' }, facts, wish, pictures > 0 ? forget : null);
}

function gallery(report: ScreensReport, open: (screen: Screen) => void): Node[] {
  if (report.screens.length === 0 && report.other_screenshots.length === 0)
    return [
      emptyState('No screen told yet', 'Screens show up here when they are viewed, with their pictures.'),
    ];
  const left = report.screen_count - report.screens.length;
  return [
    h('div', { class: 'gallery' }, ...report.screens.map((each) => screenCard(each, () => open(each)))),
    left > 0 ? h('p', { class: 'says' }, `and ${count(left, 'screen')} that were seen less`) : h('span'),
    report.other_screenshots.length > 0
      ? card(
          'Other pictures',
          'of no screen told of in this time',
          h('div', { class: 'pictures' }, ...report.other_screenshots.map(pictureFigure)),
        )
      : h('span'),
  ];
}

export function screensView(): HTMLElement {
  let screens: Screen[] = [];
  let chosen = '';
  let barShown = '';
  const bar = h('div', {});
  const room = h('div', { class: 'scroller gallery-room' });
  const detail = h('aside', { class: 'card detail', 'aria-label': 'Screen' });
  const element = h('div', { class: 'screens' }, bar, h('div', { class: 'split' }, room, detail));

  const select = (name: string) => {
    chosen = name;
    // A report may come when the reader is on another page already.
    if (location.hash.startsWith('#/screens')) setHashParameter('screen', name);
    const screen = screens.find((each) => each.name === name);
    element.classList.toggle('inspecting', screen !== undefined);
    replaceKeeping(
      detail,
      screen
        ? [
            screenDetails(screen, {
              close: () => select(''),
              open: select,
              isKnown: (other) => screens.some((each) => each.name === other),
            }),
          ]
        : [],
    );
    for (const each of room.querySelectorAll('.screen-card'))
      each.setAttribute('aria-pressed', String(each.getAttribute('data-key') === name));
  };
  const open = (screen: Screen) => {
    select(screen.name);
    detail.scrollTop = 0;
  };
  const arrive = () => {
    const wanted = hashParameter('screen');
    if (element.isConnected && wanted !== null && wanted !== chosen) select(wanted);
  };
  window.addEventListener('hashchange', () => queueMicrotask(arrive));
  document.addEventListener('keydown', (key) => {
    if (element.isConnected && key.key === 'Escape' && chosen !== '') select('');
  });
  return reportView({
    element,
    async load(scope) {
      const [report, answers] = await Promise.all([
        api.screensReport(scope),
        scope.project === '' ? null : api.answers(scope.project),
      ]);
      return { report, answers };
    },
    show({ report, answers }, { project }) {
      screens = report.screens;
      const pictures =
        report.other_screenshots.length + screens.reduce((sum, each) => sum + each.screenshots.length, 0);
      const wanted = JSON.stringify([pictures, project, answers?.screenshot_exists]);
      if (wanted !== barShown) replaceKeeping(bar, [pictureBar(pictures, project, answers)]);
      barShown = wanted;
      replaceKeeping(room, gallery(report, open));
      select(hashParameter('screen') ?? chosen);
    },
  });
}
