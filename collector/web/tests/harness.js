// A collector and a browser for a test.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before } from 'node:test';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

import { batch, configPath, init } from './shop.js';

const dist = process.env.ZARN_VIEWER ?? fileURLToPath(new URL('../dist', import.meta.url));

export async function startCollector(...more) {
  const program = process.env.ZARN_COLLECTOR;
  if (!program) throw new Error('ZARN_COLLECTOR must name the collector program');
  const data = mkdtempSync(join(tmpdir(), 'zarn-viewer-'));
  const child = spawn(program, ['--port', '0', '--data', data, '--web', dist, ...more], {
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const address = await new Promise((resolve, reject) => {
    child.stdout.on('data', (text) => resolve(/http:\S+/.exec(String(text))?.[0]));
    child.on('exit', (code) => reject(new Error(`the collector ended with ${code}`)));
  });
  const send = async (method, path, body) => {
    const headers = { 'Content-Type': 'application/json', Accept: 'application/json' };
    if (/^\/api\/sdk\/(batch|config)/.test(path)) headers.Authorization = 'wk_test_shop';
    if (path.startsWith('/api/sdk/screenshot')) headers.Authorization = 'Bearer wk_test_shop';
    const response = await fetch(address + path, {
      method,
      headers,
      ...(body === undefined ? {} : { body: JSON.stringify(body) }),
    });
    return response.json();
  };
  return {
    address,
    post: (path, body) => send('POST', path, body ?? {}),
    get: (path) => send('GET', path),
    put: (path, body) => send('PUT', path, body),
    deliver: (events, more) => send('POST', '/api/sdk/batch', batch(events, more)),
    start: (isRecovery) => send('POST', '/api/sdk/init', init(isRecovery)),
    fetchConfig: () => send('GET', configPath),
    stop: async () => {
      const ended = new Promise((resolve) => child.on('exit', resolve));
      child.kill('SIGTERM');
      const code = await ended;
      rmSync(data, { recursive: true });
      return code;
    },
  };
}

/** Debian's Chromium; without the background flags it looks for hosts of its own. */
export function startBrowser() {
  return chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: [
      '--headless',
      '--no-sandbox',
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
    ],
  });
}

/** A page that fails the test by what it logs or fetches from elsewhere. */
export async function openPage(browser, address, options = {}) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 }, ...options });
  page.complaints = [];
  page.on('console', (message) => message.type() === 'error' && page.complaints.push(message.text()));
  page.on('pageerror', (error) => page.complaints.push(String(error)));
  page.on(
    'request',
    (request) =>
      request.url().startsWith(address) ||
      request.url().startsWith('data:') ||
      page.complaints.push(`asked ${request.url()}`),
  );
  await page.goto(address);
  await page.locator('.is-live').waitFor();
  return page;
}

/** A collector and a page of its viewer for all tests of a suite; `take` gets them before the first. */
export function useViewer(take) {
  const viewer = {};
  before(async () => {
    viewer.collector = await startCollector();
    viewer.browser = await startBrowser();
    viewer.page = await openPage(viewer.browser, viewer.collector.address);
    take(viewer);
  });
  after(async () => {
    await viewer.browser?.close();
    assert.equal(await viewer.collector?.stop(), 0);
  });
  return {
    shows: (text) => viewer.page.getByText(text).first().waitFor({ timeout: 10_000 }),
    open: (name) => viewer.page.getByRole('link', { name, exact: true }).click(),
  };
}
