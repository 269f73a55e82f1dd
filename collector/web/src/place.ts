// What follows the view's name in the address: "#/projects?project=shop".

function parameters(): URLSearchParams {
  return new URLSearchParams(location.hash.split('?')[1] ?? '');
}

export function hashParameter(name: string): string | null {
  return parameters().get(name);
}

/** Without an entry of its own in the browser's history. An empty value takes the parameter out. */
export function setHashParameter(name: string, value: string): void {
  const all = parameters();
  if (value === '') all.delete(name);
  else all.set(name, value);
  const text = all.toString();
  history.replaceState(null, '', location.hash.split('?')[0] + (text === '' ? '' : `?${text}`));
}
