// Places screens in rows, each below those that lead to it, and draws the ways between them as curves.
// A screen's row is how many steps it takes to get there from where sessions start, so that a way leads
// to the next row at most, but for rows that are too wide for one line; those that lead back up or stay
// in a row are told apart.

import type { FlowScreen, Way } from './screen_types';

export const boxWidth = 172;
export const boxHeight = 74;
const gapX = 56;
const gapY = 92;
const margin = 80;
const mostInRow = 6;
const mostMain = 40;

export interface Point {
  x: number;
  y: number;
}

export interface Box extends Point {
  screen: FlowScreen;
  row: number;
}

/** The four points of a cubic curve. */
export type Curve = [Point, Point, Point, Point];

export interface Line {
  way: Way;
  /** Whether it is one of those that give the picture; there may be too many to show all. */
  isMain: boolean;
  /** Down, back up, or within a row. */
  kind: 'onward' | 'back' | 'beside';
  curve: Curve;
  /** Where its label goes; null where there is no room. */
  label: Point | null;
  text: string;
}

export interface Layout {
  width: number;
  height: number;
  boxes: Box[];
  lines: Line[];
}

type Rows = FlowScreen[][];

// The busiest ways, and for each screen the busiest one to it.
function mainWays(ways: Way[]): Set<Way> {
  const sorted = ways.filter(({ from, to }) => from !== to).sort((a, b) => b.count - a.count);
  const main = new Set(sorted.slice(0, mostMain));
  const reached = new Set<string>();
  for (const way of sorted) {
    if (!reached.has(way.to)) main.add(way);
    reached.add(way.to);
  }
  return main;
}

// Steps from the screens where sessions start; what can't be reached from there starts anew.
function stepsTo(screens: FlowScreen[], ways: Way[]): Map<string, number> {
  const next = new Map<string, string[]>();
  for (const { from, to } of ways) next.set(from, [...(next.get(from) ?? []), to]);
  const steps = new Map<string, number>();
  const spread = (root: string) => {
    if (steps.has(root)) return;
    steps.set(root, 0);
    const queue = [root];
    for (let name = queue.shift(); name !== undefined; name = queue.shift())
      for (const to of next.get(name) ?? []) {
        if (steps.has(to)) continue;
        steps.set(to, (steps.get(name) ?? 0) + 1);
        queue.push(to);
      }
  };
  const likelyFirst = [...screens].sort((a, b) => b.starts - a.starts || b.visits - a.visits);
  for (const { name } of likelyFirst) spread(name);
  return steps;
}

// Screens that nothing leads to or from stand below all others.
function rowsOf(screens: FlowScreen[], ways: Way[]): Rows {
  const linked = new Set(ways.flatMap(({ from, to }) => (from === to ? [] : [from, to])));
  const steps = stepsTo(
    screens.filter(({ name }) => linked.has(name)),
    ways,
  );
  const rows: Rows = [];
  for (const screen of screens) {
    const step = steps.get(screen.name);
    if (step === undefined) continue;
    (rows[step] ??= []).push(screen);
  }
  rows.push(screens.filter(({ name }) => !linked.has(name)));
  return rows.filter((row) => row.length > 0);
}

// Each screen moves to the middle of those it is joined to, a few times down and up.
function untangle(rows: Rows, ways: Way[]): void {
  const place = new Map<string, number>();
  const note = (row: FlowScreen[]) => row.forEach(({ name }, i) => place.set(name, (i + 0.5) / row.length));
  rows.forEach(note);
  const joined = new Map<string, [string, number][]>();
  for (const { from, to, count } of ways) {
    joined.set(from, [...(joined.get(from) ?? []), [to, count]]);
    joined.set(to, [...(joined.get(to) ?? []), [from, count]]);
  }
  const middle = (name: string): number => {
    let [sum, weight] = [0, 0];
    for (const [other, count] of joined.get(name) ?? []) {
      sum += (place.get(other) ?? 0.5) * count;
      weight += count;
    }
    return weight === 0 ? (place.get(name) ?? 0.5) : sum / weight;
  };
  for (let round = 0; round < 6; ++round)
    for (const row of round % 2 === 0 ? rows : [...rows].reverse()) {
      const wanted = new Map(row.map(({ name }) => [name, middle(name)]));
      row.sort((a, b) => (wanted.get(a.name) ?? 0) - (wanted.get(b.name) ?? 0));
      note(row);
    }
}

