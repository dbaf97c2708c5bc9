// The page as vrn_serve serves it, of files that are written meanwhile.
import assert from 'node:assert/strict';
import { Buffer } from 'node:buffer';
import { execFileSync, spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, readdirSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { HOSTILE_TEXTS } from './host.mjs';
import { chartState, optionsOf, pageIsReady, selectMetrics } from './page_steps.mjs';

const TOKEN = 'a token of 20 letter';

// A folder of data with a vrn_serve of its own and, where a test starts it, a collector.
class Served {
    children = [];

    constructor(binDir) {
        this.binDir = binDir;
        this.folder = mkdtempSync(join(tmpdir(), 'vrn-serve-'));
    }

    spawn(program, ...args) {
        const child = spawn(join(this.binDir, program), args, { stdio: ['ignore', 'pipe', 'inherit'] });
        child.ended = new Promise((resolve) => child.on('exit', resolve));
        this.children.push(child);
        return child;
    }

    async start(...args) {
        this.server = this.spawn('vrn_serve', '--listen', '127.0.0.1:0', ...args, this.folder);
        const lines = createInterface(this.server.stdout);
        [this.url] = await new Promise((resolve) => lines.once('line', (line) => resolve([line])));
    }

    collect() {
        this.collector = this.spawn('vrn_collect', '-o', this.folder, '-i', '50', '-t', '0');
    }

    async stopCollecting() {
        this.collector.kill('SIGTERM');
        assert.equal(await this.collector.ended, 0);
    }

    // The rows of the CSV, without its head.
    async rows(headers = {}) {
        const answer = await fetch(`${this.url}/csv?type=all`, { headers });
        return (await answer.text()).split('\r\n').slice(1, -1);
    }

    // Waits until the store holds what `holds` asks of the rows.
    async rowsWith(holds) {
        for (;;) {
            const rows = await this.rows();
            if (holds(rows)) return rows;
        }
    }

    async stop() {
        if (this.collector && this.collector.exitCode === null) await this.stopCollecting();
        this.server.kill('SIGTERM');
        assert.equal(await this.server.ended, 0);
        for (const child of this.children) child.kill('SIGKILL');
        rmSync(this.folder, { recursive: true });
    }
}

// A test of a page that vrn_serve, started with `args`, serves.
function served(args, run) {
    return async (page, host) => {
        const server = new Served(host.binDir);
        const foreign = [];
        const note = (request) => {
            const origin = new URL(server.url).origin;
            const isOurs = request.frame().url().startsWith(origin);
            if (isOurs && !request.url().startsWith(origin)) foreign.push(request.url());
        };
        page.on('request', note);
        try {
            await server.start(...args);
            await run(page, server, host);
        } finally {
            page.off('request', note);
            await page.goto('about:blank'); // or it would ask a host that is gone
            await server.stop();
        }
        assert.deepEqual(foreign.filter((url) => !url.startsWith('blob:')), []);
    };
}

async function open(page, server) {
    await page.goto(server.url);
    await pageIsReady(page);
}

async function refresh(page) {
    const reloaded = page.waitForEvent('load');
    await page.click('text=Refresh Data');
    await page.clock.runFor(200);
    await reloaded;
    await pageIsReady(page);
}

// Of the samples of one series.
function timesOf(rows, metric) {
    const isWanted = (row) => row.includes(`,${metric},host=`);
    return rows.filter(isWanted).map((row) => row.slice(0, row.indexOf(',')));
}

export const serveTests = {
    'shows samples as they are written': served([], async (page, server) => {
        server.collect();
        await server.rowsWith((rows) => timesOf(rows, 'mem_free').length > 3);
        await open(page, server);
        await selectMetrics(page, 'mem_free');
        const { counts } = await chartState(page);
        do await refresh(page);
        while ((await chartState(page)).counts[0] < counts[0] + 3);
        assert.equal((await chartState(page)).title, 'mem_free');
    }),

    'moves the curves of an open page': served([], async (page, server) => {
        server.collect();
        await server.rowsWith((rows) => timesOf(rows, 'mem_free').length > 60);
        await open(page, server);
        await selectMetrics(page, 'mem_free', 'mem_cached');
        const colorsOf = () => page.evaluate(() => chart.data.datasets.map((dataset) => dataset.borderColor));
        const colors = await colorsOf();
        await page.evaluate(() => {
            chart.setDatasetVisibility(1, false);
            window.shownChart = chart;
        });
        const reaches = (time) => page.waitForFunction((ms) => originalFullTimeRange.max > ms, time);
        const moved = async () => {
            const before = await chartState(page);
            await reaches(before.max + 500);
            return [before, await chartState(page)];
        };
        const [first, wider] = await moved();
        assert.deepEqual([wider.min, wider.labels], [first.min, first.labels]);
        assert.ok(await page.evaluate(() => chart === window.shownChart && !chart.isDatasetVisible(1)));
        await page.evaluate(() => updateChart());
        assert.deepEqual(await colorsOf(), colors);
        // A view of the newest samples moves, one of others stays.
        await page.evaluate(() => setVisibleRange(originalFullTimeRange.max - 2500, originalFullTimeRange.max));
        const [, later] = await moved();
        assert.deepEqual([Math.round(later.max - later.min), later.max], [2500, later.full.max]);
        assert.ok(later.counts[0] > 10);
        const past = await page.evaluate(() => {
            const { min } = originalFullTimeRange;
            setVisibleRange(min, min + 2500);
            return [min, min + 2500];
        });
        await reaches(later.max + 500);
        const { min, max } = await chartState(page);
        assert.deepEqual([min, max], past);
        await page.uncheck('#followCheckbox');
        const still = await chartState(page);
        const rows = (await server.rows()).length;
        await server.rowsWith((all) => all.length > 1.2 * rows);
        assert.deepEqual((await chartState(page)).full, still.full);
        await page.route('**/rta/metrics/data?*', (route) => route.fulfill({ status: 500 }));
        await page.check('#followCheckbox');
        await page.waitForSelector('#autoRefreshStatus >> text=No new samples: HTTP status 500.');
        await page.unroute('**/rta/metrics/data?*');
        await page.clock.runFor(2000);
        await reaches(still.full.max);
        await page.waitForSelector('#autoRefreshStatus:empty', { state: 'attached' });
    }),

    'gives the samples of the files as CSV': served([], async (page, server) => {
        server.collect();
        await server.rowsWith((rows) => timesOf(rows, 'mem_free').length > 20);
        await server.stopCollecting();
        const files = readdirSync(join(server.folder, 'data')).filter((name) => name.startsWith('metrics'));
        const lines = execFileSync(
            join(server.binDir, 'vrn_read'),
            ['-f', 'ndjson', ...files.map((name) => join(server.folder, 'data', name))],
            { encoding: 'utf8' },
        );
        const expected = lines
            .trim()
            .split('\n')
            .map((line) => JSON.parse(line))
            .flatMap(({ timestamp, metrics }) =>
                metrics.map((metric) => [timestamp, ...Object.entries(metric)[0]].join()),
            )
            .filter((row) => row.includes(',mem_'));
        const plain = (rows) =>
            rows.filter((row) => /,mem_\w+,host=/.test(row)).map((row) => row.replace(/,host=[^,]*/, ''));
        await server.rowsWith((rows) => plain(rows).length === expected.length);
        await open(page, server);
        const download = page.waitForEvent('download');
        await page.click('text=Save as CSV');
        await page.click('#csvDropdown >> text=All Metrics');
        const text = readFileSync(await (await download).path(), 'utf8');
        assert.deepEqual(plain(text.split('\r\n')).sort(), expected.sort());
    }),

    'clears the store for its own page alone': served([], async (page, server, host) => {
        server.collect();
        const hasSamples = (rows) => timesOf(rows, 'mem_free').length > 0;
        const [first] = timesOf(await server.rowsWith(hasSamples), 'mem_free');
        const clear = server.url.replace(/dump$/, 'clear');
        // A page of another origin of this machine.
        host.reset('empty');
        await page.goto(host.url);
        const refused = page.waitForEvent('requestfailed');
        await page.evaluate((src) => {
            document.createElement('img').src = src;
        }, clear);
        assert.equal((await refused).url(), clear);
        assert.equal((await page.goto(clear)).status(), 403);
        assert.equal(timesOf(await server.rows(), 'mem_free')[0], first);
        await open(page, server);
        page.once('dialog', (dialog) => dialog.accept());
        const cleared = page.waitForResponse((response) => response.url().startsWith(clear));
        await page.click('text=Clear Cache');
        assert.equal((await cleared).status(), 200);
        const rows = await server.rowsWith(hasSamples);
        assert.ok(timesOf(rows, 'mem_free')[0] > first);
    }),

    'runs no script that labels bring': served([], async (page, server) => {
        const texts = HOSTILE_TEXTS.map((text) => Buffer.from(text).toString('hex'));
        const file = execFileSync(join(server.binDir, 'sample_page'), texts);
        writeFileSync(join(server.folder, 'hostile.bin'), file);
        await server.rowsWith((rows) => rows.length > 0);
        await open(page, server);
        const names = await optionsOf(page, '#metricSelect');
        await selectMetrics(page, ...names);
        assert.equal((await chartState(page)).labels.length, HOSTILE_TEXTS.length - 2);
        assert.equal(await page.evaluate(() => window.canary), undefined);
        assert.ok((await optionsOf(page, '#labelSelect')).some((text) => text.includes("it's")));
    }),

    'goes on with files that are moved, and after the collector': served([], async (page, server) => {
        server.collect();
        await server.rowsWith((rows) => timesOf(rows, 'mem_free').length > 5);
        const data = join(server.folder, 'data');
        for (const name of readdirSync(data)) renameSync(join(data, name), join(data, `${name}.1`));
        const moved = timesOf(await server.rows(), 'mem_free').length;
        await server.rowsWith((rows) => timesOf(rows, 'mem_free').length > moved + 5);
        await server.stopCollecting();
        const stopped = timesOf(await server.rows(), 'mem_free').length;
        server.collect();
        const rows = await server.rowsWith((all) => timesOf(all, 'mem_free').length > stopped + 5);
        const times = timesOf(rows, 'mem_free');
        assert.deepEqual(times, [...new Set(times)].sort());
        await open(page, server);
    }),

    'asks for the token': async (page, host) => {
        const folder = mkdtempSync(join(tmpdir(), 'vrn-token-'));
        const file = join(folder, 'token');
        writeFileSync(file, `${TOKEN}\n`);
        await served(['--token-file', file], async (_, server) => {
            server.collect();
            assert.equal((await fetch(server.url)).status, 401);
            await page.goto(server.url);
            await page.fill('#token', 'something else');
            await page.click('button');
            assert.equal(await page.textContent('[role=alert]'), 'That is not the token.');
            await page.fill('#token', TOKEN);
            await page.click('button');
            await pageIsReady(page);
            assert.equal(page.url(), server.url);
            await refresh(page);
            const headers = { Authorization: `Bearer ${TOKEN}` };
            assert.ok((await server.rows(headers)).every((row) => /^\d+,/.test(row)));
        })(page, host);
        rmSync(folder, { recursive: true });
    },
};
