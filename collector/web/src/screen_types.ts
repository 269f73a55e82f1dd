// What the reports about screens and the ways between them answer.

/** A reference picture; its bytes are under its digest. */
export interface Screenshot {
  /** The key that it is filed under: a name, and mostly a state. */
  screen_name: string;
  state: string | null;
  sha256: string;
  width: number;
  height: number;
  bytes: number;
  received_at: string;
  app_id: string;
  release_id?: string;
}

export interface NameCandidate {
  text: string;
  source: string;
  confidence: number;
  count: number;
}

export interface Neighbour {
  name: string;
  count: number;
}

/** A finished stay on a screen. */
export interface Visit {
  event_id: string;
  entered_at: string;
  entry_index: number;
  dwell_ms: number;
  tap_count: number;
  scroll_count: number;
  exit_reason: string;
}

export interface Screen {
  name: string;
  views: number;
  visits: number;
  dwell_median_ms: number | null;
  dwell_total_ms: number;
  taps: number;
  scrolls: number;
  states: Record<string, number>;
  triggers: Record<string, number>;
  classes: string[];
  fingerprints: string[];
  candidates: NameCandidate[];
  screenshots: Screenshot[];
  came_from: Neighbour[];
  went_to: Neighbour[];
  recent_visits: (Visit & { session_id: string })[];
}

export interface ScreensReport {
  screen_count: number;
  screens: Screen[];
  other_screenshots: Screenshot[];
}

export interface FlowScreen {
  name: string;
  views: number;
  visits: number;
  dwell_median_ms: number | null;
  taps: number;
  scrolls: number;
  starts: number;
  ends: number;
  /** The digest of a picture. */
  screenshot: string | null;
}

export interface Way {
  from: string;
  to: string;
  count: number;
  visits: number;
  transitions: number;
  median_ms: number | null;
}

export interface Session {
  session_id: string;
  device_id: string;
  started_at: string;
  visit_count: number;
  visits: (Visit & { name: string })[];
}

export interface FlowReport {
  visit_count: number;
  transition_count: number;
  screen_count: number;
  session_count: number;
  screens: FlowScreen[];
  edges: Way[];
  sessions: Session[];
}
