// Draws the screens and the ways between them, and shows what belongs together when one of them is
// pointed at or has the focus.

import { api } from '../api';
import { svg } from '../dom';
import { boxHeight, type Box, boxWidth, labelHeight, labelWidth, layOut, type Line } from '../flow_layout';
import { count, lasting, number } from '../format';
import type { FlowReport, FlowScreen, Session, Way } from '../screen_types';

const wayText = (way: Way): string =>
  way.median_ms === null ? number(way.count) : `${number(way.count)} · ${lasting(way.median_ms)}`;

const wayWords = (way: Way): string =>
  `${way.from} to ${way.to}: ${count(way.count, 'time')}` +
  (way.median_ms === null ? '' : `, ${lasting(way.median_ms)} from tap to arrival`);

const screenWords = (screen: FlowScreen): string =>
  [
    screen.name,
    count(screen.views, 'view'),
    count(screen.visits, 'visit'),
    screen.dwell_median_ms === null ? '' : `${lasting(screen.dwell_median_ms)} median stay`,
    count(screen.taps, 'tap'),
  ]
    .filter(Boolean)
    .join(', ');

// Cut by eye: SVG text knows no ellipsis.
const fitted = (text: string, room: number): string =>
  [...text].length <= room
    ? text
    : `${[...text]
        .slice(0, room - 1)
        .join('')
        .trimEnd()}…`;

function thumbnail(box: Box): SVGElement | null {
  if (box.screen.screenshot === null) return null;
  return svg('image', {
    href: api.screenshotPath(box.screen.screenshot),
    x: box.x + 8,
    y: box.y + 8,
    width: 34,
    height: boxHeight - 16,
    preserveAspectRatio: 'xMidYMin slice',
    'clip-path': 'inset(0 round 4px)',
  });
}

function node(box: Box): SVGElement {
  const { screen, x, y } = box;
  const left = x + (screen.screenshot === null ? 14 : 52);
  const room = screen.screenshot === null ? 21 : 15;
  const used = screen.visits > 0 ? count(screen.visits, 'visit') : count(screen.views, 'view');
  const stay = screen.dwell_median_ms === null ? '' : ` · ${lasting(screen.dwell_median_ms)}`;
  return svg(
    'a',
    {
      href: `#/screens?screen=${encodeURIComponent(screen.name)}`,
      class: 'flow-node',
      'data-screen': screen.name,
      'data-key': `screen ${screen.name}`,
      'aria-label': screenWords(screen),
    },
    svg('title', {}, screenWords(screen)),
    svg('rect', { x, y, width: boxWidth, height: boxHeight, rx: 12 }),
    thumbnail(box),
    svg('text', { x: left, y: y + 25, class: 'flow-name' }, fitted(screen.name, room)),
    svg('text', { x: left, y: y + 44 }, used + stay),
    svg('text', { x: left, y: y + 61 }, count(screen.taps, 'tap')),
  );
}

function arrow(line: Line, wide: number): SVGElement {
  const [, , before, tip] = line.curve;
  const angle = Math.atan2(tip.y - before.y, tip.x - before.x);
  const size = 5 + wide;
  const corner = (turn: number) =>
    `${tip.x - size * 1.4 * Math.cos(angle + turn)},${tip.y - size * 1.4 * Math.sin(angle + turn)}`;
  return svg('polygon', {
    points: `${tip.x},${tip.y} ${corner(0.42)} ${corner(-0.42)}`,
    class: 'flow-arrow',
  });
}

function drawn(line: Line, most: number): SVGElement {
  const [a, b, c, d] = line.curve;
  const path = `M${a.x},${a.y} C${b.x},${b.y} ${c.x},${c.y} ${d.x},${d.y}`;
  const wide = 1.2 + 4.2 * Math.sqrt(line.way.count / most);
  return svg(
    'g',
    {
      class: `flow-way flow-${line.kind} ${line.isMain ? '' : 'flow-minor'}`,
      'data-from': line.way.from,
      'data-to': line.way.to,
    },
    svg('title', {}, wayWords(line.way)),
    svg('path', { d: path, class: 'flow-reach' }),
    svg('path', { d: path, class: 'flow-line', 'stroke-width': wide.toFixed(1) }),
    arrow(line, wide),
  );
}

