// Runs of vrn_sql: forms, statuses, and what it makes of files that are damaged or hostile.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, openSync, readFileSync, readdirSync, rmSync, symlinkSync,
    writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as wait } from 'node:timers/promises';
import { test } from 'node:test';

import * as files from './data_files.mjs';
import { attempt, binaries, jsonLines, run, tempFolder } from './engine.mjs';

const folder = new files.DataFolder(tempFolder());
const time = files.firstTime;

function eventFile(name, types, rows, { source, events = [folder.addEventSchema(types)] } = {}) {
    const block = files.eventBlock(time, 0, types.length - 1, rows);
    const first = Number(time);
    return folder.write(name, Buffer.concat([
        files.header({ chunkSize: 4096, events, source, first, last: first }),
        files.chunk(4096, block),
    ]));
}
const ask = (sql, ...paths) => attempt('vrn_sql', ['-f', 'json', sql, ...paths]);
const answers = (sql, ...paths) => {
    const done = ask(sql, ...paths);
    assert.equal(done.stderr, '');
    assert.equal(done.status, 0);
    return jsonLines(done.stdout);
};

const load = files.makeType('load', [['timestamp', 'timestamp'], ['n', 'uint32_t']]);
const loadRow = (n) => Buffer.concat([files.u64(time), files.u32(n)]);
const good = eventFile('good.bin', [load], [loadRow(1), loadRow(2)], { source: 'a' });

test('forms and statuses', () => {
    const sql = 'SELECT n, CASE n WHEN 1 THEN NULL ELSE \'a|\u001b[1mb\' END AS t FROM load ORDER BY n';
    const shown = (form) => run('vrn_sql', '-f', form, sql, good);
    assert.equal(shown('table'), '  n  t\n---  ----------\n  1  NULL\n  2  a|\\x1b[1mb\n');
    assert.equal(shown('markdown'),
        '|   n | t           |\n| --: | ----------- |\n|   1 |             |\n|   2 | a\\|\\x1b[1mb |\n');
    assert.equal(shown('csv'), 'n,t\n1,\n2,a|\u001b[1mb\n');
    assert.equal(shown('json'), '{"n":1,"t":null}\n{"n":2,"t":"a|\\u001B[1mb"}\n');
    const numbers = `SELECT 'nan'::DOUBLE AS a, [-1, '-inf'::FLOAT] AS b, 'a"-NaN\\' AS c`;
    const clean = { a: null, b: [-1, null], c: 'a"-NaN\\' };
    assert.deepEqual(JSON.parse(run('vrn_sql', '-f', 'json', numbers)), clean);
    run('vrn_sql', '-o', join(folder.path, 'numbers.json'), numbers);
    assert.deepEqual(JSON.parse(readFileSync(join(folder.path, 'numbers.json'), 'utf8')), clean);
    for (const [args, status, message] of [
        [['SELECT', good], 1, /Parser Error/],
        [['FROM nothing', good], 1, /Catalog Error/],
        [['FROM load', join(folder.path, 'none')], 1, /No such file/],
        [['-f', 'xml', 'FROM load', good], 64, /table, csv/],
        [[], 64, /no query/],
    ]) {
        const done = attempt('vrn_sql', args);
        assert.equal(done.status, status, args.join(' '));
        assert.match(done.stderr, message);
    }
    const full = attempt('vrn_sql', ['-f', 'csv', 'FROM range(100000)'],
        { stdio: ['ignore', openSync('/dev/full', 'w'), 'pipe'] });
    assert.equal(full.status, 1);
    assert.match(full.stderr, /No space left/);
    const lacking = attempt('vrn_sql', ['SELECT 1'], { env: { VRN_DUCKDB_LIBRARY: '/none.so' } });
    assert.equal(lacking.status, 1);
    assert.match(lacking.stderr, /VRN_DUCKDB_LIBRARY: \/none.so/);
});

test('statements and commands of standard input', () => {
    const done = attempt('vrn_sql', ['-f', 'csv', good],
        { input: "SELECT ';' AS a; -- ;\nCREATE TABLE t AS FROM load;\nSELECT sum(n) AS s FROM t" });
    assert.equal(done.stdout, 'a\n;\ns\n3\n');
    assert.equal(done.status, 0);
});

