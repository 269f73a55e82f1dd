// Builds elements. Text only ever becomes text, never markup.

type Child = Node | string | number | null | undefined | false;
type Props = Record<string, unknown>;

function apply(element: Element, props: Props): void {
  for (const [name, value] of Object.entries(props)) {
    if (value === undefined || value === null || value === false) continue;
    if (name.startsWith('on') && typeof value === 'function') {
      element.addEventListener(name.slice(2), value as EventListener);
    } else {
      element.setAttribute(name === 'class' ? 'class' : name, value === true ? '' : String(value));
    }
  }
}

function fill(element: Element, children: Child[]): void {
  for (const child of children) {
    if (child === null || child === undefined || child === false) continue;
    element.append(typeof child === 'number' ? String(child) : child);
  }
}

export function h<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  props: Props = {},
  ...children: Child[]
): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  apply(element, props);
  fill(element, children);
  return element;
}

export function svg(tag: string, props: Props = {}, ...children: Child[]): SVGElement {
  const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
  apply(element, props);
  fill(element, children);
  return element;
}

export function icon(path: string, label?: string): SVGElement {
  const shape = svg('path', {
    d: path,
    fill: 'none',
    stroke: 'currentColor',
    'stroke-width': 1.7,
    'stroke-linecap': 'round',
    'stroke-linejoin': 'round',
  });
  return svg(
    'svg',
    { viewBox: '0 0 20 20', class: 'icon', 'aria-hidden': label ? undefined : 'true', 'aria-label': label },
    shape,
  );
}

/** Calls the function at most every `ms`, and once more after the last call. */
export function throttled(ms: number, run: () => void | Promise<void>): () => void {
  let timer: number | undefined;
  let wanted = false;
  const start = () => {
    wanted = false;
    timer = window.setTimeout(() => {
      timer = undefined;
      if (wanted) start();
    }, ms);
    void run();
  };
  return () => {
    wanted = true;
    if (timer === undefined) start();
  };
}
