// How metrics are found and chosen, what the address says of it, and how the page shows them to
// whoever uses it.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import {
    NO_DATA,
    chartState,
    messageOf,
    on,
    open,
    optionsOf,
    pageIsReady,
    reloadedBy,
    selectMetrics,
    selectedOf,
} from './page_steps.mjs';

const SIZES = [
    { width: 1400, height: 900 },
    { width: 1280, height: 720 },
];

// What follows a choice a little later.
async function hashOf(page) {
    await page.clock.runFor(300);
    return new URL(page.url()).hash;
}

function shownOptions(page, selector) {
    return page.$$eval(`${selector} option:not([hidden])`, (options) => options.map(({ text }) => text));
}

async function readDownload(page, action) {
    const download = page.waitForEvent('download');
    await action();
    return readFileSync(await (await download).path(), 'utf8');
}

// The lowest contrast of the texts in sight with what they stand on, and the text.
function lowestContrast() {
    const channels = (color) => color.match(/[\d.]+/g).map(Number);
    const luminance = (color) => {
        const [r, g, b] = channels(color).map((value) => {
            const share = value / 255;
            return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
        });
        return 0.2126 * r + 0.7152 * g + 0.0722 * b;
    };
    const backgroundOf = (element) => {
        const color = getComputedStyle(element).backgroundColor;
        return channels(color)[3] === 0 ? backgroundOf(element.parentElement) : color;
    };
    const texts = [...document.querySelectorAll('h1, label, option, button:enabled, p, span, dt, dd, summary')];
    const contrasts = texts
        .filter((element) => element.textContent && element.checkVisibility())
        .map((element) => {
            const pair = [getComputedStyle(element).color, backgroundOf(element)].map(luminance);
            return [(Math.max(...pair) + 0.05) / (Math.min(...pair) + 0.05), element.textContent];
        });
    return contrasts.sort((a, b) => a[0] - b[0])[0];
}