test('versions of a type are united, or refused by name', () => {
    const version = (name, fields, row) =>
        eventFile(name, [files.makeType('m', fields)], [row]);
    const paths = [
        version('m1.bin', [['n', 'uint32_t'], ['x', 'float']], Buffer.concat([files.u32(7), files.u32(0x3fc00000)])),
        version('m2.bin', [['N', 'int64_t'], ['y', 'char', 4]], Buffer.concat([files.u64(-1), Buffer.from('ab\xff\0', 'latin1')])),
        version('m3.bin', [['x', 'double']], files.u64(0x3fb999999999999an)),
        version('m4.bin', [['n', 'uint64_t']], files.u64(-1)),
    ];
    assert.deepEqual(answers('SELECT n::VARCHAR AS n, x, y FROM m ORDER BY ALL', ...paths), [
        { n: '-1', x: null, y: 'ab\ufffd' },
        { n: '18446744073709551615', x: null, y: null },
        { n: '7', x: 1.5, y: null },
        { n: null, x: 0.1, y: null },
    ]);
    // Arrays of several lengths are lists, also in arrays of records and beside files without them.
    const inner = (length) => files.makeType('in', [['v', 'uint8_t', length]]);
    const lists = (name, length) => eventFile(name,
        [inner(length), files.makeType('m', [['l', 'uint8_t', length], ['s', 'in', 2]], [inner(length)])],
        [1, 2].map((row) => Buffer.alloc(3 * length, 10 * length + row)));
    const of = (length, row) => Array(length).fill(10 * length + row);
    assert.deepEqual(answers('SELECT l, s FROM m WHERE x IS NULL ORDER BY l', lists('l2.bin', 2), paths[2], lists('l3.bin', 3)),
        [[2, 1], [2, 2], [3, 1], [3, 2]].map(([length, row]) =>
            ({ l: of(length, row), s: [{ v: of(length, row) }, { v: of(length, row) }] })));
    const refused = ask('FROM m', paths[0], version('m5.bin', [['n', 'double']], files.u64(0)),
        version('m6.bin', [['n', 'uint64_t']], files.u64(0)));
    assert.equal(refused.status, 1);
    assert.match(refused.stderr, /column n of m is DOUBLE .* UBIGINT/);
});

test('columns of hostile and colliding names', () => {
    const path = eventFile('names.bin',
        [files.makeType('a"; DROP', [['source', 'uint8_t'], ['A', 'uint8_t'], ['a', 'uint8_t'], ['', 'uint8_t']])],
        [Buffer.from([1, 2, 3, 4])]);
    assert.deepEqual(answers('SELECT * EXCLUDE (file) FROM "a""; DROP"', path),
        [{ source: 1, A: 2, a_1: 3, _: 4, source_1: 'host', tag: 'tag' }]);
});

test('counters: one row a block, wide and long', () => {
    const counter = (name, data_type, length, offset) => ({ name, description: '', units: '', data_type,
        length, offset, hidden: 0, mandatory: 0, counting_type: 'RUNNING_SUM', string_format: 'DEFAULT', index: 0 });
    const group = (name, counters, num_counter_sets) => ({ granularity: 'NODE', name, provider: '',
        num_counter_sets, num_counters: counters.length, counters });
    const id = folder.addSchema({ title: 't', version: '1.5.0', counter_groups: [
        group('g1', [counter('u', 'UINT64', 8), counter('i', 'INT64', 8), counter('d', 'FP64', 8)], 2),
        group('g2', [counter('u', 'UINT128', 16), counter('w', 'INT128', 16), counter('s', 'STRING', 4)], 1),
    ] });
    const row = Buffer.concat([files.u64(-1), files.u64(-2), files.u64(0x3ff8000000000000n),
        files.u64(5), files.u64(1), files.u64(-3), files.u64(-1), Buffer.from('abcd')]);
    const block = files.countersBlock(time, row);
    const bytes = Buffer.concat([files.header({ chunkSize: block.length, counters: id }), block]);
    const path = folder.write('counters.bin', bytes);
    assert.deepEqual(
        answers('SELECT * EXCLUDE (time, source, tag, file) REPLACE ("g2.u"::VARCHAR AS "g2.u", ' +
            '"g1.u"::VARCHAR AS "g1.u", w::VARCHAR AS w) FROM counters', path),
        [{ 'g1.u': '18446744073709551615', i: -2, d: 1.5, 'g2.u': '18446744073709551621', w: '-3', s: 'abcd' }]);
    assert.deepEqual(
        answers("SELECT counter, exact FROM counters_long WHERE counter IN ('w', 'd') LIMIT 2", path),
        [{ counter: 'd', exact: '1.5' }, { counter: 'w', exact: '-3' }]);
    expectCut(folder.write('cut-counters.bin', Buffer.concat([bytes, block.subarray(0, 40)])), 'counters',
        'Of a row of 60 bytes 24 are there, at byte 332');
});

// A last block that isn't whole: its rows are, and what is missing is told.
function expectCut(path, table, told) {
    const done = ask(`SELECT count(*) AS n FROM ${table}`, path);
    assert.deepEqual([done.status, done.stdout, done.stderr], [1, '{"n":1}\n', `vrn_sql: ${path}: ${told}\n`]);
    assert.deepEqual(JSON.parse(ask('SELECT faults, first_fault AS told FROM files', path).stdout), { faults: 1, told });
}

