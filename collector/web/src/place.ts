// What follows the view's name in the address: "#/projects?project=shop".

function parameters(): URLSearchParams {
  return new URLSearchParams(location.hash.split('?')[1] ?? '');
}

export function hashParameter(name: string): string | null {
  return parameters().get(name);
}

/** Without an entry of its own in the browser's history. */
export function setHashParameter(name: string, value: string): void {
  const all = parameters();
  all.set(name, value);
  history.replaceState(null, '', `${location.hash.split('?')[0]}?${all.toString()}`);
}