export const choiceTests = {
    'opens what a link names, and the address follows': async (page, host) => {
        const link = '#metrics=temperature,clock_offset&labels=sensor%3Dinlet,,none&rate=1';
        await open(page, host, 'old', link);
        assert.deepEqual(await selectedOf(page, '#metricSelect'), ['clock_offset', 'temperature']);
        assert.deepEqual((await chartState(page)).labels, [
            'clock_offset (Δ/sec)',
            'temperature: sensor=inlet (Δ/sec)',
        ]);
        assert.equal(await hashOf(page), '#metrics=clock_offset,temperature&labels=,sensor%3Dinlet&rate=1');
        const from = 1_700_000_000_000 - 7_200_000;
        await page.evaluate((hash) => (location.hash = hash), `#metrics=temperature&from=${from}`);
        await page.clock.runFor(500);
        let state = await chartState(page);
        assert.deepEqual([state.min, state.max, state.labels.length], [from, state.full.max, 2]);
        assert.equal(await hashOf(page), `#metrics=temperature&from=${from}&to=${state.full.max}`);
        await page.click('text=Reset Zoom');
        assert.equal(await hashOf(page), '#metrics=temperature');
        await page.evaluate(() => (location.hash = '#metrics=%ff,absent&to=2023-11-14T20:00:00Z'));
        await page.clock.runFor(500);
        assert.deepEqual(await messageOf(page), ['Choose a metric', NO_DATA]);
        assert.equal(await hashOf(page), '');
        await page.evaluate(() => (location.hash = '#metrics=temperature&to=2023-11-14T20:00:00Z'));
        await page.clock.runFor(500);
        state = await chartState(page);
        assert.deepEqual([state.min, state.max], [state.full.min, Date.UTC(2023, 10, 14, 20)]);
    },

    'shows what the host chooses first, unless the address says otherwise': async (page, host) => {
        await open(page, host, 'first');
        assert.equal((await chartState(page)).title, 'temperature');
        await page.click('text=Clear Selections');
        assert.equal(await hashOf(page), '#metrics=');
        await page.reload();
        await pageIsReady(page);
        assert.deepEqual(await messageOf(page), ['Choose a metric', NO_DATA]);
        await selectMetrics(page, 'clock_offset');
        await page.reload();
        await pageIsReady(page);
        assert.equal((await chartState(page)).title, 'clock_offset');
    },

    'narrows the lists by words': on('many', ['link_load'], async (page) => {
        await page.selectOption('#labelSelect', ['link=119']);
        await page.fill('#labelSelectFilter', ' LINK  19');
        await page.clock.runFor(100);
        const expected = ['19', '119', ...Array.from({ length: 10 }, (_, i) => `19${i}`)];
        const byNumber = (a, b) => a - b;
        assert.deepEqual(
            await shownOptions(page, '#labelSelect'),
            expected.sort(byNumber).map((number) => `link=${number}`),
        );
        assert.equal(await page.textContent('.list-filter:has(#labelSelectFilter) span'), '12 of 200');
        await page.fill('#labelSelectFilter', 'none');
        await page.fill('#metricSelectFilter', 'absent');
        await page.clock.runFor(100);
        assert.deepEqual(await shownOptions(page, '#metricSelect'), []);
        assert.deepEqual((await chartState(page)).labels, ['link=119']); // chosen all the same
        await page.click('text=Select All Metrics');
        assert.deepEqual(await selectedOf(page, '#metricSelect'), []); // of those that are listed
    }),

    'keeps the chart in sight': on('many', ['link_load'], async (page) => {
        await page.selectOption('#labelSelect', ['link=119']);
        for (const size of SIZES) {
            await page.setViewportSize(size);
            await page.clock.runFor(300);
            await page.waitForFunction((viewport) => {
                const box = document.querySelector('.chart-container').getBoundingClientRect();
                return box.top > 0 && box.bottom <= viewport.height && box.height >= 360;
            }, size);
            const [zoom, csv] = await Promise.all(
                ['#zoomInfo', '#csvButton'].map((selector) => page.locator(selector).boundingBox()),
            );
            assert.ok(csv.x - zoom.x - zoom.width < 10); // beside each other
        }
        // What can't zoom out any more scrolls.
        await page.locator('#metricsChart').hover();
        await page.mouse.wheel(0, 200);
        await page.waitForFunction(() => window.scrollY > 0);
        assert.equal(await page.textContent('#zoomInfo'), 'No zoom (full view)');
    }),

    'loads the points of chosen metrics from its host': async (page, host) => {
        await open(page, host, 'apart', '#metrics=temperature&labels=sensor%3Dinlet');
        assert.deepEqual((await chartState(page)).labels, ['sensor=inlet']);
        assert.deepEqual((await chartState(page)).counts, [142]);
        const statistics = await page.textContent('#cacheStatistics');
        assert.match(statistics, /Metrics3Series7Points stored4200Memory.*Noticeit's full$/);
        await page.click('text=Select All Metrics');
        await page.waitForFunction(() => Object.keys(metricsData).length === 3);
        await page.selectOption('#labelSelect', []);
        assert.equal((await chartState(page)).labels.length, 7);
        const requests = host.requestsOf('/rta/metrics/data');
        assert.deepEqual(
            requests.map((request) => request.match(/^GET .*\?t=\d+&metrics=([\d,]+)$/)[1].split(',').length),
            [1, 2],
        );
        host.pointsStatus = 500;
        await page.reload();
        await page.clock.runFor(500);
        await page.waitForSelector('#chartMessage >> text=HTTP status 500');
    },

    'does what it can as a file': on('file', [], async (page, host) => {
        assert.equal(await page.isDisabled('text=Clear Cache'), true);
        const all = await readDownload(page, async () => {
            await page.click('text=Save as CSV');
            await page.click('#csvDropdown >> text=All Metrics');
        });
        const rows = all.split('\r\n');
        assert.equal(rows.length, 1 + 7 * 426 + 1);
        assert.equal(rows[0], 'time,metric,labels,value');
        assert.match(rows[1], /^\d{13}000,clock_offset,,-?\d+$/);
        assert.ok(rows.some((row) => /^\d+,received_bytes,"(device=eth0, port=3|port=3, device=eth0)",\d+$/.test(row)));
        await selectMetrics(page, 'temperature');
        assert.deepEqual((await chartState(page)).counts, [142, 142]);
        await reloadedBy(page, () => page.click('text=Refresh Data'));
        assert.equal((await chartState(page)).title, 'temperature');
        assert.ok(host.requests.every((request) => request.startsWith('GET ')));
    }),

    'serves keyboards and screen readers': on('usual', ['temperature'], async (page) => {
        await page.focus('#metricsChart');
        const lengthOf = ({ min, max }) => max - min;
        for (const key of ['+', '+', 'ArrowLeft']) await page.keyboard.press(key);
        const zoomed = await chartState(page);
        assert.ok(Math.abs(lengthOf(zoomed) / lengthOf(zoomed.full) - 0.64) < 0.01);
        assert.ok(zoomed.min - zoomed.full.min < zoomed.full.max - zoomed.max);
        await page.keyboard.press('0');
        assert.equal(lengthOf(await chartState(page)), lengthOf(zoomed.full));
        assert.match(await page.getAttribute('#metricsChart', 'aria-label'), /^Chart of temperature;/);

        await page.click('#chartTable summary');
        const head = await page.$$eval('#chartTable thead th', (cells) => cells.map((cell) => cell.textContent));
        assert.deepEqual(head, ['Time', 'sensor=inlet', 'sensor=outlet']);
        const cells = await page.$$eval('#chartTable tbody tr', (rows) =>
            rows.map((row) => [...row.cells].map((cell) => cell.textContent)),
        );
        assert.equal(cells.length, await page.evaluate(() => chart.data.datasets[0].data.length));
        assert.match(cells[0].join(), /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3},21(\.\d+)?,34(\.\d+)?$/);

        const unnamed = await page.$$eval('select, input', (fields) =>
            fields.filter((field) => !field.labels.length && !field.ariaLabel).map(({ id }) => id),
        );
        assert.deepEqual(unnamed, []);
        await page.click('#csvButton');
        await page.keyboard.press('Escape');
        assert.equal(await page.getAttribute('#csvButton', 'aria-expanded'), 'false');
        assert.equal(await page.isVisible('#csvDropdown'), false);
    }),

    'has enough contrast by day and by night': on('usual', ['temperature'], async (page) => {
        const backgrounds = new Set();
        for (const colorScheme of ['light', 'dark']) {
            await page.emulateMedia({ colorScheme });
            await page.waitForFunction(
                () => Chart.defaults.color === getComputedStyle(document.body).getPropertyValue('--muted'),
            );
            const [contrast, text] = await page.evaluate(lowestContrast);
            assert.ok(contrast >= 4.5, `${contrast}: ${text}`);
            backgrounds.add(await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
        }
        assert.equal(backgrounds.size, 2);
        assert.deepEqual(await optionsOf(page, '#labelSelect'), ['sensor=inlet', 'sensor=outlet']);
    }),
};
