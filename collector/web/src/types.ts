// What the collector's API answers.

export interface EventRow {
  seq: number;
  event_id?: string;
  batch: number;
  received_at: string;
  event_type: string;
  event_name: string;
  user_id?: string;
  session_id: string;
  device_id: string;
  timestamp?: number;
  valid: boolean;
  problems: string[];
  event: unknown;
}

export interface EventPage {
  events: EventRow[];
  next: number | null;
}

export interface BatchRow {
  id: number;
  received_at: string;
  status: number;
  cause?: string;
  bytes: number;
  events: number;
  stored: number;
  duplicates: number;
  conflicts: number;
  withheld: number;
  invalid: number;
  accepted: number;
  permanent: number;
  transient: number;
  project_id?: string;
  environment?: string;
  sdk_version?: string;
  app_version?: string;
  bundle_id?: string;
  release_id?: string;
  launch?: string;
  sent_at?: string;
  problems: string[];
  policy_exchange: number | null;
  policy_revision: number | null;
}

/** Event id, fate, verdict and problems. */
export type BatchItem = [string, string, string | null, string[]];

export interface BatchDetails extends BatchRow {
  envelope: unknown;
  items: BatchItem[];
  response: unknown;
}

/** A request of the control plane, and what its answer told. Null: nothing that a client can read. */
export interface ExchangeRow {
  id: number;
  received_at: string;
  answered_at: string | null;
  endpoint:
    | 'init'
    | 'recovery'
    | 'config'
    | 'batch'
    | 'resolve'
    | 'validate'
    | 'register'
    | 'screenshot_check'
    | 'screenshot';
  project_id?: string;
  environment?: string;
  app?: string;
  app_version?: string;
  sdk_version?: string;
  status: number;
  cause?: string;
  revision: number | null;
  newest_revision: number;
  paused: boolean | null;
  paused_reason?: string;
  policy: unknown;
  batch: number | null;
  request: unknown;
  response: unknown;
  problems: string[];
}

export type Policy = Record<string, unknown>;

export interface PolicyKey {
  section: string;
  key: string;
  type: 'boolean' | 'integer' | 'number' | 'string' | 'strings';
  default: unknown;
  note: string;
}

/** What the server has decided for a project, as of a revision. */
export interface Settings {
  revision: number;
  policy_revision: number;
  pause_revision: number;
  changed_at: string | null;
  what?: string;
  data_collection: Policy;
  paused: boolean;
  paused_reason?: string;
  release_id?: string;
  app_id?: string;
}

/** How far the newest settings have come, for one app of a project. */
export interface Reach {
  environment: string;
  app: string;
  last_exchange_at: string;
  exchanges: number;
  reached: boolean;
  policy_reached_at: string | null;
  pause_reached_at: string | null;
  last_revision: number | null;
}

export interface Project extends Settings {
  project_id: string;
  reached: Reach[];
}

export interface Installation {
  id: number;
  project_id: string;
  environment: string;
  app: string;
  device_id: string;
  first_seen: string;
  last_seen: string;
  batches: number;
  events: number;
  app_version?: string;
  sdk_version?: string;
  /** How many installations share what was answered to the app. */
  app_installations: number;
}

/** Times `from` and `until` are seconds since 1970, by the host's clock. */
export interface Stretch {
  from: number | null;
  until: number | null;
  events: number;
}

export interface Identity extends Stretch {
  anonymous_id: string | null;
  user_id: string | null;
  first_received_at: string;
  last_received_at: string;
}

export interface Session extends Stretch {
  session_id: string;
  starts: number;
  ends: number;
  users?: string;
  first_batch: number;
  last_batch: number;
}

export interface KeptContext {
  first_seen: string;
  last_seen: string;
  batches: number;
  first_batch: number;
  context: unknown;
}

export interface InstallationBatch {
  id: number;
  received_at: string;
  status: number;
  cause?: string;
  events: number;
  stored: number;
  policy_exchange: number | null;
  policy_revision: number | null;
}

export interface InstallationDetails extends Installation {
  identities: Identity[];
  sessions: Session[];
  contexts: KeptContext[];
  recent_batches: InstallationBatch[];
}

export interface Counts {
  total: number;
  unique: number;
  duplicates: number;
  conflicts: number;
  withheld: number;
  invalid: number;
  batches: number;
  refused: number;
  calls: number;
  sessions: number;
  users: number;
  devices: number;
  by_type: Record<string, number>;
  by_name: Record<string, number>;
  by_session: Record<string, number>;
  by_user: Record<string, number>;
}

export interface Timeline {
  bucket: number;
  from: string;
  until: string;
  points: { t: number; events: number; invalid: number }[];
}

export interface Fault {
  id: number;
  endpoint: string;
  kind: string;
  project?: string;
  revision?: number;
  body?: string;
  status?: number;
  delay_ms?: number;
  hang_ms?: number;
  count?: number;
  every?: number;
  share?: number;
  keep: boolean;
  outcome?: string;
  message?: string;
  struck: number;
  active: boolean;
}

export interface Switches {
  faults: Fault[];
  paused: boolean;
  paused_reason?: string;
}

export interface State {
  version: string;
  address: string;
  data_directory: string;
}

export interface Filter {
  text: string;
  type: string;
  name: string;
  user: string;
  session: string;
  invalid: boolean;
}