// A row that is too wide takes turns on several lines, so that each screen stays below what leads to it.
function boxesOf(rows: Rows): Box[] {
  const lines = rows.flatMap((row) => {
    const parts = Math.ceil(row.length / mostInRow);
    return Array.from({ length: parts }, (_, part) => row.filter((_screen, i) => i % parts === part));
  });
  const widest = Math.max(...lines.map((line) => line.length));
  return lines.flatMap((line, row) =>
    line.map((screen, i) => ({
      screen,
      row,
      x: margin + (i + (widest - line.length) / 2) * (boxWidth + gapX),
      y: 20 + row * (boxHeight + gapY),
    })),
  );
}

type Side = 'top' | 'bottom' | 'left' | 'right';

interface End {
  box: Box;
  side: Side;
  /** Where on the side it wants to be, relative to others. */
  wish: number;
  at: Point;
}

// The ends at one side of a box stand apart, in the order of where they lead.
function spreadEnds(ends: End[]): void {
  const groups = new Map<string, End[]>();
  for (const end of ends) {
    const key = `${end.side} ${end.box.screen.name}`;
    groups.set(key, [...(groups.get(key) ?? []), end]);
  }
  for (const group of groups.values()) {
    group.sort((a, b) => a.wish - b.wish);
    group.forEach((end, i) => {
      const share = (i + 0.5) / group.length;
      const { x, y } = end.box;
      if (end.side === 'top' || end.side === 'bottom')
        end.at = { x: x + boxWidth * (0.1 + 0.8 * share), y: end.side === 'top' ? y : y + boxHeight };
      else end.at = { x: end.side === 'left' ? x : x + boxWidth, y: y + boxHeight * (0.15 + 0.7 * share) };
    });
  }
}

// The boxes that a curve beside them has to go round.
function between(from: Box, to: Box, boxes: Box[]): Box[] {
  return boxes.filter(({ row }) => row >= Math.min(from.row, to.row) && row <= Math.max(from.row, to.row));
}

const leftmost = (boxes: Box[]): number => Math.min(...boxes.map(({ x }) => x));
const rightmost = (boxes: Box[]): number => Math.max(...boxes.map(({ x }) => x + boxWidth));

function sidesOf(from: Box, to: Box, boxes: Box[]): [Side, Side, Line['kind']] {
  const rows = to.row - from.row;
  if (rows > 0) return ['bottom', 'top', 'onward'];
  if (rows === -1) return ['top', 'bottom', 'back'];
  if (rows < 0) {
    const passed = between(from, to, boxes);
    const byLeft = from.x + to.x - 2 * leftmost(passed);
    const byRight = 2 * rightmost(passed) - from.x - to.x - 2 * boxWidth;
    const side = byLeft <= byRight ? 'left' : 'right';
    return [side, side, 'back'];
  }
  if (from === to) return ['right', 'right', 'beside'];
  if (Math.abs(from.x - to.x) < boxWidth + gapX + 1)
    return from.x < to.x ? ['right', 'left', 'beside'] : ['left', 'right', 'beside'];
  return ['top', 'top', 'beside'];
}

const away: Record<Side, Point> = {
  top: { x: 0, y: -1 },
  bottom: { x: 0, y: 1 },
  left: { x: -1, y: 0 },
  right: { x: 1, y: 0 },
};

// A curve comes three quarters of the way to where both of its control points are.
function curveBeside(from: End, to: End, boxes: Box[]): Curve {
  const passed = between(from.box, to.box, boxes);
  const out = 12 + 8 * Math.min(5, Math.abs(from.box.row - to.box.row));
  const edge = from.side === 'left' ? leftmost(passed) - out : rightmost(passed) + out;
  const control = (end: End): Point => ({ x: end.at.x + (edge - end.at.x) / 0.75, y: end.at.y });
  return [from.at, control(from), control(to), to.at];
}

