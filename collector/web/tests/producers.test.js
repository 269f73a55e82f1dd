// Requests, links, pushes and crashes in a real browser.

import assert from 'node:assert/strict';
import { createHash, randomUUID } from 'node:crypto';
import { describe, it } from 'node:test';

import { openPage, useViewer } from './harness.js';
import { clickId, crashes, links, pushes, register, requests, resolve, validate } from './producers.js';

// The same events once more, as others.
const again = (events) => events.map((event) => ({ ...event, event_id: randomUUID().toUpperCase() }));

describe('reports', { timeout: 120_000 }, () => {
  let collector;
  let browser;
  let page;
  const { open, shows } = useViewer((viewer) => ({ collector, browser, page } = viewer));
  const card = (name) => page.getByRole('region', { name, exact: true });
  const figure = (label, value) =>
    page
      .locator('.figure', { hasText: label })
      .filter({ has: page.getByText(value, { exact: true }) })
      .waitFor();
  const rowsOf = (name) => card(name).locator('tbody tr');

  it('say so while there is nothing to tell', async () => {
    for (const [name, text] of [
      ['Network', 'No request told yet'],
      ['Links', 'No link told yet'],
      ['Push', 'No push told yet'],
      ['Crashes', 'No crash told'],
    ]) {
      await open(name);
      await shows(text);
    }
  });

  it('count requests by host and route, with their latency and errors', async () => {
    await open('Network');
    await collector.deliver(requests());
    await figure('requests', '103');
    await figure('errors', '13 %');
    await figure('dropped', '3');
    const columns = card('Latency').locator('.column');
    assert.deepEqual(await columns.evaluateAll((all) => all.map((each) => each.title)), [
      '60 requests < 100 ms',
      '24 requests < 300 ms',
      '9 requests < 1 s',
      '3 requests < 3 s',
      '7 requests ≥ 3 s',
    ]);
    const host = page.locator('[data-host="api.shop.example"]');
    await host.getByText('/products/:id').waitFor();
    assert.equal(await page.locator('.host').first().getAttribute('data-host'), 'api.shop.example');
    assert.match(await host.locator('tbody tr').first().textContent(), /\/products\/:id59.*56 2xx, 3 4xx5 %/);
    await host
      .locator('summary')
      .getByRole('img', { name: '< 100 ms: 51, < 300 ms: 18, < 1 s: 6, < 3 s: 1, ≥ 3 s: 0' })
      .waitFor();

    const pay = page.locator('[data-host="pay.shop.example"]');
    await pay.locator('summary').click();
    await pay.getByText('/intents/<b>:id</b>').waitFor();
    await pay.getByText('7 5xx, 3 without an answer').waitFor();
    await collector.deliver(again(requests(Date.now() - 5000)));
    await figure('requests', '206');
    assert.ok(await pay.getByText('14 5xx').isVisible(), 'stays folded out');
  });

  it('show the requests that were told one by one, and lead to their events', async () => {
    const rows = rowsOf('Diagnostic requests');
    assert.equal(await rows.count(), 6);
    assert.deepEqual(
      new Set(await rows.locator('.badge').allTextContents()),
      new Set(['200', '503', 'failed']),
    );
    const slow = rows.filter({ hasText: '182 ms' }).first();
    await slow
      .getByRole('img', { name: '12 ms: name, 31 ms: connect, 77 ms: first byte, 62 ms: rest' })
      .waitFor();
    await slow.locator('a').click();
    await page.locator('.inspector').getByText('GET api.shop.example/products/:id').first().waitFor();
  });

  it('tell links by source and campaign, and set what they are answered', async () => {
    await open('Links');
    await collector.deliver(links());
    await figure('deep links', '4');
    await figure('installs', '1');
    assert.match(await card('Sources').locator('li').first().textContent(), /universalLink.*2/);
    assert.match(await card('Campaigns').locator('li').first().textContent(), /spring.*2/);
    await card('Campaigns').getByText('<i>autumn</i>').waitFor();
    assert.equal(await rowsOf('Deep links').count(), 4);
    await rowsOf('Deep links').getByText('deferred', { exact: true }).waitFor();

    await shows('Pick a project above');
    await page.getByRole('button', { name: 'shop', exact: true }).click();
    const form = page.getByRole('form', { name: 'Answers' });
    const applied = form.getByText('As the server has it');
    await applied.waitFor();
    await form.getByRole('button', { name: 'Add a link' }).click();
    await form.getByRole('button', { name: 'Apply' }).click();
    await form.getByText('neither click id nor clipboard token').waitFor();
    await form.getByLabel('Its value').fill(clickId);
    await form.getByLabel('Campaign').first().fill('spring');
    await form.getByLabel('Confidence').first().fill('0.5');
    await form.getByLabel('Link id').first().fill('l7');
    await form.getByLabel('Installs are').selectOption('invalid_sig');
    await form.getByLabel('Push tokens get').fill('404');
    await form.getByText('Not applied yet').waitFor();
    await form.getByRole('button', { name: 'Apply' }).click();
    await applied.waitFor();
    assert.deepEqual(await collector.get('/api/collector/projects/shop/answers'), {
      links: [
        { zarn_click_id: clickId, answer: { match_confidence: 0.5, campaign: 'spring', link: { id: 'l7' } } },
      ],
      defaultLink: null,
      validation_status: 'invalid_sig',
      register_status: 404,
      screenshot_exists: null,
      screenshot_status: 200,
    });

    const ask = (body) => collector.post('/api/sdk/link/resolve', body);
    assert.equal((await ask(resolve({ zarn_click_id: clickId }))).campaign, 'spring');
    assert.deepEqual(await ask(resolve({ clipboard_token: 'zn:a;exp=1;znt=b' })), { resolved: false });
    await collector.post('/api/sdk/install/validate', validate);
    await figure('of them resolved', '50 %');
    await rowsOf('Resolves').getByText('not resolved').waitFor();
    await rowsOf('Validations').getByText('invalid_sig').waitFor();
  });

  it('keep what is being edited, and refuse what the collector refuses', async () => {
    const form = page.getByRole('form', { name: 'Answers' });
    await form.getByLabel('Push tokens get').fill('200');
    await collector.deliver(again(links()));
    await figure('deep links', '8');
    assert.equal(await form.getByLabel('Push tokens get').inputValue(), '200');
    const problem = form.getByRole('alert');
    for (const [label, text, says] of [
      ['Confidence', 'high', 'Confidence must be a number'],
      ['Push tokens get', '99', 'from 200 to 599'],
      ['Push tokens get', 'none', 'must be a whole number'],
    ]) {
      await form.getByLabel(label).first().fill(text);
      await form.getByRole('button', { name: 'Apply' }).click();
      await problem.filter({ hasText: says }).waitFor();
      await form.getByRole('button', { name: 'Discard' }).click();
    }
    assert.equal(await form.getByLabel('Push tokens get').inputValue(), '404');
  });

  it('follow pushes from their receipt to what came of them', async () => {
    await open('Push');
    await collector.post('/api/sdk/push/register', register);
    await collector.deliver(pushes());
    await figure('received', '5');
    await figure('opened', '40 %');
    await figure('attributed events', '3');
    assert.deepEqual(await card('Funnel').locator('li').allTextContents(), [
      'received5',
      'opened240 %',
      'actions120 %',
      'dismissed120 %',
      'silent1not shown',
    ]);
    assert.match(await rowsOf('Campaigns').first().textContent(), /spring-sale31 33 %113/);
    assert.match(await card('Attribution').locator('li').first().textContent(), /Offer2/);
    await rowsOf('Pushes').filter({ hasText: '4.2 s' }).getByText('opened').waitFor();
    await card('Permissions').getByText('authorized').waitFor();
    const digest = createHash('sha256').update(register.token).digest('hex');
    await rowsOf('Tokens').getByText(digest.slice(0, 16)).waitFor();
    await rowsOf('Tokens').getByText('404').waitFor();
    assert.ok(!(await page.content()).includes(register.token));
  });

  it('show the stack of a crash, whatever it is', async () => {
    await open('Crashes');
    await collector.deliver(crashes());
    const list = page.locator('.crash');
    await list.filter({ hasText: 'shop::Cart::add' }).click();
    const detail = page.locator('.crashes .detail');
    await detail.getByRole('heading', { name: 'SIGSEGV' }).waitFor();
    const first = detail.locator('.thread').first();
    await first.getByText('crashed').waitFor();
    assert.equal(await first.locator('.frame').count(), 3);
    assert.match(
      await first.locator('.frame').first().textContent(),
      /shop::Cart::add\(shop::Product const&\) \+ 0x4a12f/,
    );

    await page.keyboard.press('k');
    await detail.getByText('out of stock').waitFor();
    await detail.locator('pre', { hasText: '<script>poll</script>' }).waitFor();
    await page.keyboard.press('k');
    await detail.getByRole('heading', { name: 'hang of 2.3 s' }).waitFor();
    await detail.getByText('801 frames').waitFor();
    await detail.getByText('301 more frames below').waitFor();
    await page.keyboard.press('k');
    await detail.getByText('None was told.').waitFor();
    await page.keyboard.press('Escape');
    await shows('No crash selected');
  });

  it('tell of one project, and of the time that is asked for', async () => {
    await page.goto(`${collector.address}/#/network?project=nowhere`);
    await shows('No request told yet');
    await page.getByRole('button', { name: 'All projects' }).click();
    await figure('requests', '206');
    await page.getByRole('button', { name: '10m', exact: true }).click();
    await page.locator('[aria-pressed="true"]', { hasText: '10m' }).waitFor();
    await figure('requests', '206');
    page.once('dialog', (dialog) => void dialog.accept());
    await page.getByRole('button', { name: 'Forget everything' }).click();
    await shows('No request told yet');
  });

  it('fit a phone, without complaints', async () => {
    await collector.deliver([...requests(), ...links(), ...pushes(), ...crashes()]);
    const phone = await openPage(browser, collector.address, { viewport: { width: 390, height: 844 } });
    for (const [view, content] of [
      ['network', '.host'],
      ['links?project=shop', '.rule'],
      ['push', '.funnel'],
      ['crashes', '.crash'],
    ]) {
      await phone.goto(`${collector.address}/#/${view}`);
      await phone.locator(content).first().waitFor();
      assert.equal(await phone.evaluate(() => document.documentElement.scrollWidth), 390, view);
    }
    const complaints = [...page.complaints, ...phone.complaints].filter(
      (text) => !text.includes('status of 400'),
    );
    assert.deepEqual(complaints, []);
  });
});
