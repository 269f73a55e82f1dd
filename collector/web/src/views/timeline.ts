// Events over time, as bars; the invalid ones at the foot of each.

import { api } from '../api';
import { h, svg, throttled } from '../dom';
import { clock, count, dateAndClock, span as spanText } from '../format';
import type { Timeline } from '../types';

const spans: [number, string][] = [
  [60, '1m'],
  [600, '10m'],
  [3600, '1h'],
  [0, 'All'],
];
const width = 1000;
const height = 88;

function bars(timeline: Timeline, onPoint: (index: number | null) => void): SVGElement {
  const most = Math.max(1, ...timeline.points.map((point) => point.events));
  const step = width / timeline.points.length;
  const gap = Math.min(2, step * 0.2);
  const chart = svg('svg', {
    viewBox: `0 0 ${width} ${height}`,
    preserveAspectRatio: 'none',
    class: 'bars',
    role: 'img',
    'aria-label': 'Events over time',
  });
  timeline.points.forEach((point, i) => {
    const x = i * step + gap / 2;
    const tall = point.events === 0 ? 1.5 : Math.max(3, (point.events / most) * (height - 4));
    const bad = point.events === 0 ? 0 : (point.invalid / point.events) * tall;
    chart.append(
      svg('rect', {
        x,
        width: step - gap,
        y: height - tall,
        height: tall,
        class: point.events === 0 ? 'bar-none' : 'bar',
      }),
      svg('rect', { x, width: step - gap, y: height - bad, height: bad, class: 'bar-bad' }),
      svg('rect', {
        x: i * step,
        width: step,
        y: 0,
        height,
        class: 'bar-hit',
        onpointerenter: () => onPoint(i),
      }),
    );
  });
  chart.addEventListener('pointerleave', () => onPoint(null));
  return chart;
}

export interface TimelineView {
  element: HTMLElement;
  refresh(): void;
}

export function timelineView(): TimelineView {
  let span = 600;
  let turn = 0;
  const caption = h('span', { class: 'chart-caption' });
  const plot = h('div', { class: 'chart-plot' });
  const axis = h('div', { class: 'chart-axis' });
  const choices = h('div', { class: 'segments', role: 'group', 'aria-label': 'Time span' });

  const describe = (timeline: Timeline, index: number | null) => {
    const point = index === null ? undefined : timeline.points[index];
    const total = timeline.points.reduce((sum, each) => sum + each.events, 0);
    const summary = `${count(total, 'event')} · ${spanText(timeline.bucket)} a bar`;
    caption.textContent = point
      ? `${count(point.events, 'event')}${point.invalid ? `, ${point.invalid} invalid` : ''} at ${clock(new Date(point.t * 1000).toISOString())}`
      : summary;
  };
  const show = (timeline: Timeline) => {
    plot.replaceChildren(bars(timeline, (index) => describe(timeline, index)));
    const label = timeline.bucket * timeline.points.length > 86400 ? dateAndClock : clock;
    axis.replaceChildren(
      h('span', {}, label(timeline.from)),
      h('span', {}, span === 0 ? label(timeline.until) : 'now'),
    );
    describe(timeline, null);
  };
  const load = async () => {
    const mine = ++turn;
    const timeline = await api.timeline(span).catch(() => null);
    if (timeline && mine === turn) show(timeline);
  };
  const refresh = throttled(1000, load);
  for (const [seconds, label] of spans) {
    const button = h('button', { type: 'button', 'aria-pressed': String(seconds === span) }, label);
    button.addEventListener('click', () => {
      span = seconds;
      for (const other of choices.children) other.setAttribute('aria-pressed', String(other === button));
      void load();
    });
    choices.append(button);
  }
  const element = h(
    'section',
    { class: 'card chart', 'aria-label': 'Events over time' },
    h('div', { class: 'chart-head' }, caption, choices),
    plot,
    axis,
  );
  // The window slides even when nothing arrives.
  setInterval(() => {
    if (element.isConnected && !document.hidden) refresh();
  }, 5000);
  return { element, refresh };
}