function curveOf(from: End, to: End, boxes: Box[]): Curve {
  const isUpright = from.side === 'left' || from.side === 'right';
  if (isUpright && from.side === to.side) return curveBeside(from, to, boxes);
  const far = Math.hypot(to.at.x - from.at.x, to.at.y - from.at.y);
  const reach = from.side === to.side ? 22 + far * 0.05 : Math.max(14, Math.min(far * 0.42, gapY * 0.8));
  const control = (end: End): Point => ({
    x: end.at.x + away[end.side].x * reach,
    y: end.at.y + away[end.side].y * reach,
  });
  return [from.at, control(from), control(to), to.at];
}

function pointOn([a, b, c, d]: Curve, t: number): Point {
  const s = 1 - t;
  const at = (key: 'x' | 'y') =>
    s * s * s * a[key] + 3 * s * s * t * b[key] + 3 * s * t * t * c[key] + t * t * t * d[key];
  return { x: at('x'), y: at('y') };
}

export const labelHeight = 18;
export const labelWidth = (text: string): number => text.length * 6.1 + 12;

// The busiest ways are labelled first, each near the end where ways stand further apart; a label
// that would lie on another or on a screen is left to the pointer.
function placeLabels(lines: Line[], boxes: Box[]): void {
  const taken = boxes.map(({ x, y }) => ({ x: x - 2, y: y - 2, w: boxWidth + 4, h: boxHeight + 4 }));
  for (const line of [...lines].sort((a, b) => b.way.count - a.way.count)) {
    const w = labelWidth(line.text);
    for (const t of line.kind === 'back' ? [0.35, 0.5, 0.22, 0.65, 0.8] : [0.65, 0.5, 0.78, 0.35, 0.2]) {
      const { x, y } = pointOn(line.curve, t);
      const room = { x: x - w / 2, y: y - labelHeight / 2, w, h: labelHeight };
      const isFree = taken.every(
        (other) =>
          room.x > other.x + other.w ||
          room.x + w < other.x ||
          room.y > other.y + other.h ||
          room.y + room.h < other.y,
      );
      if (!isFree) continue;
      taken.push(room);
      line.label = { x, y };
      break;
    }
  }
}

export function layOut(screens: FlowScreen[], ways: Way[], textOf: (way: Way) => string): Layout {
  const main = mainWays(ways);
  const rows = rowsOf(screens, [...main]);
  untangle(rows, [...main]);
  const boxes = boxesOf(rows);
  const width = Math.max(...boxes.map(({ x }) => x + boxWidth)) + margin;
  const height = Math.max(...boxes.map(({ y }) => y + boxHeight)) + 24;
  const known = new Map(boxes.map((box) => [box.screen.name, box]));
  const ends: [Way, End, End, Line['kind']][] = [];
  for (const way of ways) {
    const [from, to] = [known.get(way.from), known.get(way.to)];
    if (!from || !to) continue;
    const [start, stop, kind] = sidesOf(from, to, boxes);
    const isUpright = (side: Side) => side === 'left' || side === 'right';
    const end = (box: Box, side: Side, other: Box): End => ({
      box,
      side,
      wish: isUpright(side) ? other.y + (kind === 'back' ? 1 : 0) : other.x,
      at: box,
    });
    ends.push([way, end(from, start, to), end(to, stop, from), kind]);
  }
  spreadEnds(ends.flatMap(([, from, to]) => [from, to]));
  const lines = ends.map(([way, from, to, kind]): Line => {
    const isMain = main.has(way) || ways.length <= mostMain;
    return { way, isMain, kind, curve: curveOf(from, to, boxes), label: null, text: textOf(way) };
  });
  placeLabels(
    lines.filter(({ isMain }) => isMain),
    boxes,
  );
  return { width, height, boxes, lines };
}
