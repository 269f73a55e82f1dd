// Numbers, times and ids as people read them.

const whole = new Intl.NumberFormat('en');

export const number = (value: number): string => whole.format(value);

export function count(value: number, one: string, many = `${one}s`): string {
  return `${number(value)} ${value === 1 ? one : many}`;
}

const two = (value: number): string => String(value).padStart(2, '0');

export function clock(iso: string, withMs = false): string {
  const time = new Date(iso);
  const text = `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}`;
  return withMs ? `${text}.${String(time.getMilliseconds()).padStart(3, '0')}` : text;
}

export function dateAndClock(iso: string): string {
  const time = new Date(iso);
  return `${time.getFullYear()}-${two(time.getMonth() + 1)}-${two(time.getDate())} ${clock(iso)}`;
}

export function bytes(value: number): string {
  if (value < 1024) return `${value} B`;
  if (value < 1024 * 1024) return `${(value / 1024).toFixed(1)} KB`;
  return `${(value / 1024 / 1024).toFixed(1)} MB`;
}

export function percent(part: number, whole: number): string {
  if (whole <= 0) return '–';
  const share = (100 * part) / whole;
  return share > 0 && share < 1 ? '< 1 %' : `${Math.round(share)} %`;
}

/** A duration of so many milliseconds. */
export function lasting(ms: number): string {
  if (ms < 1000) return `${Math.round(ms)} ms`;
  if (ms < 60_000) return `${(ms / 1000).toFixed(1)} s`;
  return span(Math.round(ms / 1000));
}

/** The first part of a UUID, and what stands before it. */
export function shortId(id: string): string {
  const plain = id.startsWith('no_session_') ? id.slice('no_session_'.length) : id;
  return plain.length > 13 ? `${plain.slice(0, 8)}…` : plain;
}

export function span(seconds: number): string {
  if (seconds < 60) return `${seconds} s`;
  if (seconds < 3600) return `${Math.round(seconds / 60)} min`;
  if (seconds < 86400) return `${Math.round(seconds / 3600)} h`;
  return `${Math.round(seconds / 86400)} d`;
}

const hues: Record<string, string> = {
  screen_view: 'blue',
  screen_visit: 'blue',
  screen_transition: 'blue',
  navigation: 'blue',
  tap: 'teal',
  scroll: 'teal',
  gesture: 'teal',
  session_start: 'green',
  session_end: 'green',
  lifecycle: 'green',
  install: 'green',
  identify: 'violet',
  group: 'violet',
  user_property: 'violet',
  iap: 'gold',
  goal: 'gold',
  crash: 'red',
  network: 'slate',
  deep_link: 'pink',
};

/** The colour family of an event type. */
export function hue(type: string): string {
  return hues[type] ?? (type.startsWith('push_') ? 'pink' : 'ink');
}
