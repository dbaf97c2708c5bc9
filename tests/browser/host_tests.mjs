// What the chart page does with its host and across reloads.
import assert from 'node:assert/strict';
import {
    NO_DATA,
    chartState,
    open,
    optionsOf,
    pageIsReady,
    selectMetrics,
    selectedOf,
} from './page_steps.mjs';

// Answers the next dialog and returns its text.
async function dialogOf(page, action, accept = true) {
    const dialog = page.waitForEvent('dialog').then(async (shown) => {
        await (accept ? shown.accept() : shown.dismiss());
        return shown.message();
    });
    await action();
    return dialog;
}

async function clickCSVEntry(page, entry) {
    await page.click('text=Save as CSV');
    await page.click(`#csvDropdown >> text=${entry}`);
}

export const hostTests = {
    async 'refreshes on demand'(page, host) {
        await open(page, host, 'usual');
        await selectMetrics(page, 'temperature');
        const reloaded = page.waitForEvent('load');
        await page.click('text=Refresh Data');
        assert.equal(await page.textContent('#autoRefreshStatus'), '🔄 Refreshing...');
        await reloaded;
        await pageIsReady(page);
        const requests = host.requestsOf('/rta/metrics/dump');
        assert.match(requests[1], /^POST .*\?invalidate=\d+$/);
        assert.match(requests[2], /^GET .*\?refresh=\d+&bust=[0-9a-z]+&force=1$/);
        assert.equal(page.url(), host.url);
        assert.equal((await chartState(page)).title, 'temperature');
    },

    async 'refreshes at an interval'(page, host) {
        await open(page, host, 'usual');
        const reloaded = page.waitForEvent('load');
        await page.selectOption('#autoRefreshSelect', '5');
        assert.equal(await page.textContent('#autoRefreshStatus'), 'Next refresh in 5s');
        await page.waitForFunction(() => document.getElementById('autoRefreshStatus').textContent === 'Next refresh in 3s');
        await reloaded;
        await pageIsReady(page);
        assert.equal(await page.inputValue('#autoRefreshSelect'), '5');
        assert.match(await page.textContent('#autoRefreshStatus'), /^Next refresh in /);
        await page.selectOption('#autoRefreshSelect', '0');
        assert.equal(await page.textContent('#autoRefreshStatus'), '');
    },

    async 'exports all metrics as CSV'(page, host) {
        await open(page, host, 'usual');
        const download = page.waitForEvent('download');
        await clickCSVEntry(page, 'All Metrics');
        assert.match(
            (await download).suggestedFilename(),
            /^metrics_data_all_\d{4}-\d\d-\d\dT\d\d-\d\d-\d\d\.csv$/,
        );
        const [request] = host.requestsOf('/rta/metrics/dump/csv');
        assert.match(request, /\?t=\d{13}&type=all$/);
        assert.equal(await page.isVisible('#csvDropdown'), false);
    },

    async 'exports the selected metrics as CSV'(page, host) {
        await open(page, host, 'odd');
        const [name] = await optionsOf(page, '#metricSelect');
        await page.click('text=Select All Metrics');
        const download = page.waitForEvent('download');
        await clickCSVEntry(page, 'Selected Metrics');
        assert.match((await download).suggestedFilename(), /^metrics_data_selected_.*\.csv$/);
        const [request] = host.requestsOf('/rta/metrics/dump/csv');
        assert.match(request, /\?t=\d+&type=selected&metrics=/);
        assert.ok(request.endsWith(`&metrics=${encodeURIComponent(name)}`));
    },

    async 'refuses to export no metric'(page, host) {
        await open(page, host, 'usual');
        const text = await dialogOf(page, () => clickCSVEntry(page, 'Selected Metrics'));
        assert.equal(text, 'Please select at least one metric to export.');
        assert.deepEqual(host.requestsOf('/rta/metrics/dump/csv'), []);
    },

    async 'tells when the export fails'(page, host) {
        await open(page, host, 'usual');
        host.csvStatus = 500;
        const text = await dialogOf(page, () => clickCSVEntry(page, 'All Metrics'));
        assert.equal(text, 'Failed to export CSV data. Please try again.');
    },

    async 'clears the cache'(page, host) {
        await open(page, host, 'usual');
        await selectMetrics(page, 'temperature');
        const reloaded = page.waitForEvent('load');
        await dialogOf(page, () => page.click('text=Clear Cache'));
        await page.waitForSelector('#cacheClearStatus.success');
        assert.equal(await page.textContent('#chartMessage'), NO_DATA);
        assert.deepEqual(await optionsOf(page, '#metricSelect'), []);
        await reloaded;
        await pageIsReady(page);
        assert.match(host.requestsOf('/rta/metrics/clear')[0], /^GET .*\?t=\d+$/);
        assert.match(host.requestsOf('/rta/metrics/dump').at(-1), /\?cleared=1&/);
        assert.equal(page.url(), host.url);
        assert.match(await page.textContent('#cacheStatistics'), /Metrics0Series0/);
    },

    async 'tells when clearing fails, and keeps the data'(page, host) {
        await open(page, host, 'usual');
        await selectMetrics(page, 'temperature');
        host.clearStatus = 500;
        const reloaded = page.waitForEvent('load');
        await dialogOf(page, () => page.click('text=Clear Cache'));
        await page.waitForSelector('#cacheClearStatus.failure');
        assert.equal((await chartState(page)).title, 'temperature');
        await reloaded;
        await pageIsReady(page);
        assert.equal((await chartState(page)).title, 'temperature');
    },

    async 'clears nothing without consent'(page, host) {
        await open(page, host, 'usual');
        await dialogOf(page, () => page.click('text=Clear Cache'), false);
        assert.deepEqual(host.requestsOf('/rta/metrics/clear'), []);
    },

    async 'restores selections after a reload'(page, host) {
        await open(page, host, 'usual');
        await selectMetrics(page, 'received_bytes', 'temperature');
        await page.selectOption('#labelSelect', ['sensor=inlet']);
        await page.check('#showRateCheckbox');
        const before = await chartState(page);
        await page.reload();
        await pageIsReady(page);
        assert.deepEqual(await selectedOf(page, '#metricSelect'), ['received_bytes', 'temperature']);
        assert.deepEqual(await selectedOf(page, '#labelSelect'), ['sensor=inlet']);
        assert.deepEqual(await chartState(page), before);
        const keys = await page.evaluate(() => Object.keys(localStorage).sort());
        assert.deepEqual(keys, [
            'metricsChart_autoRefreshInterval',
            'metricsChart_selectedLabels',
            'metricsChart_selectedMetrics',
            'metricsChart_showRate',
        ]);
    },
};
