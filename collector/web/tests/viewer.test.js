// The viewer in a real browser, on a real collector.

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';

import { openPage, useViewer } from './harness.js';
import { batch, visit } from './shop.js';

describe('viewer', { timeout: 120_000 }, () => {
  let collector;
  let browser;
  let page;
  const { shows } = useViewer((viewer) => ({ collector, browser, page } = viewer));
  const rows = () => page.locator('.row');

  it('says so while nothing has arrived', async () => {
    await shows('Waiting for the first event');
    assert.match(await page.locator('.snippet').textContent(), new RegExp(collector.address));
  });

  it('shows what arrives at once, newest first', async () => {
    const events = visit(1, Date.now());
    await collector.deliver(events);
    await rows().first().waitFor({ timeout: 5_000 });
    assert.equal(await rows().count(), events.length);
    assert.equal(await rows().first().locator('.name').textContent(), events.at(-1).event_name);
    assert.equal(await page.locator('.figure strong').first().textContent(), String(events.length));
    await page.locator('.bar').first().waitFor();
  });

  it('narrows the list by type, text and user', async () => {
    await collector.deliver(visit(2, Date.now()));
    const { count: taps } = await collector.get('/api/collector/count?type=tap');
    await page.getByLabel('Type', { exact: true }).selectOption('tap');
    await page.waitForFunction((wanted) => document.querySelectorAll('.row').length === wanted, taps);
    assert.deepEqual(new Set(await page.locator('.row .type').allTextContents()), new Set(['tap']));

    await page.getByRole('button', { name: 'Clear filters' }).click();
    await page.getByLabel('Search in events').fill('network_summary');
    const { count: found } = await collector.get('/api/collector/count?text=network_summary');
    await page.waitForFunction((wanted) => document.querySelectorAll('.row').length === wanted, found);

    await page.getByLabel('Search in events').fill('no such thing');
    await shows('No event fits');
    await page.locator('.empty').getByRole('button', { name: 'Clear filters' }).click();
    await page.getByLabel('User').selectOption('user-2210');
    await rows().first().waitFor();
    await page.waitForFunction(() =>
      [...document.querySelectorAll('.row .who')].every((who) => who.textContent.includes('user-2210')),
    );
    await page.getByRole('button', { name: 'Clear filters' }).click();
  });

  it('inspects an event, with its numbers as they came', async () => {
    const [event] = visit(3, Date.now()).slice(-1);
    const body = JSON.stringify(batch([{ ...event, event_name: 'exact', properties: {} }]));
    await fetch(`${collector.address}/api/sdk/batch`, {
      method: 'POST',
      headers: { 'Content-Type': 'application/json', Authorization: 'k' },
      body: body.replace(
        '"properties":{}',
        '"properties":{"big":12345678901234567890,"price":59.90,"html":"<b>x</b>"}',
      ),
    });
    await rows().filter({ hasText: 'exact' }).click();
    const detail = page.locator('.inspector');
    await detail.getByText('12345678901234567890').waitFor();
    await detail.getByText('59.90').waitFor();
    await detail.getByText('"<b>x</b>"').waitFor();
    await detail.getByRole('tab', { name: 'Context' }).click();
    await detail.getByText('"Europe/Oslo"').waitFor();
    await page.keyboard.press('Escape');
    await shows('Nothing selected');
    await page.keyboard.press('j');
    await page.keyboard.press('j');
    assert.equal(await page.locator('.row[aria-selected="true"]').count(), 1);
  });

  it('shows invalid events with the reason', async () => {
    const [event] = visit(4, Date.now());
    await collector.deliver([{ ...event, event_id: 'bad', event_name: 'crooked' }]);
    await page.getByRole('button', { name: 'Invalid · 1' }).click();
    await rows().filter({ hasText: 'crooked' }).click();
    await shows('event_id is no upper-case UUID: "bad"');
    await page.getByRole('button', { name: 'Clear filters' }).click();
  });

  it('keeps the reader in place while new events arrive', async () => {
    for (let i = 10; i < 14; ++i) await collector.deliver(visit(i, Date.now()));
    await page.waitForFunction(() => document.querySelectorAll('.row').length >= 90);
    const scroller = page.locator('.events .scroller');
    await scroller.evaluate((element) => element.scrollTo(0, 600));
    await collector.deliver(visit(20, Date.now()));
    const pill = page.getByRole('button', { name: /new events ↑/ });
    await pill.waitFor();
    assert.equal(await scroller.evaluate((element) => element.scrollTop), 600);
    await pill.click();
    await page.waitForFunction(() => document.querySelector('.events .scroller').scrollTop === 0);
  });

  it('switches faults and the pause, and lists what was answered', async () => {
    await page.getByRole('link', { name: 'Faults' }).click();
    await page.getByLabel('Status').fill('429');
    await page.getByLabel('How often').fill('1');
    await page.getByRole('button', { name: 'Switch on' }).click();
    await shows('answers 429');
    await shows('1 fault switched on');
    assert.equal((await collector.deliver(visit(30, Date.now()))).status, 429);
    await shows('spent');

    await page.getByLabel('Status').fill('9');
    await page.getByRole('button', { name: 'Switch on' }).click();
    await shows('"status" must be a number in [200,599]');
    await page.getByRole('button', { name: 'Switch all off' }).click();
    await shows('Everything works');

    await page.getByLabel('Reason').fill('stocktaking');
    await page.getByRole('button', { name: 'Pause' }).click();
    await shows('Paused: stocktaking');
    assert.deepEqual(await collector.deliver([]), { paused: true, paused_reason: 'stocktaking' });
    await page.getByRole('button', { name: 'Resume' }).click();
    await page.locator('.banner').waitFor({ state: 'hidden' });

    await page.getByRole('link', { name: 'Batches' }).click();
    await page.locator('.batch', { hasText: 'fault: status' }).click();
    await page.locator('.detail').getByText('withheld').first().waitFor();
    await page.locator('.detail').getByText('"fault"').waitFor();
    await page.locator('.batch', { hasText: 'all accepted' }).first().click();
    await page.locator('.items .link').first().click();
    await page.locator('.inspector .facts').getByText('in batch').waitFor();
  });

  it('forgets everything when asked to, and only then', async () => {
    page.once('dialog', (dialog) => void dialog.dismiss());
    await page.getByRole('button', { name: 'Forget everything' }).click();
    assert.ok((await collector.get('/api/collector/counts')).unique > 0);
    page.once('dialog', (dialog) => void dialog.accept());
    await page.getByRole('button', { name: 'Forget everything' }).click();
    await shows('Waiting for the first event');
  });

  it('fits a phone, in the dark, without complaints', async () => {
    const phone = await openPage(browser, collector.address, {
      viewport: { width: 390, height: 844 },
      colorScheme: 'dark',
    });
    await collector.deliver(visit(40, Date.now()));
    await phone.locator('.row').nth(1).click();
    await phone.getByRole('button', { name: 'Back to the list' }).click();
    for (const view of ['events', 'batches', 'installations', 'projects', 'faults']) {
      await phone.goto(`${collector.address}/#/${view}`);
      await phone.waitForTimeout(100);
      assert.equal(await phone.evaluate(() => document.documentElement.scrollWidth), 390, view);
    }
    const paper = await phone.evaluate(() => getComputedStyle(document.body).backgroundColor);
    assert.notEqual(paper, await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
    // The browser itself reports the answers 4xx that the tests provoke.
    const complaints = [...page.complaints, ...phone.complaints].filter(
      (text) => !text.includes('status of 400'),
    );
    assert.deepEqual(complaints, []);
  });
});
