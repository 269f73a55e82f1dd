// A call stack as JSON: "callStacks", each with "callStackRootFrames", whose frames have further ones in
// "subFrames". It comes from a client, so anything may be missing, and nothing bounds its depth.

import { briefly, isRecord, parseExactly } from './json';

export interface Frame {
  binary: string;
  symbol: string;
  offset: string;
  /** How often the way to here branched. */
  depth: number;
}

export interface Thread {
  /** Whether the crash happened in it. */
  isAttributed: boolean;
  frames: Frame[];
  /** How many more there are. */
  left: number;
}

const mostFrames = 500;

const textOf = (value: unknown): string =>
  value === undefined || value === null || isRecord(value) || Array.isArray(value) ? '' : briefly(value);

function frameOf(from: Record<string, unknown>, depth: number): Frame {
  return {
    binary: textOf(from['binaryName']),
    symbol: textOf(from['symbol']),
    offset: textOf(from['offset'] ?? from['offsetIntoBinaryTextSegment'] ?? from['address']),
    depth,
  };
}

function threadOf(stack: Record<string, unknown>): Thread {
  const thread: Thread = { isAttributed: stack['threadAttributed'] === true, frames: [], left: 0 };
  const open: [unknown, number][] = [];
  const add = (frames: unknown, depth: number) => {
    if (Array.isArray(frames)) for (const frame of [...frames].reverse()) open.push([frame, depth]);
  };
  add(stack['callStackRootFrames'], 0);
  for (let next = open.pop(); next; next = open.pop()) {
    const [frame, depth] = next;
    if (!isRecord(frame)) continue;
    if (thread.frames.length < mostFrames) thread.frames.push(frameOf(frame, depth));
    else ++thread.left;
    const inner = frame['subFrames'];
    add(inner, Array.isArray(inner) && inner.length > 1 ? depth + 1 : depth);
  }
  return thread;
}

/** The threads of a stack, the one that crashed first; null if the text is none. */
export function threadsOf(text: string): Thread[] | null {
  let tree: unknown;
  try {
    tree = parseExactly(text);
  } catch {
    return null;
  }
  const stacks = isRecord(tree) ? tree['callStacks'] : undefined;
  if (!Array.isArray(stacks)) return null;
  const threads = stacks.filter(isRecord).map(threadOf);
  return threads.some((thread) => thread.frames.length > 0)
    ? threads.sort((a, b) => Number(b.isAttributed) - Number(a.isAttributed))
    : null;
}
