// Screens, their pictures and the ways between them in a real browser.

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';

import { useViewer } from './harness.js';
import { drawn, screens, screenshot, screenshotCheck, walks } from './screens.js';
import { uuid } from './shop.js';

describe('screens', { timeout: 120_000 }, () => {
  let collector;
  let page;
  const { open, shows } = useViewer((viewer) => ({ collector, page } = viewer));
  const cardOf = (name) => page.locator(`.screen-card[data-key="${name}"]`);
  const node = (name) => page.locator(`.flow-node[data-screen="${name}"]`);
  const way = (from, to) => page.locator(`.flow-way[data-from="${from}"][data-to="${to}"]`);
  const upload = async (key, title = key) =>
    collector.post('/api/sdk/screenshot', screenshot(key, await drawn(page, title, 40)));
  const exists = async (key) =>
    (await collector.post('/api/sdk/screenshot/check', screenshotCheck(key))).exists;

  it('say so while there is nothing to tell', async () => {
    await open('Screens');
    await shows('No screen told yet');
    await open('Flow');
    await shows('No flow told yet');
  });

  it('stand in a gallery with what they are used for', async () => {
    await open('Screens');
    await collector.deliver(walks());
    await cardOf('Cart').waitFor();
    assert.equal(await page.locator('.screen-card').count(), screens.length);
    assert.equal(await page.locator('.screen-blank').count(), screens.length);
    assert.match(await cardOf('Cart').textContent(), /5 views · 10\.0 s · 9 tapsempty 3populated 2/);
    assert.match(await page.locator('.screen-card').first().textContent(), /Home9 views/);
  });

  it('show their pictures as soon as they arrive', async () => {
    assert.equal(await exists('Cart_populated'), false);
    assert.deepEqual(await upload('Cart_populated'), { stored: true });
    await upload('Cart_empty');
    await upload('Thank_you_populated');
    await upload('Gone_normal');
    const image = cardOf('Cart').locator('img');
    await image.waitFor();
    assert.equal(await image.evaluate((img) => img.decode().then(() => img.naturalWidth)), 195);
    await cardOf('Cart').getByText('2 pictures').waitFor();
    await cardOf('Thank you').locator('img').waitFor();
    await page.getByRole('region', { name: 'Other pictures' }).getByText('Gone_normal').waitFor();
    assert.equal(await exists('Cart_populated'), true);
  });

  it('tell all that is known of one', async () => {
    await cardOf('Cart').click();
    const details = page.getByRole('article', { name: 'Cart', exact: true });
    await details.getByText('CartPage', { exact: true }).first().waitFor();
    await details.getByRole('img', { name: 'Cart_empty, empty' }).waitFor();
    assert.equal(await details.locator('figure').count(), 2);
    await details.getByText('195 × 422').first().waitFor();
    const from = details.getByRole('region', { name: 'Came from' });
    assert.deepEqual(await from.locator('li').allTextContents(), ['Product4', 'Checkout1']);
    assert.match(await details.locator('tbody').first().textContent(), /CartnavTitle0\.955CartPage/);
    assert.equal(await details.locator('table').nth(1).locator('tbody tr').count(), 5);
    await from.getByRole('button', { name: 'Product' }).click();
    await page.getByRole('article', { name: 'Product', exact: true }).waitFor();
    assert.match(page.url(), /screen=Product/);
    await page.keyboard.press('Escape');
    await page.locator('.screens:not(.inspecting)').waitFor();
  });

  it('are asked for pictures as it is set, and forget them', async () => {
    await page.getByRole('button', { name: 'shop', exact: true }).click();
    const wish = page.getByLabel('Pictures are');
    await wish.selectOption('Pictures are taken every time');
    await page.waitForFunction(async () => {
      const answers = await (await fetch('/api/collector/projects/shop/answers')).json();
      return answers.screenshot_exists === false;
    });
    assert.equal(await exists('Cart_populated'), false);
    await wish.selectOption('Pictures are taken where missing');
    page.once('dialog', (dialog) => dialog.accept());
    await page.getByRole('button', { name: 'Forget pictures' }).click();
    await page.getByText('0 pictures').waitFor();
    assert.equal(await exists('Cart_populated'), false);
    await upload('Cart_populated');
  });

  it('are joined by the ways that people went', async () => {
    await open('Flow');
    await node('Cart').waitFor();
    assert.equal(await page.locator('.flow-node').count(), screens.length);
    assert.equal(await page.locator('.flow-way').count(), 15);
    assert.equal(
      await node('Cart').getAttribute('aria-label'),
      'Cart, 5 views, 5 visits, 10.0 s median stay, 9 taps',
    );
    assert.equal(await node('Cart').locator('image').count(), 1);
    assert.equal(
      await way('Product', 'Cart').locator('title').textContent(),
      'Product to Cart: 4 times, 300 ms from tap to arrival',
    );
    const kind = async (from, to) =>
      (await way(from, to).getAttribute('class')).match(/onward|back|beside/)[0];
    assert.equal(await kind('Cart', 'Checkout'), 'onward');
    assert.equal(await kind('Thank you', 'Home'), 'back');
    const wide = async (from, to) =>
      Number(await way(from, to).locator('.flow-line').getAttribute('stroke-width'));
    assert.ok((await wide('Product', 'Cart')) > (await wide('Cart', 'Home')));
    const first = page.getByRole('region', { name: 'Ways' }).locator('tbody tr').first();
    assert.deepEqual(await first.locator('td').allTextContents(), [
      'Offers',
      'Product',
      '4',
      '300 ms',
      '4',
      '4',
    ]);
  });

  it('stand out with their neighbours when they have the focus, and lead to their page', async () => {
    await node('Checkout').focus();
    await page.locator('.has-focus').waitFor();
    const lit = await page
      .locator('.flow-node.in-focus')
      .evaluateAll((all) => all.map((each) => each.dataset.screen));
    assert.deepEqual(lit.sort(), ['Cart', 'Checkout', 'Thank you']);
    assert.equal(await page.locator('.flow-way.in-focus').count(), 3);
    await page.keyboard.press('Enter');
    await page.getByRole('article', { name: 'Checkout', exact: true }).waitFor();
    await page.getByRole('article').locator('a[href*="session="]').first().click();
    await page.locator('.has-trail').waitFor();
  });

  it('show the trail of one session', async () => {
    const choice = page.getByLabel('Whose way');
    await choice.selectOption({ value: uuid('walk 1') });
    const trail = page.getByRole('region', { name: 'Trail' });
    await trail.locator('li').nth(8).waitFor();
    assert.match(
      await trail.locator('li').nth(1).textContent(),
      /^2Product4\.0 s · 2 taps · 1 scroll · forward/,
    );
    assert.deepEqual(await page.locator('.flow-step').allTextContents(), ['1, 3', '2, 4, 6', '5, 7, 9', '8']);
    assert.equal(await page.locator('.flow-way.on-trail').count(), 6);
    await page.reload();
    await page.locator('.flow-step').first().waitFor();
    await choice.selectOption({ label: 'All sessions' });
    await trail.waitFor({ state: 'detached' });
    await page.goto(`${collector.address}/#/flow?session=long-gone`);
    await shows('the wanted one is not among the newest');
  });

  it('are told as text, whatever their names are', async () => {
    await collector.deliver(walks(Date.now(), (name) => `<img src=x onerror=alert(1)> "${name}'`));
    await node('Home').waitFor();
    await page.waitForFunction(() => document.querySelectorAll('.flow-node').length === 16);
    await open('Screens');
    await page.locator('.screen-card').nth(15).click();
    await page.getByRole('article').waitFor();
    assert.equal(await page.locator('img[src="x"]').count(), 0);
  });

  it('keep apart when there are many of them, on a phone too', async () => {
    const [like] = walks().filter((each) => each.event_type === 'screen_visit');
    const path = Array.from({ length: 400 }, (_, i) => (i % 5 === 4 ? 0 : (i * i * 7) % 71));
    await collector.post('/api/collector/reset');
    await collector.deliver(
      path.map((screen, i) => ({
        ...like,
        event_id: uuid(`many ${i}`),
        event_name: `Screen ${screen}`,
        properties: {
          ...like.properties,
          screen_id: `${screen}`,
          screen_name: `Screen ${screen}`,
          entry_index: i,
        },
      })),
    );
    await open('Flow');
    await page.waitForFunction(() => document.querySelectorAll('.flow-node').length > 30);
    const overlaps = await page.locator('.flow-node > rect').evaluateAll((rects) => {
      const boxes = rects.map((each) => each.getBBox());
      const meet = (a, b) => Math.abs(a.x - b.x) < a.width && Math.abs(a.y - b.y) < a.height;
      return boxes.filter((a, i) => boxes.some((b, k) => k > i && meet(a, b))).length;
    });
    assert.equal(overlaps, 0);
    await shows('rarer ways too');
    await page.setViewportSize({ width: 390, height: 844 });
    assert.ok(
      await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth),
      'no page scroll',
    );
    assert.deepEqual(page.complaints, []);
  });
});
