// A policy as it is edited: what is in it, what is wrong with it, and how a key is set or taken out.

import { isRecord } from './json';
import type { Policy, PolicyKey } from './types';

const demands: Record<PolicyKey['type'], string> = {
  boolean: 'true or false',
  integer: 'a whole number',
  number: 'a number',
  string: 'a string',
  strings: 'a list of strings',
};

export function fits(value: unknown, type: PolicyKey['type']): boolean {
  switch (type) {
    case 'boolean':
      return typeof value === 'boolean';
    case 'integer':
      return Number.isSafeInteger(value);
    case 'number':
      return typeof value === 'number';
    case 'string':
      return typeof value === 'string';
    case 'strings':
      return Array.isArray(value) && value.every((each) => typeof each === 'string');
  }
}

export function valueOf(policy: Policy, { section, key }: PolicyKey): unknown {
  const values = policy[section];
  const value = isRecord(values) ? values[key] : undefined;
  return value === null ? undefined : value;
}

/** The policy with the key set, or without it for undefined; a section goes with its last key. */
export function withValue(policy: Policy, { section, key }: PolicyKey, value: unknown): Policy {
  const before = policy[section];
  const values: Policy = isRecord(before) ? { ...before } : {};
  if (value === undefined) delete values[key];
  else values[key] = value;
  const after = { ...policy, [section]: values };
  if (Object.keys(values).length === 0) delete (after as Policy)[section];
  return after;
}

/** What is wrong, key by key, in the server's words. */
export function policyProblems(policy: unknown, keys: PolicyKey[]): string[] {
  if (!isRecord(policy)) return ['a policy must be a JSON object'];
  const problems: string[] = [];
  for (const [section, values] of Object.entries(policy)) {
    const known = keys.filter((each) => each.section === section);
    if (known.length === 0) problems.push(`unknown section "${section}"`);
    else if (isRecord(values)) {
      for (const [key, value] of Object.entries(values)) {
        const rule = known.find((each) => each.key === key);
        if (!rule) problems.push(`unknown key "${section}.${key}"`);
        else if (value !== null && !fits(value, rule.type))
          problems.push(`${section}.${key} must be ${demands[rule.type]}`);
      }
    } else if (values !== null) problems.push(`${section} must be an object`);
  }
  return problems;
}

/** A field's text as a value; undefined for none. Throws what is wrong with it. */
export function valueFromText(text: string, type: PolicyKey['type']): unknown {
  if (type === 'strings') {
    const lines = text.split('\n').map((line) => line.trim());
    const filled = lines.filter((line) => line !== '');
    return filled.length === 0 ? undefined : filled;
  }
  if (text.trim() === '') return undefined;
  if (type === 'string') return text;
  const value = Number(text);
  if (!Number.isFinite(value) || !fits(value, type)) throw new Error(`must be ${demands[type]}`);
  return value;
}

export function textFromValue(value: unknown): string {
  if (value === undefined) return '';
  return Array.isArray(value) ? value.join('\n') : String(value);
}
