// Asks the collector.

import { parseExactly } from './json';
import type {
  Answers,
  CrashReport,
  LinksReport,
  NetworkReport,
  PushReport,
  ReportScope,
} from './report_types';
import type { FlowReport, ScreensReport } from './screen_types';
import type {
  BatchDetails,
  BatchRow,
  Counts,
  EventPage,
  EventRow,
  ExchangeRow,
  Filter,
  Installation,
  InstallationDetails,
  PolicyKey,
  Project,
  Settings,
  State,
  Switches,
  Timeline,
} from './types';

const root = '/api/collector/';

export class ApiError extends Error {}

async function ask<T>(method: string, path: string, body?: unknown): Promise<T> {
  const request: RequestInit = { method };
  if (body !== undefined) {
    request.body = JSON.stringify(body);
    request.headers = { 'Content-Type': 'application/json' };
  }
  const response = await fetch(root + path, request);
  const answer = parseExactly(await response.text()) as T & { message?: string };
  if (!response.ok) throw new ApiError(answer.message ?? `status ${response.status}`);
  return answer;
}

function query(parameters: Record<string, string | number | boolean | undefined>): string {
  const used = new URLSearchParams();
  for (const [name, value] of Object.entries(parameters)) {
    if (value !== undefined && value !== '') used.set(name, String(value));
  }
  const text = used.toString();
  return text === '' ? '' : `?${text}`;
}

function filterParameters(filter: Filter): Record<string, string | undefined> {
  const { text, type, name, user, session, invalid } = filter;
  return { text, type, name, user, session, valid: invalid ? 'false' : undefined };
}

const projectPath = (project: string): string => `projects/${encodeURIComponent(project)}`;

export const api = {
  state: () => ask<State>('GET', 'state'),
  counts: () => ask<Counts>('GET', 'counts'),
  timeline: (span: number) => ask<Timeline>('GET', `timeline${query({ span })}`),
  events: (filter: Filter, page: { before?: number; limit: number }) =>
    ask<EventPage>('GET', `events${query({ ...filterParameters(filter), ...page })}`),
  event: (id: string) => ask<EventRow>('GET', `events/${encodeURIComponent(id)}`),
  batches: (page: { before?: number; limit: number }) =>
    ask<{ batches: BatchRow[]; next: number | null }>('GET', `batches${query(page)}`),
  batch: (id: number) => ask<BatchDetails>('GET', `batches/${id}`),
  calls: () => ask<{ calls: ExchangeRow[] }>('GET', 'calls'),
  exchanges: (of: { project?: string; environment?: string; app?: string; limit?: number }) =>
    ask<{ exchanges: ExchangeRow[] }>('GET', `exchanges${query(of)}`),
  policyKeys: () => ask<PolicyKey[]>('GET', 'policy-keys'),
  projects: () => ask<{ projects: Project[] }>('GET', 'projects'),
  changes: (project: string) => ask<{ changes: Settings[] }>('GET', `${projectPath(project)}/changes`),
  editProject: (project: string, settings: Record<string, unknown>) =>
    ask<Project>('PUT', projectPath(project), settings),
  pauseProject: (project: string, reason: string) =>
    ask<Project>('POST', `${projectPath(project)}/pause`, { reason }),
  resumeProject: (project: string) => ask<Project>('POST', `${projectPath(project)}/resume`),
  resetProject: (project: string) => ask<Project>('DELETE', projectPath(project)),
  answers: (project: string) => ask<Answers>('GET', `${projectPath(project)}/answers`),
  setAnswers: (project: string, answers: Partial<Answers>) =>
    ask<Answers>('PUT', `${projectPath(project)}/answers`, answers),
  networkReport: (of: ReportScope) => ask<NetworkReport>('GET', `reports/network${query({ ...of })}`),
  linksReport: (of: ReportScope) => ask<LinksReport>('GET', `reports/links${query({ ...of })}`),
  pushReport: (of: ReportScope) => ask<PushReport>('GET', `reports/push${query({ ...of })}`),
  crashReport: (of: ReportScope) => ask<CrashReport>('GET', `reports/crashes${query({ ...of })}`),
  screensReport: (of: ReportScope) => ask<ScreensReport>('GET', `reports/screens${query({ ...of })}`),
  flowReport: (of: ReportScope) => ask<FlowReport>('GET', `reports/flow${query({ ...of })}`),
  removeScreenshots: (project: string) =>
    ask<{ removed: number }>('DELETE', `${projectPath(project)}/screenshots`),
  screenshotPath: (sha256: string) => `${root}screenshots/${encodeURIComponent(sha256)}`,
  installations: () => ask<{ installations: Installation[] }>('GET', 'installations'),
  installation: (id: number) => ask<InstallationDetails>('GET', `installations/${id}`),
  switches: () => ask<Switches>('GET', 'faults'),
  addFault: (fault: Record<string, unknown>) => ask<Switches>('POST', 'faults', fault),
  removeFault: (id: number) => ask<Switches>('DELETE', `faults/${id}`),
  clearFaults: () => ask<Switches>('DELETE', 'faults'),
  pause: (reason: string) => ask<Switches>('POST', 'pause', { reason }),
  resume: () => ask<Switches>('POST', 'resume'),
  reset: () => ask<unknown>('POST', 'reset'),
};
