// Small charts of SVG and plain elements. Each says in words what it draws.

import { h, svg } from '../dom';
import { count, number, percent } from '../format';

/** Shares of one bar: how many, the tone, and the word for them. */
export type Share = [number, string, string];

export function sharesText(shares: Share[]): string {
  return shares
    .filter(([events]) => events > 0)
    .map(([events, , word]) => `${number(events)} ${word}`)
    .join(', ');
}

export function shareBar(shares: Share[], label = sharesText(shares)): HTMLElement {
  return h(
    'div',
    { class: 'outcome-bar', role: 'img', 'aria-label': label, title: label },
    ...shares
      .filter(([events]) => events > 0)
      .map(([events, tone]) => h('span', { class: `fill-${tone}`, style: `flex:${events}` })),
  );
}

export const slots = ['< 100 ms', '< 300 ms', '< 1 s', '< 3 s', '≥ 3 s'];

const slotWidth = 10;
const slotHeight = 24;

/** The requests by duration, as five bars. */
export function histogram(latency: number[]): SVGElement {
  const most = Math.max(1, ...latency);
  const text = slots.map((slot, i) => `${slot}: ${number(latency[i] ?? 0)}`).join(', ');
  return svg(
    'svg',
    {
      viewBox: `0 0 ${slots.length * slotWidth} ${slotHeight}`,
      class: 'histogram',
      role: 'img',
      'aria-label': text,
    },
    svg('title', {}, text),
    ...slots.map((_, i) => {
      const requests = latency[i] ?? 0;
      const tall = requests === 0 ? 1.5 : Math.max(3, (requests / most) * slotHeight);
      return svg('rect', {
        x: i * slotWidth,
        width: slotWidth - 2,
        y: slotHeight - tall,
        height: tall,
        class: requests === 0 ? 'bar-none' : `slot-${i}`,
      });
    }),
  );
}

/** The same at full size, with its figures. */
export function latencyColumns(latency: number[]): HTMLElement {
  const most = Math.max(1, ...latency);
  const total = latency.reduce((sum, each) => sum + each, 0);
  return h(
    'div',
    { class: 'columns-chart' },
    ...slots.map((slot, i) => {
      const requests = latency[i] ?? 0;
      return h(
        'div',
        { class: 'column', title: `${count(requests, 'request')} ${slot}` },
        h('span', { class: 'column-value' }, number(requests), h('small', {}, percent(requests, total))),
        h(
          'div',
          { class: 'column-room' },
          h('div', { class: `column-bar fill-slot-${i}`, style: `height:${(100 * requests) / most}%` }),
        ),
        h('span', { class: 'column-label' }, slot),
      );
    }),
  );
}

export interface Bar {
  label: string;
  count: number;
  /** Behind the figure. */
  note?: string;
  tone?: string;
}

/** Horizontal bars, as long as their counts are to each other. */
export function barList(bars: Bar[], none: string): HTMLElement {
  if (bars.length === 0) return h('p', { class: 'none' }, none);
  const most = Math.max(1, ...bars.map((bar) => bar.count));
  return h(
    'ul',
    { class: 'bar-list' },
    ...bars.map(({ label, count: value, note, tone = 'accent' }) =>
      h(
        'li',
        {},
        h('span', { class: 'bar-label', title: label }, label),
        h(
          'span',
          { class: 'bar-room' },
          h('span', { class: `bar-part fill-${tone}`, style: `width:${(100 * value) / most}%` }),
        ),
        h('span', { class: 'bar-value' }, number(value), note ? h('small', {}, note) : null),
      ),
    ),
  );
}
