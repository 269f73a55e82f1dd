// JSON with its numbers as they came: 59.90 stays 59.90, and no integer is too long.

export class ExactNumber {
  constructor(readonly text: string) {}
}

type Reviver = (this: unknown, key: string, value: unknown, context?: { source?: string }) => unknown;

const keepNumbers: Reviver = (_key, value, context) => {
  if (typeof value !== 'number' || context?.source === undefined) return value;
  return String(value) === context.source ? value : new ExactNumber(context.source);
};

export function parseExactly(text: string): unknown {
  return JSON.parse(text, keepNumbers as Parameters<typeof JSON.parse>[1]);
}

export function isRecord(value: unknown): value is Record<string, unknown> {
  return (
    typeof value === 'object' && value !== null && !Array.isArray(value) && !(value instanceof ExactNumber)
  );
}

/** Text of the value, indented. */
export function prettyJson(value: unknown, indent = ''): string {
  if (value instanceof ExactNumber) return value.text;
  const deeper = indent + '  ';
  if (Array.isArray(value)) {
    if (value.length === 0) return '[]';
    return `[\n${value.map((each) => deeper + prettyJson(each, deeper)).join(',\n')}\n${indent}]`;
  }
  if (isRecord(value)) {
    const members = Object.entries(value).map(
      ([key, each]) => `${deeper}${JSON.stringify(key)}: ${prettyJson(each, deeper)}`,
    );
    return members.length === 0 ? '{}' : `{\n${members.join(',\n')}\n${indent}}`;
  }
  return JSON.stringify(value) ?? 'null';
}

/** A short text of a value, for a list. */
export function briefly(value: unknown): string {
  if (typeof value === 'string') return value;
  if (value instanceof ExactNumber) return value.text;
  if (Array.isArray(value)) return `[${value.length}]`;
  if (isRecord(value)) return '{…}';
  return String(value);
}