// Also of ways without room for one, which show theirs when they are pointed at.
function label(line: Line): SVGElement {
  const [a, , , d] = line.curve;
  const at = line.label ?? { x: (a.x + d.x) / 2, y: (a.y + d.y) / 2 };
  const wide = labelWidth(line.text);
  return svg(
    'g',
    {
      class: line.label ? 'flow-label' : 'flow-label flow-crowded',
      'data-from': line.way.from,
      'data-to': line.way.to,
    },
    svg('rect', { x: at.x - wide / 2, y: at.y - labelHeight / 2, width: wide, height: labelHeight, rx: 9 }),
    svg('text', { x: at.x, y: at.y + 4, 'text-anchor': 'middle' }, line.text),
  );
}

// The numbers of the steps at which a session came to each screen.
function stepBadges(boxes: Box[], session: Session): SVGElement[] {
  const steps = new Map<string, number[]>();
  session.visits.forEach(({ name }, i) => steps.set(name, [...(steps.get(name) ?? []), i + 1]));
  return boxes.flatMap(({ screen, x, y }) => {
    const mine = steps.get(screen.name);
    if (!mine) return [];
    const text = mine.slice(0, 4).join(', ') + (mine.length > 4 ? ' …' : '');
    const wide = labelWidth(text);
    return svg(
      'g',
      { class: 'flow-step' },
      svg('rect', { x: x + boxWidth - wide + 8, y: y - 10, width: wide, height: 20, rx: 10 }),
      svg('text', { x: x + boxWidth - wide / 2 + 8, y: y + 4, 'text-anchor': 'middle' }, text),
    );
  });
}

/** Marks what belongs to a screen or a way, and fades the rest. Null: nothing. */
type Focus = { screen: string } | { from: string; to: string } | null;

export interface FlowGraph {
  element: SVGElement;
  /** How many ways are seen only when something they join is pointed at. */
  minor: number;
  focus(on: Focus): void;
}

function isPart(element: Element, on: NonNullable<Focus>, near: Set<string>): boolean {
  const [from, to] = [element.getAttribute('data-from'), element.getAttribute('data-to')];
  const screen = element.getAttribute('data-screen');
  if (screen !== null) return near.has(screen);
  return 'screen' in on ? from === on.screen || to === on.screen : from === on.from && to === on.to;
}

function nearTo(on: NonNullable<Focus>, ways: Way[]): Set<string> {
  if (!('screen' in on)) return new Set([on.from, on.to]);
  const joined = ways.filter(({ from, to }) => from === on.screen || to === on.screen);
  return new Set([on.screen, ...joined.flatMap(({ from, to }) => [from, to])]);
}

/** `session`: the one whose way is to stand out; null: none. */
export function flowGraph(report: FlowReport, session: Session | null): FlowGraph {
  const { width, height, boxes, lines } = layOut(report.screens, report.edges, wayText);
  const most = Math.max(1, ...report.edges.map((each) => each.count));
  const parts = [...lines.map((line) => drawn(line, most)), ...boxes.map(node), ...lines.map(label)];
  const element = svg(
    'svg',
    {
      viewBox: `0 0 ${width} ${height}`,
      style: `max-width:${Math.round(width)}px;min-width:${Math.round(width * 0.62)}px`,
      class: session ? 'flow-graph has-trail' : 'flow-graph',
      role: 'group',
      'aria-label': 'Screens and the ways between them',
    },
    ...parts,
    ...(session ? stepBadges(boxes, session) : []),
  );
  if (session) {
    const seen = new Set(session.visits.map(({ name }) => name));
    const gone = new Set(session.visits.slice(1).map(({ name }, i) => `${session.visits[i]?.name}\n${name}`));
    for (const part of parts) {
      const screen = part.getAttribute('data-screen');
      const way = `${part.getAttribute('data-from')}\n${part.getAttribute('data-to')}`;
      part.classList.toggle('on-trail', screen === null ? gone.has(way) : seen.has(screen));
    }
  }
  const focus = (on: Focus) => {
    element.classList.toggle('has-focus', on !== null);
    const near = on ? nearTo(on, report.edges) : new Set<string>();
    for (const part of parts) part.classList.toggle('in-focus', on !== null && isPart(part, on, near));
  };
  const watch = (part: Element, on: NonNullable<Focus>) => {
    for (const event of ['mouseenter', 'focus']) part.addEventListener(event, () => focus(on));
    for (const event of ['mouseleave', 'blur']) part.addEventListener(event, () => focus(null));
  };
  for (const part of parts) {
    const [screen, from, to] = ['screen', 'from', 'to'].map((key) => part.getAttribute(`data-${key}`) ?? '');
    watch(
      part,
      part.hasAttribute('data-screen') ? { screen: screen ?? '' } : { from: from ?? '', to: to ?? '' },
    );
  }
  return { element, focus, minor: lines.filter(({ isMain }) => !isMain).length };
}
