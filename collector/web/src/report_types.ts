// What the reports answer. Values that a client sent are told as they came.

/** Usually what its name says, but a client may have sent anything, or nothing. */
export type Sent = unknown;

/** What a report is asked about. */
export interface ReportScope {
  /** '' for all. */
  project: string;
  /** Seconds since 1970; undefined for all that has arrived. */
  from: number | undefined;
}

export interface Traffic {
  count: number;
  errors: number;
  request_bytes: number;
  response_bytes: number;
  /** Requests by duration: under 100 ms, 300 ms, 1 s, 3 s, and the longer ones. */
  latency: number[];
}

export interface Route extends Traffic {
  route: string;
  statuses: Record<string, number>;
}

export interface Host extends Traffic {
  host: string;
  routes: Route[];
}

export interface DiagnosticRequest {
  event_id: string;
  time: string;
  url: Sent;
  method: Sent;
  status_code: Sent;
  duration: Sent;
  request_bytes: Sent;
  response_bytes: Sent;
  dns_ms: Sent;
  connect_ms: Sent;
  ttfb_ms: Sent;
}

export interface NetworkReport {
  total_requests: number;
  dropped_records: number;
  dropped_routes: number;
  summaries: number;
  hosts: Host[];
  diagnostics: DiagnosticRequest[];
}

export interface DeepLink {
  event_id: string;
  time: string;
  device_id: string;
  link_host: Sent;
  link_path_hash: Sent;
  source: Sent;
  is_deferred: Sent;
  link_id: Sent;
  zarn_click_id: Sent;
  utm: Record<string, Sent>;
}

export interface Resolve {
  time: string;
  has_click_id: boolean;
  has_clipboard_token: boolean;
  /** Null: the client got nothing that it could read. */
  resolved: boolean | null;
  link_id: Sent;
  campaign: Sent;
  status: number;
  cause?: string | null;
}

export interface Install {
  event_id: string;
  time: string;
  device_id: string;
  app_version: Sent;
  zarn_click_id: Sent;
}

export interface Validation {
  time: string;
  install_id: Sent;
  device_id: Sent;
  /** The word that was answered. */
  status: string | null;
  cause?: string | null;
}

export interface LinksReport {
  events: DeepLink[];
  by_source: Record<string, number>;
  by_campaign: { campaign: string; count: number }[];
  resolves: Resolve[];
  installs: Install[];
  validations: Validation[];
}

export interface Campaign {
  campaign_id: string;
  received: number;
  opened: number;
  dismissed: number;
  actions: number;
  attributed_events: number;
}

export interface Push {
  push_id: string;
  provider: Sent;
  campaign_id: Sent;
  received_at: string | null;
  opened_at: string | null;
  time_to_open_ms: Sent;
  outcome: string;
  content_hash: Sent;
  title: Sent;
  attributed_events: number;
}

export interface PushToken {
  time: string;
  device_id: Sent;
  provider: Sent;
  token_sha256: Sent;
  status: number;
  cause?: string | null;
}

export interface PushReport {
  funnel: { received: number; silent: number; opened: number; dismissed: number; actions: number };
  campaigns: Campaign[];
  pushes: Push[];
  attributed: { event_name: string; count: number }[];
  permissions: { status: string; count: number }[];
  tokens: PushToken[];
}

export interface Crash {
  event_id: string;
  time: string;
  kind: string;
  signal_name: Sent;
  signal_code: Sent;
  termination_reason: Sent;
  app_version: Sent;
  os_version: Sent;
  crash_timestamp: Sent;
  stack_trace: Sent;
  frozen_ms: Sent;
  device_id: string;
}

export interface CrashReport {
  crashes: Crash[];
}

/** What a link request is answered. */
export interface LinkAnswer {
  match_method?: string;
  match_confidence?: number;
  campaign?: string;
  media_source?: string;
  link?: { id?: string; target_path?: string };
}

export interface LinkRule {
  zarn_click_id?: string;
  clipboard_token?: string;
  /** Null: unresolved. */
  answer: LinkAnswer | null;
}

/** What the endpoints for links, installs, push tokens and screenshots answer in a project. */
export interface Answers {
  links: LinkRule[];
  /** For links that no rule names; null: unresolved. */
  defaultLink: LinkAnswer | null;
  validation_status: string;
  register_status: number;
  /** Null: as it is. */
  screenshot_exists: boolean | null;
  screenshot_status: number;
}
