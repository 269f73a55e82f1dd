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
}

/** Event id, fate, verdict and problems. */
export type BatchItem = [string, string, string | null, string[]];

export interface BatchDetails extends BatchRow {
  envelope: unknown;
  items: BatchItem[];
  response: unknown;
}

export interface CallRow {
  id: number;
  received_at: string;
  endpoint: string;
  status: number;
  cause?: string;
  request: unknown;
  response: unknown;
  problems: string[];
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