test('metrics: all samples, exact, with hostile labels', () => {
    const name = 'n"\'\u0001]';
    const blocks = [
        files.metricsBlock(time, { names: ['bytes', 'a metric with a long name'],
            constants: [['host', 'h1'], [name, '<&>"'], ['host', 'h2']], labels: [[name, '\xff'], ['', 'e'], ['', 'f']],
            samples: [[0, 2n ** 64n - 1n], [1, 5]] }),
        files.metricsBlock(time + 1n, { names: ['level'], labels: [], valueType: 2, samples: [[0, 0x3ff8000000000000n]] }),
        files.metricsBlock(time + 2n, { names: ['level'], labels: [], valueType: 4, samples: [[0, -9]] }),
    ];
    const path = folder.write('metrics.bin', Buffer.concat([
        files.header({ chunkSize: 1024 }), ...blocks.map((block) => files.chunk(1024, block))]));
    const labels = { host: 'h2', [name]: '\xff', '': 'f' };
    assert.deepEqual(
        answers('SELECT metric, labels, value, exact::VARCHAR AS exact FROM metrics ORDER BY time, metric DESC', path), [
            { metric: 'bytes', labels, value: 18446744073709552000, exact: '18446744073709551615' },
            { metric: 'a metric with a long name', labels, value: 5, exact: '5' },
            { metric: 'level', labels: {}, value: 1.5, exact: null },
            { metric: 'level', labels: {}, value: -9, exact: '-9' },
        ]);
    assert.deepEqual(answers('SELECT count(*) AS n FROM histograms', path), [{ n: 0 }]);
});

test('histograms: buckets as lists, by rows', () => {
    const lists = [[[0.5, 1], [1, 2n ** 53n + 1n]], [], [[Infinity, 3]]];
    const block = files.metricsBlock(time, { names: ['m'], labels: [['host', 'h']], samples: [[0, 1]],
        histograms: lists.map((buckets, index) => ({ name: `h${index}`, buckets, sum: 0.25, count: index })) });
    const path = folder.write('histograms.bin', Buffer.concat([
        files.header({ chunkSize: 1024 }), files.chunk(1024, block), files.chunk(1024, block)]));
    const shown = (index, buckets) => ({ histogram: `h${index}`, labels: { host: 'h' }, buckets, sum: 0.25, count: index });
    const sql = `SELECT histogram, labels, [b.upper_bound::VARCHAR || ' ' || b.count FOR b IN buckets] AS buckets, sum, count
        FROM histograms ORDER BY ALL`;
    const rows = [shown(0, ['0.5 1', '1.0 9007199254740993']), shown(1, []), shown(2, ['inf 3'])];
    assert.deepEqual(answers(sql, path), rows.flatMap((row) => [row, row]));
    // Not asked for, labels and buckets are not made.
    assert.deepEqual(answers('SELECT sum(count)::INT AS n FROM histograms', path), [{ n: 6 }]);
});

test('damaged files: the rest is shown, the files are told', () => {
    const bytes = Buffer.concat([readFileSync(good), files.chunk(4096, Buffer.from('garbage')), files.chunk(4096,
        files.page('G', files.eventBlock(time, 0, 0, [loadRow(3)])).fill(1, 40, 44))]);
    const damaged = folder.write('damaged.bin', bytes);
    const none = folder.write('none.bin', Buffer.from('no data file'));
    // Not for root either.
    const locked = join(folder.path, 'locked.bin');
    symlinkSync('/proc/sys/vm/drop_caches', locked);
    const done = ask('SELECT sum(n) AS n FROM load', good, damaged, none, locked);
    assert.equal(done.stdout, '{"n":6}\n');
    assert.equal(done.status, 1);
    assert.match(done.stderr, /damaged.bin: .*byte 4352 \(and 1 more\)/);
    assert.match(done.stderr, /none.bin: /);
    assert.match(done.stderr, /locked.bin: Permission denied\n/);
    const withoutLastByte = 256 + files.eventBlock(time, 0, 0, [loadRow(1), loadRow(2)]).length - 1;
    expectCut(folder.write('cut-rows.bin', readFileSync(good).subarray(0, withoutLastByte)), 'load',
        'Of 2 rows 1 are there, at byte 256');
    const table = ask('SELECT faults FROM files ORDER BY path', good, damaged, locked);
    assert.equal(table.stdout, '{"faults":2}\n{"faults":0}\n{"faults":1}\n');
    assert.equal(ask('SELECT 1', locked).stderr, `vrn_sql: Binder Error: ${locked}: Permission denied\n`);
    const strict = attempt('vrn_sql', ['--strict', '-f', 'json', 'FROM load', damaged]);
    assert.equal(strict.stdout, '');
    assert.equal(strict.status, 1);
    const target = join(folder.path, 'strict.csv');
    assert.equal(attempt('vrn_sql', ['--strict', '-o', target, 'FROM load', damaged]).status, 1);
    assert.ok(!existsSync(target));
    assert.ok(!readdirSync(folder.path).some((name) => name.endsWith('.csv')));
});

