// What the chart page does with its host and across reloads.
import assert from 'node:assert/strict';
import { NO_DATA, chartState, on, optionsOf, reloadedAfter, pageIsReady, selectedOf } from './page_steps.mjs';

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
    'refreshes on demand': on('usual', ['temperature'], async (page, host) => {
        await page.clock.pauseAt(Date.now() + 60000);
        await page.click('text=Refresh Data');
        assert.equal(await page.textContent('#autoRefreshStatus'), '🔄 Refreshing...');
        await reloadedAfter(page, 100);
        const requests = host.requestsOf('/rta/metrics/dump');
        assert.match(requests[1], /^POST .*\?invalidate=\d+$/);
        assert.match(requests[2], /^GET .*\?refresh=\d+&bust=[0-9a-z]+&force=1$/);
        assert.equal(page.url(), `${host.url}#metrics=temperature`);
        assert.equal((await chartState(page)).title, 'temperature');
    }),

    'refreshes at an interval': on('usual', [], async (page) => {
        await page.clock.pauseAt(Date.now() + 60000);
        await page.selectOption('#autoRefreshSelect', '5');
        assert.equal(await page.textContent('#autoRefreshStatus'), 'Next refresh in 5s');
        await page.clock.runFor(2000);
        assert.equal(await page.textContent('#autoRefreshStatus'), 'Next refresh in 3s');
        await reloadedAfter(page, 3200);
        assert.equal(await page.inputValue('#autoRefreshSelect'), '5');
        assert.match(await page.textContent('#autoRefreshStatus'), /^Next refresh in /);
        await page.selectOption('#autoRefreshSelect', '0');
        assert.equal(await page.textContent('#autoRefreshStatus'), '');
    }),

    'exports all metrics as CSV': on('usual', [], async (page, host) => {
        const download = page.waitForEvent('download');
        await clickCSVEntry(page, 'All Metrics');
        assert.match(
            (await download).suggestedFilename(),
            /^metrics_data_all_\d{4}-\d\d-\d\dT\d\d-\d\d-\d\d\.csv$/,
        );
        const [request] = host.requestsOf('/rta/metrics/dump/csv');
        assert.match(request, /\?t=\d{13}&type=all$/);
        assert.equal(await page.isVisible('#csvDropdown'), false);
    }),

    'exports the selected metrics as CSV': on('odd', [], async (page, host) => {
        const [name] = await optionsOf(page, '#metricSelect');
        await page.click('text=Select All Metrics');
        const download = page.waitForEvent('download');
        await clickCSVEntry(page, 'Selected Metrics');
        assert.match((await download).suggestedFilename(), /^metrics_data_selected_.*\.csv$/);
        const [request] = host.requestsOf('/rta/metrics/dump/csv');
        assert.match(request, /\?t=\d+&type=selected&metrics=/);
        assert.ok(request.endsWith(`&metrics=${encodeURIComponent(name)}`));
    }),

    'refuses to export no metric, and tells when an export fails': on('usual', [], async (page, host) => {
        const text = await dialogOf(page, () => clickCSVEntry(page, 'Selected Metrics'));
        assert.equal(text, 'Please select at least one metric to export.');
        assert.deepEqual(host.requestsOf('/rta/metrics/dump/csv'), []);
        host.csvStatus = 500;
        const failure = await dialogOf(page, () => clickCSVEntry(page, 'All Metrics'));
        assert.equal(failure, 'Failed to export CSV data. Please try again.');
    }),

    'clears the cache': on('usual', ['temperature'], async (page, host) => {
        await dialogOf(page, () => page.click('text=Clear Cache'));
        await page.waitForSelector('#cacheClearStatus.success');
        assert.equal(await page.textContent('#chartMessage'), NO_DATA);
        assert.deepEqual(await optionsOf(page, '#metricSelect'), []);
        await reloadedAfter(page, 1500);
        assert.match(host.requestsOf('/rta/metrics/clear')[0], /^GET .*\?t=\d+$/);
        assert.match(host.requestsOf('/rta/metrics/dump').at(-1), /\?cleared=1&/);
        assert.equal(page.url(), host.url);
        assert.match(await page.textContent('#cacheStatistics'), /Metrics0Series0/);
    }),

    'keeps the data without consent, or when clearing fails': on('usual', ['temperature'], async (page, host) => {
        await dialogOf(page, () => page.click('text=Clear Cache'), false);
        assert.deepEqual(host.requestsOf('/rta/metrics/clear'), []);
        host.clearStatus = 500;
        await dialogOf(page, () => page.click('text=Clear Cache'));
        await page.waitForSelector('#cacheClearStatus.failure');
        assert.equal((await chartState(page)).title, 'temperature');
        await reloadedAfter(page, 3000);
        assert.equal((await chartState(page)).title, 'temperature');
    }),

    'restores selections after a reload': on('usual', ['received_bytes', 'temperature'], async (page) => {
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
    }),
};
