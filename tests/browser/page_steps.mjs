// Steps that tests of the chart page share.

export const NO_DATA = 'No data available for selected metrics and labels.';

// Opens the named page and waits until it has restored its state.
async function open(page, host, name) {
    host.reset(name);
    await page.goto(host.url);
    await pageIsReady(page);
}

// The last thing that a page does by itself is an update of its chart.
export async function pageIsReady(page) {
    await page.waitForFunction(() => window.lastChartDataKey !== null);
    await page.waitForSelector('#cacheStatistics');
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
