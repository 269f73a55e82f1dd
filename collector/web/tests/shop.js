// A small shop's events in their wire form, made from a seed so that every run is the same.

import { createHash } from 'node:crypto';

export const uuid = (text) =>
  createHash('sha256')
    .update(text)
    .digest('hex')
    .slice(0, 32)
    .toUpperCase()
    .replace(/^(.{8})(.{4})(.{4})(.{4})/, '$1-$2-$3-$4-');

function randomOf(seed) {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let x = Math.imul(state ^ (state >>> 15), state | 1);
    x ^= x + Math.imul(x ^ (x >>> 7), x | 61);
    return ((x ^ (x >>> 14)) >>> 0) / 4294967296;
  };
}

const products = [
  ['Oak desk lamp', 'Lighting', 89.9],
  ['Linen cushion', 'Textiles', 34.5],
  ['Stoneware mug', 'Kitchen', 18],
  ['Walnut tray', 'Kitchen', 46],
  ['Wool throw', 'Textiles', 129],
  ['Brass hook', 'Hallway', 12.5],
];
const people = ['user-1042', 'user-2210', 'user-3377', undefined];

export const wireTime = (ms) => new Date(ms).toISOString().replace(/\.\d+Z$/, 'Z');

/** One visit: some thirty events of one person, the last of them at `end`. */
export function visit(number, end) {
  const random = randomOf(number * 7919);
  const pick = (list) => list[Math.floor(random() * list.length)];
  const user = people[number % people.length];
  const session = uuid(`session ${number}`);
  const steps = [
    ['session_start', 'session_start', { reason: 'launch' }],
    ['screen_view', 'Home', { from: 'launch' }],
  ];
  for (let i = 0; i < 3 + Math.floor(random() * 4); ++i) {
    const [title, category, price] = pick(products);
    steps.push(['tap', 'product_card', { product: title, position: Math.floor(random() * 12) }]);
    steps.push(['screen_view', 'Product', { product: title, category, price, currency: 'EUR' }]);
    if (random() < 0.6)
      steps.push([
        'custom',
        'add_to_cart',
        { product: title, price, quantity: 1 + Math.floor(random() * 2), colours: ['natural', 'white'] },
      ]);
    steps.push([
      'network',
      'network_summary',
      { host: 'api.shop.example', route: '/products/:id', count: 4, p95_ms: 118.4 },
    ]);
  }
  steps.push(['screen_view', 'Cart', { items: 2, total: 124.4, coupon: null }]);
  if (user) steps.push(['identify', 'identify', { plan: 'member', since: '2024-03-02' }]);
  if (random() < 0.7)
    steps.push(
      ['iap', 'purchase', { amount: 124.4, currency: 'EUR', items: 2, express: random() < 0.5 }],
      ['goal', 'first_order', { value: 124.4 }],
    );
  return steps.map(([event_type, event_name, properties], i) => ({
    event_id: uuid(`event ${number} ${i}`),
    device_id: uuid(`device ${number % 3}`),
    anonymous_id: uuid(`anonymous ${number % 3}`),
    ...(user ? { user_id: user } : {}),
    session_id: session,
    fingerprint: createHash('sha256')
      .update(String(number % 3))
      .digest('hex'),
    event_type,
    event_name,
    properties,
    timestamp: wireTime(end - (steps.length - 1 - i) * 4000),
    context: {
      platform: 'ios',
      device_model: 'x86_64',
      os_version: '12',
      app_version: '2.4.0',
      locale: 'en_GB',
      timezone: 'Europe/Oslo',
      screen_width: 1920,
      screen_height: 1080,
      connection_type: 'wifi',
      battery_level: 0.82,
      is_charging: false,
    },
  }));
}

/** A whole context; `hardware` adds to its hardware. */
export function context(hardware = {}) {
  return {
    device: {
      family: 'PC',
      model: 'x86_64',
      brand: 'generic',
      type: 'phone',
      screen_width_px: 1920,
      screen_height_px: 1080,
      screen_density: 1,
      orientation: 'landscape',
      device_hash: createHash('sha256').update('device').digest('hex'),
      device_class: 'high',
      is_simulator: false,
    },
    os: { name: 'Linux', version: '12' },
    runtime: { language: 'en', languages: ['en', 'nb'], timezone: 'Europe/Oslo' },
    hardware: {
      memory_gb: 16,
      cpu_cores: 8,
      max_touch_points: 5,
      processor_count: 8,
      brand: 'generic',
      manufacturer: 'generic',
      ...hardware,
    },
    app: {
      version: '2.4.0',
      build: '7',
      bundle_id: 'example.shop',
      name: 'Shop',
      start_time: '2026-01-31T09:00:00.000Z',
    },
    culture: { locale: 'en_GB', calendar: 'gregorian', uses_24h_format: true },
  };
}

const client = {
  project_id: 'shop',
  api_key: 'wk_test_shop',
  platform: 'ios',
  environment: 'development',
  sdk_version: '1.0.16',
  app_version: '2.4.0',
  bundle_id: 'example.shop',
};

export function batch(events, more = {}) {
  return {
    ...client,
    release_id: 'example.shop@2.4.0',
    context: context(),
    batch: events,
    sent_at: wireTime(Date.now()),
    ...more,
  };
}

/** The body of an init; that of a recovering client has no build. */
export function init(isRecovery = false) {
  return isRecovery ? client : { ...client, build: '7' };
}

export const configPath =
  '/api/sdk/config?project_id=shop&platform=ios&bundle_id=example.shop&environment=development' +
  '&sdk_version=1.0.16';
