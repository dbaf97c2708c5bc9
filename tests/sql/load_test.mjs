// The extension in an engine that isn't ours, over files of the collector.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { jsonLines, openEngine, run, tempFolder } from './engine.mjs';

const folder = tempFolder();
run('vrn_collect', '--output-dir', folder, '--duration', '500', '--source-name', 'vm "1"');
const query = await openEngine();
const data = `${folder}/data`;
const records = jsonLines(run('vrn_read', '-f', 'ndjson', '-d', data));
const events = records.filter((record) => record.load);

test('a folder of all kinds of files', async () => {
    const tables = await query(`FROM vrn_tables('${data}') ORDER BY ALL`);
    assert.deepEqual(
        tables.filter(([, kind]) => kind !== 'events'),
        ['counters', 'histograms', 'metrics'].map((name) => [name, name]),
    );
    assert.ok(tables.some(([name]) => name === 'load_sample'));
});

test('files by their name, and nothing of other files', async () => {
    const [[blocks, source]] = await query(
        `SELECT count(*), any_value(source) FROM '${data}/counters_*.bin'`,
    );
    assert.equal(Number(blocks), 5);
    assert.equal(source, 'vm "1"');
    await assert.rejects(query(`FROM '${data}/none.bin'`), /Catalog Error/);
    await assert.rejects(query(`FROM '${data}/events_*.bin'`), /several types.*load_sample/);
});

test('values, and the filters of a function', async () => {
    const rows = await query(
        `SELECT processes, load[2] FROM vrn_events('${data}', type := 'load_sample') ORDER BY timestamp`,
    );
    assert.deepEqual(rows, events.map((event) => [event.processes, event.load[1]]));
    const times = events.map((event) => event.timestamp);
    const [[count]] = await query(
        `SELECT count(*) FROM vrn_events(['${data}'], type := 'load_sample',
             since := make_timestamp(${times[1]}), until := make_timestamp(${times[3]}))`,
    );
    assert.equal(Number(count), 3);
    const other = await query(`SELECT count(*) FROM vrn_metrics('${data}', source := 'other')`);
    assert.equal(Number(other[0][0]), 0);
});

test('the text of a GUID', async () => {
    const rows = await query('SELECT vrn_guid(x) FROM (VALUES (12345678::UBIGINT), (NULL)) t(x)');
    assert.deepEqual(rows, [['0x0000000000bc614e'], [null]]);
});
