// The live feed, with its connection's state.

export type LiveEvent = 'batch' | 'exchange' | 'project' | 'faults' | 'reset' | 'lagged';
type Listener = () => void;

const listeners = new Map<LiveEvent | 'open', Listener[]>();
const stateListeners: ((connected: boolean) => void)[] = [];

export function on(event: LiveEvent | 'open', listener: Listener): void {
  listeners.set(event, [...(listeners.get(event) ?? []), listener]);
}

export function onConnection(listener: (connected: boolean) => void): void {
  stateListeners.push(listener);
}

function tell(event: LiveEvent | 'open'): void {
  for (const listener of listeners.get(event) ?? []) listener();
}

export function connect(): void {
  const source = new EventSource('/api/collector/live');
  // The browser connects again by itself; whatever was missed is asked for on `open`.
  source.onopen = () => {
    stateListeners.forEach((listener) => listener(true));
    tell('open');
  };
  source.onerror = () => {
    stateListeners.forEach((listener) => listener(false));
    if (source.readyState === EventSource.CLOSED) setTimeout(connect, 2000);
  };
  for (const event of ['batch', 'exchange', 'project', 'faults', 'reset', 'lagged'] as const) {
    source.addEventListener(event, () => tell(event));
  }
}
