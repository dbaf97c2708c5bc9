// Steps that tests of the chart page share.

export const NO_DATA = 'No data available for selected metrics and labels.';

// As if nobody had been here, with the clock running.
export async function forgetVisits(page, host) {
    const blank = new URL('blank', host.url).href;
    await page.route(blank, (route) => route.fulfill({ contentType: 'text/html', body: '' }));
    await page.goto(blank);
    await page.evaluate(() => localStorage.clear());
    await page.emulateMedia({ colorScheme: 'light' });
    await page.clock.resume();
}

// Opens the named page, by a link with this hash, and waits until it has restored its state.
export async function open(page, host, name, hash = '') {
    host.reset(name);
    await page.goto(host.url + hash);
    await pageIsReady(page);
}

// What a page does by itself takes half a second, which a test needn't wait for. The last of it is an
// update of its chart.
export async function pageIsReady(page) {
    await page.clock.runFor(500);
    await page.waitForFunction(() => window.lastChartDataKey !== null);
    await page.waitForSelector('#cacheStatistics');
}

// The page may be there anew before the act returns.
export async function reloadedBy(page, act) {
    const reloaded = page.waitForEvent('load');
    await act();
    await reloaded;
    await pageIsReady(page);
}

// Goes through what a page waits for before it comes anew.
export function reloadedAfter(page, waitMs) {
    return reloadedBy(page, () => page.clock.runFor(waitMs));
}

export function messageOf(page) {
    return page.$$eval('#chartMessage p', (lines) => lines.map((line) => line.textContent));
}

export async function selectMetrics(page, ...names) {
    await page.selectOption('#metricSelect', names.map((label) => ({ label })));
}

// A test of the named page, on which these metrics are selected.
export function on(name, metrics, run) {
    return async (page, host) => {
        await open(page, host, name);
        if (metrics.length > 0) await selectMetrics(page, ...metrics);
        await run(page, host);
    };
}

export function chartState(page) {
    return page.evaluate(() => ({
        title: chart.options.plugins.title.text,
        valueTitle: chart.options.scales.y.title.text,
        labels: chart.data.datasets.map((dataset) => dataset.label),
        counts: chart.data.datasets.map((dataset) => dataset.data.length),
        min: chart.scales.x.min,
        max: chart.scales.x.max,
        full: originalFullTimeRange,
    }));
}

export function optionsOf(page, selector) {
    return page.$$eval(`${selector} option`, (options) => options.map((option) => option.textContent));
}

export function selectedOf(page, selector) {
    return page.$$eval(`${selector} option:checked`, (options) => options.map(({ text }) => text));
}
