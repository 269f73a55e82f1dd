// What a shop's client tells of requests, links, pushes and crashes, in its wire form.

import { createHash } from 'node:crypto';

import { uuid, visit, wireTime } from './shop.js';

const hash = (text) => createHash('sha256').update(text).digest('hex').slice(0, 16);

/** Makes events of one client, a second apart, the newest a minute before `end` at least. */
function teller(name, end) {
  const [like] = visit(1, end);
  let told = 0;
  return (event_type, event_name, properties) => ({
    ...like,
    event_id: uuid(`${name} ${++told}`),
    event_type,
    event_name,
    properties,
    timestamp: wireTime(end - 90_000 + told * 1000),
  });
}

const slots = ['lt_100ms', 'lt_300ms', 'lt_1s', 'lt_3s', 'gte_3s'];

function routeOf(host, route, status_bucket, latency, request_bytes, response_bytes) {
  return {
    host,
    route,
    status_bucket,
    count: latency.reduce((sum, each) => sum + each, 0),
    request_bytes,
    response_bytes,
    ...Object.fromEntries(slots.map((slot, i) => [slot, latency[i]])),
  };
}

const products = 'api.shop.example';
const summary = (dropped_records, ...routes) => ({
  window_seconds: 30,
  total_requests: routes.reduce((sum, each) => sum + each.count, 0),
  dropped_records,
  dropped_routes: 0,
  routes,
});

/** 103 requests, 13 of them errors. `markup` is part of a route. */
export function requests(end = Date.now(), markup = '<b>:id</b>') {
  const tell = teller('request', end);
  const request = (method, host, route, more) =>
    tell('network', `${method} ${host}${route}`, {
      url: host + route,
      method,
      request_bytes: 210,
      response_bytes: 4100,
      diagnostic: true,
      ...more,
    });
  return [
    tell(
      'network',
      'network_summary',
      summary(
        3,
        routeOf(products, '/products/:id', '2xx', [40, 12, 4, 0, 0], 5600, 5_242_880),
        routeOf(products, '/products/:id', '4xx', [3, 0, 0, 0, 0], 300, 900),
        routeOf(products, '/cart', '2xx', [8, 6, 2, 1, 0], 1700, 52_000),
        routeOf('pay.shop.example', `/intents/${markup}`, '5xx', [0, 0, 1, 2, 4], 4200, 1400),
      ),
    ),
    tell(
      'network',
      'network_summary',
      summary(
        0,
        routeOf('images.shop.example', '/p/:id/large', '2xx', [9, 6, 2, 0, 0], 1700, 9_100_000),
        routeOf('pay.shop.example', `/intents/${markup}`, 'error', [0, 0, 0, 0, 3], 1800, 0),
      ),
    ),
    request('GET', products, '/products/:id', {
      status_code: 200,
      duration: 182,
      dns_ms: 12,
      connect_ms: 31,
      ttfb_ms: 120,
    }),
    request('POST', 'pay.shop.example', '/intents/:id', { status_code: 503, duration: 3240, ttfb_ms: 3100 }),
    request('POST', 'pay.shop.example', '/intents/:id', { status_code: -1, duration: 3010 }),
  ];
}

export const clickId = '3f2504e0-4f89-41d3-9a0c-0305e82c3301';

/** Four deep links, two of them of the campaign "spring", and the install. */
export function links(end = Date.now()) {
  const tell = teller('link', end);
  const link = (link_host, path, source, more) =>
    tell('deep_link', 'deep_link', {
      link_host,
      link_path_hash: hash(path),
      source,
      is_deferred: source.startsWith('deferred'),
      ...more,
    });
  const spring = { utm_campaign: 'spring', utm_source: 'mail' };
  return [
    link('shop.example', '/offers/7', 'universalLink', { zarn_click_id: clickId, ...spring }),
    link('shop.example', '/link/l9', 'universalLink', { link_id: 'l9', ...spring }),
    link('', '/cart', 'customScheme', {}),
    link('shop.example', '/link/deferred', 'deferredClipboard', { utm_campaign: '<i>autumn</i>' }),
    tell('install', 'app_install', { app_version: '2.4.0', build_number: '7', platform: 'ios' }),
  ];
}