test('files that a query names are not replaced', () => {
    const [csv, link] = [join(folder.path, 'kept.csv'), join(folder.path, 'link.csv')];
    writeFileSync(csv, 'a\n1\n');
    symlinkSync(csv, link);
    for (const named of [csv, link, join(folder.path, 'k*.csv')])
        {for (const query of [`FROM '${named}'`, `SELECT * FROM read_csv("${named}") -- '`])
            {assert.equal(attempt('vrn_sql', ['-o', csv, query]).status, 64);}}
    assert.equal(readFileSync(csv, 'utf8'), 'a\n1\n');
    run('vrn_sql', '-o', csv, "SELECT 2 AS \"kept\"");
    assert.equal(readFileSync(csv, 'utf8'), 'kept\n2\n');
});

test('a schema that is missing', () => {
    const id = folder.addEventSchema([files.makeType('gone', [['n', 'uint8_t']])]);
    const path = eventFile('gone.bin', [files.makeType('gone', [['n', 'uint8_t']])], [files.u8(1)], { events: [id] });
    rmSync(join(folder.path, 'schema', `schema_${id.toString('hex')}.json`));
    const done = ask("FROM vrn_events(getvariable('vrn_files'), type := 'gone')", path);
    assert.equal(done.status, 1);
    assert.match(done.stderr, /no events of type 'gone'; not all schemas of .*gone.bin are there/);
    const rest = ask('SELECT count(*) AS n FROM load', good, path);
    assert.equal(rest.stdout, '{"n":2}\n');
    assert.match(rest.stderr, /gone.bin: Failed to load type system/);
    assert.equal(rest.status, 1);
});

test('filters of source and time leave out pages', () => {
    const page = (source, n) => files.page('S', files.eventBlock(time + BigInt(n), 0, 0, [loadRow(n)]),
        { source, tag: 't', first: Number(time) + n, last: Number(time) + n });
    const path = folder.write('pages.bin', Buffer.concat([
        files.header({ chunkSize: 4096, events: [folder.addEventSchema([load])], source: 'file' }),
        files.chunk(4096, page('p1', 1), page('p2', 2), page('', 3)),
        files.chunk(4096, files.eventBlock(time, 0, 0, [loadRow(4)]))]));
    const call = (more) => `SELECT n, source FROM vrn_events('${path}', type := 'load'${more}) ORDER BY n`;
    assert.deepEqual(answers(call('')).map(({ n, source }) => [n, source]),
        [[1, 'p1'], [2, 'p2'], [3, 'file'], [4, 'file']]);
    assert.deepEqual(answers(call(", source := 'p2'")), [{ n: 2, source: 'p2' }]);
    assert.deepEqual(answers(call(`, since := make_timestamp(${time + 2n}), until := make_timestamp(${time + 2n})`)),
        [{ n: 2, source: 'p2' }]);
});

test('a signal ends a query at once, and leaves no part of a file', async () => {
    const target = join(folder.path, 'cancelled.csv');
    const endless = 'SELECT sum(a.range * b.range) FROM range(10000000) a, range(10000000) b';
    for (const [args, signal, status] of [
        [[endless, good], 'SIGINT', 130],
        [['-o', target, endless, good], 'SIGTERM', 143],
    ]) {
        const child = spawn(join(binaries, 'vrn_sql'), args, { stdio: 'ignore' });
        const ended = new Promise((resolve) => { child.on('exit', resolve); });
        await wait(700);
        child.kill(signal);
        assert.equal(await ended, status);
    }
    assert.ok(!existsSync(target));
});

test('the columns of the collector are as documented', () => {
    const out = join(folder.path, 'collected');
    run('vrn_collect', '--output-dir', out, '--duration', '300', '--source-name', 'vm');
    const columns = (table) => run('vrn_sql', '-f', 'csv', `SELECT column_name, column_type FROM (DESCRIBE ${table})`, out);
    const golden = readFileSync(new URL('describe.golden', import.meta.url), 'utf8');
    const tables = ['cpu_sample', 'interface_sample', 'load_sample', 'metrics', 'histograms', 'files', 'counters_long'];
    assert.equal(tables.map((table) => `== ${table}\n${columns(table)}`).join(''), golden);
    assert.match(run('vrn_sql', '--tables', out), /^load_sample +8 +3 .* vm$/m);
});
