// Runs the chart page in Chromium: node run.mjs BIN_FOLDER [name of a test]
// Ends with a line "N passed, N failed"; exit status 77 where there is no Chromium.
import { existsSync } from 'node:fs';
import { chromium } from 'playwright-core';
import { chartTests } from './chart_tests.mjs';
import { choiceTests } from './choice_tests.mjs';
import { Host } from './host.mjs';
import { hostTests } from './host_tests.mjs';
import { forgetVisits } from './page_steps.mjs';
import { serveTests } from './serve_tests.mjs';

const SKIPPED = 77;
const WORKERS = 3;
const VIEWPORT = { width: 1440, height: 900 };
const CHROMIUM = ['/usr/bin/chromium', '/usr/bin/chromium-browser', '/usr/bin/google-chrome'];
const CHROMIUM_FLAGS = [
    '--no-sandbox',
    '--disable-gpu',
    '--disable-quic',
    '--no-first-run',
    '--disable-background-networking',
    '--disable-component-update',
    '--disable-sync',
];

// What a page says on the console about a failure that a test asked for.
const EXPECTED_CONSOLE_TEXT =
    /^Failed to load resource: (the server responded with a status of (401|403|500)|net::ERR_BLOCKED_BY_RESPONSE)/;

// A page that one test after the other uses: making one takes longer than most tests. It has a clock
// that they may put forward. Errors of the page and the console go to `errors`.
async function makePage(browser, errors) {
    const page = await browser.newPage({ viewport: VIEWPORT });
    page.on('pageerror', (error) => errors.push(`page: ${error.message}`));
    page.on('console', (message) => {
        const expected = EXPECTED_CONSOLE_TEXT.test(message.text());
        if (message.type() === 'error' && !expected) errors.push(`console: ${message.text()}`);
    });
    page.setDefaultTimeout(30000);
    await page.clock.install();
    return page;
}

// Runs tests of the queue until it is empty; `report` gets the name and the errors of each.
async function work(browser, host, queue, report) {
    const errors = [];
    const page = await makePage(browser, errors);
    await host.start();
    for (let next = queue.shift(); next; next = queue.shift()) {
        const [name, run] = next;
        try {
            await forgetVisits(page, host);
            await page.setViewportSize(VIEWPORT);
            await run(page, host);
        } catch (error) {
            errors.push(error.stack);
        }
        report(name, errors.splice(0));
    }
    host.stop();
}

async function main([binDir, only]) {
    const executablePath = CHROMIUM.find((path) => existsSync(path));
    if (!executablePath) {
        console.log('chromium is not installed: skipped');
        return SKIPPED;
    }
    const browser = await chromium.launch({ executablePath, args: CHROMIUM_FLAGS });
    const all = Object.entries({ ...chartTests, ...choiceTests, ...hostTests, ...serveTests });
    const queue = all.filter(([name]) => !only || name === only);
    const pages = new Map();
    let failed = 0;
    const report = (name, errors) => {
        console.log(`${errors.length === 0 ? 'ok    ' : 'FAILED'} ${name}`);
        for (const error of errors) console.log(`       ${error.replaceAll('\n', '\n       ')}`);
        if (errors.length > 0) failed++;
    };
    const count = queue.length;
    const workers = Array.from({ length: WORKERS }, () => new Host(binDir, pages));
    await Promise.all(workers.map((host) => work(browser, host, queue, report)));
    await browser.close();
    console.log(`${count - failed} passed, ${failed} failed`);
    return failed > 0 ? 1 : 0;
}

process.exitCode = await main(process.argv.slice(2));
