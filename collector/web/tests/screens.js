// What a shop's client tells of screens, in its wire form, and pictures of them.

import { createHash } from 'node:crypto';

import { uuid, visit, wireTime } from './shop.js';

const idOf = (name) => createHash('sha256').update(name).digest('hex').slice(0, 8);

export const screens = ['Sign in', 'Home', 'Offers', 'Product', 'Cart', 'Checkout', 'Thank you', 'Settings'];

const paths = [
  'Sign in,Home,Offers,Product,Cart,Checkout,Thank you,Home',
  'Home,Product,Home,Product,Cart,Product,Cart,Checkout,Cart',
  'Home,Settings,Home,Offers,Product,Offers,Product,Home',
  'Home,Offers,Product,Cart,Home,Settings',
].map((path) => path.split(','));

const candidates = (name) => [
  { text: name, source: 'navTitle', confidence: 0.95 },
  { text: `${name.replace(' ', '')}Page`, source: 'viewControllerType', confidence: 0.3 },
];

/**
 * Four sessions that went on their paths, 31 visits in all: each visit 2 s longer than the one before,
 * with a tap that took 300 ms to lead on. `rename` gives screens other names.
 */
export function walks(end = Date.now(), rename = (name) => name) {
  const [like] = visit(1, end);
  return paths.flatMap((path, walk) => {
    const session_id = uuid(`walk ${walk}`);
    let at = end - (walk + 1) * 600_000;
    let told = 0;
    const tell = (event_type, event_name, properties) => ({
      ...like,
      session_id,
      event_id: uuid(`walk ${walk} ${++told} ${rename('')}`),
      event_type,
      event_name,
      properties,
      timestamp: wireTime(at),
    });
    return path.flatMap((plain, i) => {
      const [name, dwell_ms, isLast] = [rename(plain), 2000 * (i + 1), i + 1 === path.length];
      const events = [
        tell('screen_view', name, {
          screen_class: `${plain.replace(' ', '')}Page`,
          screen_fingerprint: idOf(plain),
          screen_state: plain === 'Cart' && i < 5 ? 'empty' : plain === 'Home' ? 'normal' : 'populated',
          _zarn_name_candidates: candidates(name),
        }),
        tell('screen_visit', name, {
          visit_id: uuid(`visit ${walk} ${i}`),
          entry_index: i,
          screen_id: idOf(plain),
          screen_name: name,
          entered_at: at,
          exited_at: at + dwell_ms,
          dwell_ms,
          tap_count: 1 + (i % 3),
          scroll_count: i % 2,
          exit_reason: isLast ? 'background' : 'forward',
          _zarn_name_candidates: candidates(name),
        }),
      ];
      at += dwell_ms;
      if (!isLast)
        events.push(
          tell('screen_transition', 'screen_transition', {
            duration_ms: 300,
            from_identity_hash: idOf(plain),
            to_identity_hash: idOf(path[i + 1]),
            from_screen: idOf(plain),
            to_screen: idOf(path[i + 1]),
            ts: new Date(at).toISOString(),
          }),
        );
      return events;
    });
  });
}

/** A small JPEG, drawn by the page's browser, as base64. */
export function drawn(page, name, hue) {
  return page.evaluate(
    ([title, colour]) => {
      const canvas = document.createElement('canvas');
      [canvas.width, canvas.height] = [195, 422];
      const draw = canvas.getContext('2d');
      const box = (style, ...at) => ((draw.fillStyle = style), draw.fillRect(...at));
      box('#fbfaf7', 0, 0, 195, 422);
      box(`hsl(${colour} 45% 42%)`, 0, 0, 195, 44);
      draw.fillStyle = '#fff';
      draw.font = '600 15px sans-serif';
      draw.fillText(title, 12, 28);
      for (let y = 60; y < 380; y += 62) {
        box(`hsl(${colour} 30% 90%)`, 12, y, 171, 50);
        box(`hsl(${colour} 35% 70%)`, 18, y + 6, 38, 38);
        box('#555', 66, y + 12, 80, 7);
        box('#aaa', 66, y + 28, 50, 6);
      }
      box('#000', 66, 320, 100, 12);
      return canvas.toDataURL('image/jpeg', 0.6).split(',')[1];
    },
    [name, hue],
  );
}

export const screenshotCheck = (screen_name) => ({
  project_id: 'shop',
  app_id: 'app:example.shop',
  screen_name,
  platform: 'ios',
  sdk_version: '1.0.16',
  bundle_id: 'example.shop',
});

export const screenshot = (screen_name, image_b64) => ({
  ...screenshotCheck(screen_name),
  image_b64,
  width: 195,
  height: 422,
  release_id: 'example.shop@2.4.0',
  device_id: uuid('device 1'),
  anonymous_id: uuid('anonymous 1'),
});
