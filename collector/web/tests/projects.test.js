// Projects and installations in a real browser: what clients are to do, and what they were told.

import assert from 'node:assert/strict';
import { before, describe, it } from 'node:test';

import { useViewer } from './harness.js';
import { context, visit } from './shop.js';

const project = '/api/collector/projects/shop';

describe('projects', { timeout: 120_000 }, () => {
  let collector;
  let page;
  const { shows } = useViewer((viewer) => ({ collector, page } = viewer));
  const state = (name, value) =>
    page.getByRole('radiogroup', { name }).getByRole('radio', { name: value, exact: true });
  const json = () => page.getByRole('textbox', { name: 'Policy as JSON' });
  const apply = () => page.getByRole('button', { name: 'Apply' });
  const reach = () => page.getByRole('status', { name: 'Reach' });

  before(() => page.getByRole('link', { name: 'Projects' }).click());

  it('opens the first project that a client names', async () => {
    await shows('No project yet');
    await collector.start();
    await page.locator('.pick[data-project="shop"]').waitFor();
    await shows('As by default: never changed.');
    const { length } = await collector.get('/api/collector/policy-keys');
    const fields = await page.locator('.policy-row').count();
    assert.equal(fields, length);
    assert.equal(await state('core.sessions', 'absent: true').getAttribute('aria-checked'), 'true');
    assert.equal(await page.getByLabel('screenshots.quality').getAttribute('placeholder'), 'absent: 40');
  });

  it('edits one policy as a form and as JSON', async () => {
    await state('core.sessions', 'false').click();
    await page.getByLabel('screenshots.quality').fill('30');
    await page.getByLabel('network.hostAllowlist').fill('a.example\nb.example');
    await shows('Not applied yet');
    assert.deepEqual(JSON.parse(await json().inputValue()), {
      core: { sessions: false },
      screenshots: { quality: 30 },
      network: { hostAllowlist: ['a.example', 'b.example'] },
    });
    await json().fill('{"core": {"sessions": true}, "network": {"sampleRate": 12.5}}');
    assert.equal(await state('core.sessions', 'true').getAttribute('aria-checked'), 'true');
    assert.equal(await page.getByLabel('network.sampleRate').inputValue(), '12.5');
    assert.equal(await page.getByLabel('screenshots.quality').inputValue(), '');
    await state('core.sessions', 'absent: true').click();
    assert.deepEqual((await collector.get(project)).data_collection, {});
    await apply().click();
    await shows('As the server has it');
    assert.deepEqual((await collector.get(project)).data_collection, { network: { sampleRate: 12.5 } });
  });

  it('says what is wrong and applies none of it', async () => {
    await page.getByLabel('network.sampleRate').fill('often');
    await shows('must be a number');
    assert.ok(await apply().isDisabled());
    await page.getByLabel('network.sampleRate').fill('20');
    assert.ok(await apply().isEnabled());
    for (const [text, problem] of [
      ['{"core": {"session": true}}', 'unknown key "core.session"'],
      ['{"core": {"sessions": "yes"}}', 'core.sessions must be true or false'],
      ['{"screenshots": {"quality": 1.5}}', 'screenshots.quality must be a whole number'],
      ['{"core": ', 'JSON'],
    ]) {
      await json().fill(text);
      await page.locator('.raw-problems', { hasText: problem }).waitFor();
      assert.ok(await apply().isDisabled(), text);
    }
    await page.getByRole('button', { name: 'Discard' }).click();
    await shows('As the server has it');
    assert.equal((await collector.get(project)).revision, 1);
  });

  it('says when a change reached a client', async () => {
    await reach().getByText('waits until').waitFor();
    await collector.fetchConfig();
    await reach()
      .getByText(/example\.shop · development at \d\d:\d\d:\d\d/)
      .waitFor();

    await page.getByLabel('Reason').fill('stocktaking');
    await page.getByRole('button', { name: 'Pause' }).click();
    await page.locator('.banner', { hasText: 'shop paused' }).waitFor();
    await reach().getByText('waits until').waitFor();
    assert.equal((await collector.deliver(visit(1, Date.now()))).paused, true);
    await reach().getByText('waits until').waitFor({ state: 'detached' });
    await page.getByRole('button', { name: 'Resume' }).click();
    await page.locator('.banner').waitFor({ state: 'hidden' });
    await page.locator('.history', { hasText: 'resumed' }).waitFor();
    assert.equal((await collector.fetchConfig()).paused, false);
  });

  it("spoils one project's answers", async () => {
    await collector.put(project, { data_collection: {} });
    await page.getByRole('button', { name: 'Stale config' }).click();
    await shows('answers the settings before the newest, to shop');
    assert.deepEqual((await collector.fetchConfig()).dataCollection, { network: { sampleRate: 12.5 } });
    await page.locator('[data-exchange]', { hasText: 'fault: stale' }).waitFor();
    await page.getByRole('button', { name: 'Switch off' }).click();
    await page.getByRole('button', { name: 'Recovery without policy' }).click();
    await shows('answers without the policy, to shop');
    assert.equal((await collector.start(true)).data_collection, undefined);
    await page.locator('[data-exchange]', { hasText: 'no policy, not paused' }).waitFor();
    await page.getByRole('button', { name: 'Switch off' }).click();
  });

  it('keeps a draft when the server changes meanwhile', async () => {
    await state('push.enabled', 'false').click();
    await collector.put(project, { data_collection: { core: { errors: false } } });
    await shows('the server has changed meanwhile');
    assert.deepEqual(JSON.parse(await json().inputValue()), { push: { enabled: false } });
    await page.getByRole('button', { name: 'Discard' }).click();
    assert.deepEqual(JSON.parse(await json().inputValue()), { core: { errors: false } });
  });

  it('tells the story of an installation', async () => {
    await page.getByRole('link', { name: 'Installations' }).click();
    const now = Date.now();
    const [first, second] = [visit(3, now - 400_000), visit(6, now)];
    const signedIn = (event) => ({ ...event, user_id: 'user-9', anonymous_id: first[0].anonymous_id });
    await collector.fetchConfig();
    await collector.deliver(first.slice(0, 4));
    await collector.deliver(first.slice(4).map(signedIn), { context: context({ low_memory: true }) });
    await collector.deliver(second.slice(0, 5), { context: undefined });
    await page.locator('.pick', { hasText: first[0].device_id.slice(0, 8) }).click();
    const card = (name) => page.getByRole('region', { name, exact: true });

    await card('Identity').getByText('user-9').waitFor();
    assert.equal(await card('Identity').locator('.identity').count(), 3);
    assert.equal(await page.locator('[data-session]').count(), 2);
    await card('Context').getByText('The newest batch has no context.').waitFor();
    await card('Context').getByText('left out of the batches').waitFor();
    await card('Context').getByText('hardware.low_memory: absent → true').waitFor();
    const { revision } = await collector.get(project);
    assert.equal(await card('Batches').getByText(`under revision ${revision}`).count(), 3);
    await card('Control plane')
      .locator('[data-exchange]', { hasText: `revision ${revision}` })
      .first()
      .click();
    await card('Control plane').getByText('"dataCollection"').first().waitFor();
  });

  it('complains of nothing', () => assert.deepEqual(page.complaints, []));
});
