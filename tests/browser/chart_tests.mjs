// What the chart page shows. Each test gets a fresh browser page and the host.
import assert from 'node:assert/strict';
import { HOSTILE_TEXTS } from './host.mjs';
import {
    NO_DATA,
    chartState,
    messageOf,
    on,
    optionsOf,
    pageIsReady,
    selectMetrics,
    selectedOf,
} from './page_steps.mjs';

async function moveToChart(page) {
    const canvas = page.locator('#metricsChart');
    await canvas.scrollIntoViewIfNeeded();
    const box = await canvas.boundingBox();
    const center = { x: box.x + box.width / 2, y: box.y + box.height / 2 };
    await page.mouse.move(center.x, center.y);
    return center;
}

// Zooms in; returns when the text and the data have followed.
async function zoomIn(page, steps) {
    await moveToChart(page);
    for (let i = 0; i < steps; i++) await page.mouse.wheel(0, -100);
    await page.waitForFunction(() => document.getElementById('zoomInfo').textContent.startsWith('Zoomed '));
    await page.waitForFunction(() => {
        const { min, max } = chart.scales.x;
        const outside = (point) => point.x < min || point.x > max;
        return chart.data.datasets.every(({ data }) => data.length > 0 && !data.some(outside));
    });
}

// Puts the end of the data into view, by the address.
async function showNewest(page, seconds) {
    await page.evaluate((ms) => {
        const metrics = describeChoice().split('&')[0];
        location.hash = `${metrics}&from=${originalFullTimeRange.max - ms}`;
    }, seconds * 1000);
    await page.clock.runFor(500);
    await page.waitForFunction((ms) => chart.scales.x.max - chart.scales.x.min <= ms, seconds * 1000);
}

async function drag(page, pixels, button) {
    const { x, y } = await moveToChart(page);
    await page.mouse.down({ button });
    await page.mouse.move(x + pixels / 2, y);
    await page.mouse.move(x + pixels, y);
    await page.mouse.up({ button });
}

function assertClose(actual, expected, tolerance) {
    assert.ok(Math.abs(actual - expected) <= tolerance, `${actual} is not close to ${expected}`);
}

function boxOf(page, selector) {
    return page.locator(selector).boundingBox();
}