/** Five pushes received, one silent; two opened, with three attributed events, one dismissed, one acted on. */
export function pushes(end = Date.now()) {
  const tell = teller('push', end);
  const facts = (n, campaign) => ({
    push_id: uuid(`push ${n}`),
    provider: 'apns',
    payload_keys: ['aps', 'zarn'],
    is_silent: false,
    has_mutable_content: false,
    has_deep_link: true,
    content_mode: 'hash_only',
    zarn_campaign_id: campaign,
    content_hash: hash(`text ${campaign}`),
  });
  const campaigns = ['spring-sale', 'spring-sale', 'spring-sale', 'back-in-stock', 'back-in-stock'];
  const received = campaigns.map((campaign, i) =>
    tell('push_received', 'push_received', {
      ...facts(i, campaign),
      app_state: 'background',
      received_at_ms: end - 60_000,
    }),
  );
  const answered = (type, n, interaction_type, more) =>
    tell(type, type, { ...facts(n, campaigns[n]), interaction_type, ...more });
  const attributed = { attribution_push_id: uuid('push 0'), attribution_campaign_id: 'spring-sale' };
  return [
    ...received,
    tell('push_silent', 'push_silent', { ...facts(9, 'refresh'), is_silent: true, app_state: 'background' }),
    answered('push_open', 0, 'default', { action_identifier: 'default', time_to_open_ms: 4200 }),
    answered('push_open', 3, 'default', { action_identifier: 'default', time_to_open_ms: 94_000 }),
    answered('push_dismissed', 1, 'dismiss', { action_identifier: 'dismiss' }),
    answered('push_action', 2, 'custom_action', { action_identifier: 'remind_me' }),
    tell('screen_view', 'Offer', { ...attributed, attribution_age_ms: 800 }),
    tell('screen_view', 'Offer', { ...attributed, attribution_age_ms: 1900 }),
    tell('iap', 'purchase', { ...attributed, attribution_age_ms: 31_000, amount: 49 }),
    tell('push_permission', 'push_permission', { authorization_status: 'authorized' }),
  ];
}

const frame = (binaryName, symbol, offset) => ({ binaryName, symbol, offset });

const stack = {
  callStacks: [
    { threadAttributed: false, callStackRootFrames: [frame('libc.so.6', 'poll', '0x10e3a0')] },
    {
      threadAttributed: true,
      callStackRootFrames: [
        frame('shop', 'shop::Cart::add(shop::Product const&)', '0x4a12f'),
        frame('shop', 'shop::CartPage::tapped()', '0x39aa0'),
        frame('libc.so.6', '', '0x2724a'),
      ],
    },
  ],
};

// Frames within frames, deeper than any real stack.
function deepStack() {
  let inner = frame('shop', 'innermost', 1);
  for (let i = 0; i < 800; ++i) inner = { binaryName: 'shop', symbol: `s${i}`, subFrames: [inner] };
  return { callStacks: [{ callStackRootFrames: [inner] }] };
}

/** A crash, a crash whose stack was cut, a hang with a very deep stack, and a crash that says nothing. */
export function crashes(end = Date.now()) {
  const tell = teller('crash', end);
  const crash = (more) =>
    tell('crash', 'metric_kit_crash', {
      thread_name: 'main',
      signal_name: 'SIGSEGV',
      signal_code: 11,
      exception_type: -1,
      termination_reason: '',
      stack_trace: JSON.stringify(stack),
      crash_timestamp: new Date(end - 3_600_000).toISOString(),
      historical: true,
      metric_kit: true,
      app_version: '2.4.0',
      os_version: '12',
      ...more,
    });
  const cut = JSON.stringify(stack).replace('poll', '<script>poll</script>').slice(0, 180);
  return [
    crash({}),
    crash({ signal_name: 'SIGABRT', signal_code: 6, termination_reason: 'out of stock', stack_trace: cut }),
    tell('crash', 'hang', {
      thread_name: 'main',
      signal_name: 'hang',
      frozen_ms: 2310,
      stack_trace: JSON.stringify(deepStack()),
      app_version: '2.4.0',
    }),
    tell('crash', 'metric_kit_crash', {}),
  ];
}

const caller = { project_id: 'shop', api_key: 'wk_test_shop' };

export const resolve = (more) => ({ ...caller, ...more });

export const validate = {
  ...caller,
  platform: 'ios',
  sdk_version: '1.0.16',
  install_id: uuid('install'),
  device_id: uuid('device 1'),
  bundle_id: 'example.shop',
  apple_receipt: 'cmVjZWlwdA==',
};

export const register = {
  ...caller,
  device_id: uuid('device 1'),
  user_id: 'user-2210',
  token: 'a0b1c2d3',
  platform: 'ios',
  provider: 'apns',
  app_id: 'app-shop',
  release_id: 'example.shop@2.4.0',
  bundle_id: 'example.shop',
  environment: 'development',
  sdk_version: '1.0.16',
};