export const chartTests = {
    'starts without a chart': on('usual', [], async (page) => {
        assert.deepEqual(await messageOf(page), ['Choose a metric', NO_DATA]);
        assert.deepEqual(await optionsOf(page, '#metricSelect'), [
            'clock_offset',
            'received_bytes',
            'temperature',
        ]);
        const statistics = await page.textContent('#cacheStatistics');
        assert.match(statistics, /^Metrics Cache StatusMetrics3Series7Points stored4200Memory/);
        const [metrics, labels] = [await boxOf(page, '#metricSelect'), await boxOf(page, '#labelSelect')];
        assert.deepEqual([metrics.y, metrics.height], [labels.y, labels.height]);
    }),

    'shows the chosen metrics': on('usual', ['temperature'], async (page) => {
        let state = await chartState(page);
        assert.equal(state.title, 'temperature');
        assert.equal(state.valueTitle, 'Value');
        assert.deepEqual(state.labels, ['sensor=inlet', 'sensor=outlet']);
        assert.deepEqual(state.counts, [142, 142]);
        assert.equal(state.max - state.min, 599000);

        await selectMetrics(page, 'clock_offset', 'temperature');
        state = await chartState(page);
        assert.equal(state.title, 'Multiple Metrics (2)');
        assert.deepEqual(state.labels, [
            'clock_offset',
            'temperature: sensor=inlet',
            'temperature: sensor=outlet',
        ]);
        const info = await page.textContent('#chartInformation');
        assert.match(info, /Series3Points426 of 1800 shown \(76\.3% saved\)Detail for zoom1278/);
    }),

    'filters by the chosen labels': on('usual', ['temperature'], async (page) => {
        assert.deepEqual(await optionsOf(page, '#labelSelect'), ['sensor=inlet', 'sensor=outlet']);
        await page.selectOption('#labelSelect', ['sensor=outlet']);
        assert.deepEqual((await chartState(page)).labels, ['sensor=outlet']);
        await selectMetrics(page, 'clock_offset', 'temperature');
        assert.deepEqual(await selectedOf(page, '#labelSelect'), ['sensor=outlet']);
        assert.deepEqual((await chartState(page)).labels, ['temperature: sensor=outlet']);
    }),

    'shows rates': on('usual', ['received_bytes'], async (page) => {
        await page.check('#showRateCheckbox');
        const { title, valueTitle, labels, counts } = await chartState(page);
        assert.equal(title, 'received_bytes - Rate View');
        assert.equal(valueTitle, 'Δ (per second)');
        assert.ok(labels.every((label) => label.endsWith(' (Δ/sec)')));
        assert.deepEqual(counts, [141, 141, 141, 141]);
        const rate = await page.evaluate(() => {
            const isFirstPort = ({ label }) => label.includes('port=1');
            const { data } = chart.data.datasets.find(isFirstPort);
            return data.reduce((sum, point) => sum + point.y, 0) / data.length;
        });
        assertClose(rate, 1e6, 1e4);
    }),

    'zooms with the wheel, down to a limit, and back': on('usual', [], async (page) => {
        const place = await boxOf(page, '.chart-container');
        await selectMetrics(page, 'temperature');
        assert.equal(await page.textContent('#zoomInfo'), 'No zoom (full view)');
        await zoomIn(page, 5);
        const { min, max, full } = await chartState(page);
        assert.ok(min > full.min && max < full.max && max - min < 400000);
        assert.match(
            await page.textContent('#zoomInfo'),
            /^Zoomed \d\.\dx: \d\d:\d\d:\d\d - \d\d:\d\d:\d\d \(\d+\.\ds of 599\.0s\)$/,
        );
        await showNewest(page, 20);
        await zoomIn(page, 16);
        const limited = await chartState(page);
        assertClose(limited.max - limited.min, 5000, 1000); // 5 of the smallest gaps
        await page.evaluate(() => window.scrollTo(0, 0));
        assert.deepEqual(await boxOf(page, '.chart-container'), place);
        await page.click('text=Reset Zoom');
        const reset = await chartState(page);
        assert.deepEqual({ min: reset.min, max: reset.max }, full);
        assert.equal(await page.textContent('#zoomInfo'), 'No zoom (full view)');
    }),

    'pans with shift-drag and right-drag, inside the data': on('usual', ['temperature'], async (page) => {
        await showNewest(page, 590);
        await zoomIn(page, 6);
        const before = await chartState(page);
        await page.keyboard.down('Shift');
        await drag(page, 100, 'left');
        await page.keyboard.up('Shift');
        const after = await chartState(page);
        assertClose(after.max - after.min, before.max - before.min, 1);
        const pixelMs = (before.max - before.min) / 1000;
        assert.ok(after.min < before.min - 50 * pixelMs);
        await drag(page, -100, 'right');
        assertClose((await chartState(page)).min, before.min, pixelMs);
        await drag(page, 100, 'left'); // without shift
        assertClose((await chartState(page)).min, before.min, pixelMs);
        for (let i = 0; i < 3; i++) await drag(page, 600, 'right');
        const end = await chartState(page);
        assertClose(end.min, end.full.min, 1);
    }),

    'keeps the zoom when only the rate mode changes': on('usual', ['temperature'], async (page) => {
        await zoomIn(page, 5);
        const before = await chartState(page);
        await page.check('#showRateCheckbox');
        const after = await chartState(page);
        assert.deepEqual([after.min, after.max], [before.min, before.max]);
        await selectMetrics(page, 'clock_offset');
        assert.equal(await page.textContent('#zoomInfo'), 'No zoom (full view)');
    }),

    'clears and fills the selection': on('usual', [], async (page) => {
        await page.click('text=Select All Metrics');
        assert.equal((await chartState(page)).labels.length, 7);
        await page.check('#showRateCheckbox');
        await page.click('text=Clear Selections');
        assert.deepEqual(await selectedOf(page, '#metricSelect'), []);
        assert.equal(await page.isChecked('#showRateCheckbox'), true);
        await page.click('text=Clear All');
        assert.equal(await page.isChecked('#showRateCheckbox'), false);
        assert.deepEqual(await messageOf(page), ['Choose a metric', NO_DATA]);
    }),

    'shows what was recorded from a machine': on('recorded', [], async (page) => {
        const names = await optionsOf(page, '#metricSelect');
        assert.ok(names.includes('cpu_user') && names.includes('mem_free'));
        await page.click('text=Select All Metrics');
        const { labels, counts } = await chartState(page);
        assert.ok(labels.length >= names.length && counts.every((count) => count > 1));
    }),

    'shows a single point in the span of an hour': on('point', ['uptime'], async (page) => {
        const { min, max, counts } = await chartState(page);
        assert.deepEqual([max - min, counts], [3600000, [1]]);
        assert.equal(await page.textContent('#zoomInfo'), 'Single data point (no zoom available)');
        assert.match(await page.textContent('#chartInformation'), /Detail for zoom1 pointPoint limit/);
        await page.check('#showRateCheckbox');
        assert.equal(await page.textContent('#chartMessage'), NO_DATA);
    }),

    'shows 200 series': on('many', ['link_load'], async (page) => {
        const { labels } = await chartState(page);
        assert.deepEqual(labels, Array.from({ length: 200 }, (_, i) => `link=${i}`));
        assert.equal(await page.getAttribute('#labelSelect', 'size'), '20');
        await moveToChart(page);
        await page.waitForFunction(() => chart.tooltip.opacity > 0);
        const { lines, footer, height, legend } = await page.evaluate(() => ({
            lines: chart.tooltip.body.length,
            footer: chart.tooltip.footer,
            height: chart.height - chart.tooltip.height,
            legend: chart.legend.height,
        }));
        assert.deepEqual([lines, footer], [20, ['… and 180 more']]);
        assert.ok(height > 0 && legend < 100); // whole rows
        const { entries, last } = await page.evaluate(() => {
            const box = chart.legend.legendHitBoxes.at(-1);
            const { left, top } = chart.canvas.getBoundingClientRect();
            const place = { x: left + box.left + box.width / 2, y: top + box.top + box.height / 2 };
            return { entries: chart.legend.legendItems.map(({ text }) => text), last: place };
        });
        const shown = entries.length - 1;
        assert.deepEqual(entries, [...labels.slice(0, shown), `… and ${200 - shown} more`]);
        await page.mouse.click(last.x, last.y); // stands for no series
        assert.equal(await page.evaluate(() => chart.getVisibleDatasetCount()), 200);
    }),

    'shows odd characters as they are': on('odd', [], async (page) => {
        const name = 'odd "metric"  <b>&amp;\t% ,\r\n☃';
        const label = 'path=/a b?c=d&e;f#g%20 "h" <i>${j}</i> `k` {{l}} °C 漢字 🚀';
        assert.deepEqual(await optionsOf(page, '#metricSelect'), [name]);
        await page.click('text=Select All Metrics');
        assert.deepEqual((await chartState(page)).labels, [label]);
        assert.deepEqual(await optionsOf(page, '#labelSelect'), [label]);
        await page.selectOption('#labelSelect', { label });
        assert.ok((await page.textContent('#chartInformation')).includes(label));
        await page.setViewportSize({ width: 390, height: 844 });
        await page.waitForFunction(() => chart.width < 390);
        await moveToChart(page);
        await page.waitForFunction(() => chart.tooltip.opacity > 0);
        const { entry, lines } = await page.evaluate(() => ({
            entry: chart.legend.legendItems[0].text,
            lines: chart.tooltip.body[0].lines,
        }));
        assert.ok(entry.endsWith('…') && label.startsWith(entry.slice(0, -1)));
        assert.ok(lines.length > 1 && lines.join('').startsWith(`${label}: `));
    }),

    'runs no script of hostile texts, and shows them as they are': on('hostile', [], async (page) => {
        // Bytes that are no UTF-8 read as lone surrogates.
        const shown = (text) =>
            typeof text === 'string'
                ? text
                : text.toString('latin1').replace(/[\x80-\xff]/g, (byte) =>
                      String.fromCharCode(0xdc00 + byte.charCodeAt(0)),
                  );
        const [metric, label, ...values] = HOSTILE_TEXTS.map(shown);
        assert.deepEqual(await optionsOf(page, '#metricSelect'), [metric]);
        await page.click('text=Select All Metrics');
        const expected = values.map((value) => `${label}=${value}`).sort();
        assert.deepEqual((await chartState(page)).labels.sort(), expected);
        assert.deepEqual((await optionsOf(page, '#labelSelect')).sort(), expected);
        await page.evaluate(() => {
            for (const option of document.querySelectorAll('#labelSelect option')) option.selected = true;
            updateChart();
        });
        await moveToChart(page);
        await page.waitForFunction(() => chart.tooltip.opacity > 0);
        await page.reload(); // with what it has stored of the texts
        await pageIsReady(page);
        assert.deepEqual((await chartState(page)).labels.sort(), expected);
        assert.equal(await page.evaluate(() => window.canary), undefined);
    }),

    'leaves gaps where values are no numbers': on('gaps', ['gaps'], async (page) => {
        const { min, max } = await page.evaluate(() => chart.options.scales.y);
        assert.ok(min > -100 && max < 700);
    }),

    'marks round times, as the length of the axis asks for': on('old', ['temperature'], async (page) => {
        const second = 1000;
        const hour = 3600 * second;
        const day = 24 * hour;
        const hours = Array.from({ length: 30 }, (_, i) => (i + 1) * hour);
        const cases = [
            [1440, [2 * second], /^09:17:0\d\.\d00$/],
            [1440, [30 * second], /^09:17:\d[02468]$/],
            [1440, hours, /^Dec 3[01], \d\d:\d[05]$/],
            [390, hours, /^Dec 3[01], \d\d:\d[05]$/],
            [1440, [10 * day, 90 * day], /^(Dec \d\d, 2023|[JFM]\w\w \d\d, 2024)$/],
            [1440, [400 * day], /^\w{3} 202[45]$/],
            [1440, [8000 * day], /^20[234][02468]$/],
            [390, [30000 * day], /^2\d\d0$/],
        ];
        for (const [width, lengths, expected] of cases) {
            await page.setViewportSize({ width, height: 900 });
            await page.waitForFunction((all) => Math.abs(all - chart.width) < 150, width);
            for (const length of lengths) {
                const ticks = await page.evaluate((ms) => {
                    const start = new Date(2023, 11, 30, 9, 17).getTime();
                    setVisibleRange(start, start + ms);
                    return chart.scales.x.ticks.map((tick) => tick.label);
                }, length);
                assert.ok(ticks.length >= 2 && ticks.length <= 20, `${ticks.length} at ${length}`);
                for (const tick of ticks) assert.match(tick, expected);
            }
        }
    }),

    'shows an empty store, and formats sizes and ticks': on('empty', [], async (page) => {
        await page.click('text=Select All Metrics');
        assert.equal(await page.textContent('#chartMessage'), NO_DATA);
        await page.click('text=Reset Zoom');
        const sizes = await page.evaluate(() => [0, 1023, 1024, 1536, 5e13].map(formatBytes));
        assert.deepEqual(sizes, ['0 B', '1023 B', '1 KB', '1.5 KB', '45.47 TB']);
        const ticks = await page.evaluate(() =>
            [0, 1e-11, 2.5e15, -1500, 123.4, 12.34, 1.234, 0.1234, 0.05, 2e-5, 3.21e-8].map(
                getYAxisTickFormatter(false),
            ),
        );
        const expected = ['0', '~0', '2.5P', '-1.5K', '123', '12.3', '1.23', '0.123', '50.0m'];
        assert.deepEqual(ticks, [...expected, '20.0μ', '3.21e-8']);
        assert.equal(await page.evaluate(() => getYAxisTickFormatter(true)(0)), '0/s');
    }),

    'leaves room around values': on('empty', [], async (page) => {
        const ranges = await page.evaluate(() =>
            [[], [1e-7], [50, 50], [-5], [0, 100], [NaN, 10, 20], [1000, 1001]].map((values) => {
                const { min, max } = calculateAxisRange(values);
                return [min, max].map((value) => Number(value.toFixed(3)));
            }),
        );
        assert.deepEqual(ranges, [
            [0, 1],
            [-1, 1],
            [45, 55],
            [-5.5, -4.5],
            [-5, 105],
            [9.5, 20.5],
            [998.999, 1002.001],
        ]);
    }),
};
