// Rows of vrn_sql against those of vrn_read, over files of all field types in all four forms.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { readFileSync, symlinkSync } from 'node:fs';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';

import * as files from './data_files.mjs';
import { attempt, run, tempFolder } from './engine.mjs';

const folder = new files.DataFolder(tempFolder());
const scalars = files.builtinTypes.map((type, index) => [`f${index}`, type]);
const inner = files.makeType('inner', [['a', 'short'], ['b', 'double', 2]]);
const all = files.makeType('all', [
    ['timestamp', 'timestamp'],
    ...scalars,
    ['text', 'char', 9],
    ['bytes', 'unsigned char', 5],
    ['numbers', 'int64_t', 3],
    ['flags', 'bool', 2],
    ['node_guid', 'uint64_t'],
    ['record', 'inner'],
    ['records', 'inner', 2],
], [inner]);
const later = files.makeType('all', [...all.fields.map((field) =>
    [field.field_name, field.type_name, field.array_length]), ['extra', 'uint16_t']], [inner]);
const ids = [folder.addEventSchema([inner, all]), folder.addEventSchema([inner, later])];

const random = files.randomBytes(7);
const put = (row, field, bytes) => bytes.copy(row, field.offset, 0, Math.min(bytes.length, field.type_size * field.array_length));
const floats = (type) => type === 'float' || type === 'double';

const rowBytes = [];

// Random bytes, but numbers that JSON can hold, and texts that it shows whole.
function makeRow(type, number) {
    const row = random(type.size);
    const visit = (fields, base) => {
        for (const field of fields) {
            for (let i = 0; i < field.array_length; ++i) {
                const at = base + field.offset + i * field.type_size;
                if (field.type_name === 'inner') visit(inner.fields, at);
                else if (field.type_name === 'float') row.writeFloatLE(number / 8 - i, at);
                else if (field.type_name === 'double') row.writeDoubleLE(number / 3 + i * 1e100, at);
            }
        }
    };
    visit(type.fields, 0);
    for (const field of type.fields) {
        if (/char$/.test(field.type_name) && field.array_length > 1)
            {put(row, field, Buffer.from(`t${number}\0\0\0\0\0\0\0\0`));}
    }
    row.writeBigUInt64LE(files.firstTime + BigInt(number), 0);
    rowBytes.push(row);
    return row;
}

const chunkSize = 65536;
const rowsAPage = 120;
// Pages of two schemas in turn: some chunks hold both.
const payloads = Array.from({ length: 60 }, (_, index) => {
    const which = index % 3 === 2 ? 1 : 0;
    const type = which === 0 ? all : later;
    const rows = Array.from({ length: rowsAPage }, (_unused, i) => makeRow(type, index * rowsAPage + i));
    return Buffer.concat([files.schemasBlock([ids[which]]), files.eventBlock(files.firstTime, 0, 1, rows)]);
});
const head = files.header({ chunkSize, events: [ids[0]] });

function chunked(blocks) {
    const chunks = [];
    let open = Buffer.alloc(0);
    for (const block of blocks) {
        if (open.length + block.length > chunkSize) {
            chunks.push(files.chunk(chunkSize, open));
            open = Buffer.alloc(0);
        }
        open = Buffer.concat([open, block]);
    }
    return Buffer.concat([head, ...chunks, open]);
}
const plain = chunked(payloads);
const forms = {
    plain: folder.write('plain.bin', plain),
    gzip: folder.write('gzip.bin', gzipSync(plain)),
    gzipPages: folder.write('gzip_pages.bin', chunked(payloads.map((bytes) => files.page('G', bytes)))),
    snappyPages: folder.write('snappy_pages.bin', chunked(payloads.map((bytes) => files.page('S', bytes)))),
};
const schema = `${folder.path}/schema`;

// Integers as texts, so that none is rounded.
const parseExactly = (line) => JSON.parse(line.replace(/(?<=[:[,]\s*)-?\d+(?=[,\]}\s])/g, '"$&"'));
const typeOf = Object.fromEntries(later.fields.map((field) => [field.field_name, field]));
const dateOf = (micros) => {
    const infinity = (1n << 63n) - 1n;
    return BigInt(micros) >= infinity ? infinity : BigInt(micros);
};
// What SQL has of a value of JSON.
function scalarToSql(value, type) {
    if (type === 'bool') return value !== '0';
    if (type === 'timestamp') return dateOf(value).toString();
    if (value.startsWith?.('0x')) return BigInt(value).toString();
    return floats(type) ? Number(value) : value;
}
function toSql(value, field) {
    if (Array.isArray(value)) return value.map((element) => toSql(element, field));
    if (typeof value !== 'object') return scalarToSql(value, field?.type_name);
    const parts = Object.entries(value).map(([key, part]) =>
        [key, toSql(part, inner.fields.find((other) => other.field_name === key))]);
    return Object.fromEntries(parts);
}
const sqlRow = (line) => {
    const record = Object.entries(parseExactly(line));
    const row = Object.fromEntries(record.map(([key, value]) => [key, toSql(value, typeOf[key])]));
    return { ...row, extra: row.extra ?? null };
};
const rounded = (value) => JSON.parse(JSON.stringify(value).replace(/"(-?\d+)"/g, '$1'));
const wholeNumbers = later.fields.filter(({ type_name: type, array_length: length }) =>
    /^(uint64_t|unsigned long( long)?)$/.test(type) && length === 1);
const floatFields = (name) => floats(typeOf[name]?.type_name);
// SQL's own rows: times as numbers, and numbers with a point as numbers.
const query = `SELECT * EXCLUDE (source, tag, file) REPLACE (
    ${later.fields.filter((field) => field.type_name === 'timestamp')
        .map((field) => `epoch_us(${field.field_name}) AS ${field.field_name}`).join(', ')})
    FROM vrn_events('PATH', type := 'all')`;

function sqlLines(path, ...options) {
    return run('vrn_sql', '-f', 'json', ...options, query.replace('PATH', path)).trimEnd().split('\n');
}
const readBack = (line) => {
    const row = parseExactly(line);
    for (const [key, value] of Object.entries(row))
        {if (floatFields(key)) row[key] = Number(value);}
    return row;
};

test('rows are those of JSON, in order, with exact integers', () => {
    const expected = run('vrn_read', '-s', schema, '-f', 'ndjson', forms.plain).trimEnd().split('\n').map(sqlRow);
    // Infinite times have no number.
    const clean = (row) => Object.fromEntries(Object.entries(row).map(([key, value]) =>
        [key, typeOf[key]?.type_name === 'timestamp' && BigInt(value ?? 0) >= (1n << 63n) - 1n ? null : value]));
    const got = sqlLines(forms.plain, '--ordered').map(readBack);
    assert.equal(got.length, payloads.length * rowsAPage);
    got.forEach((row, index) =>
        assert.deepEqual(rounded(clean(row)), rounded(clean(expected[index])), `row ${index}`));
    // What JSON rounds is that of the file.
    got.forEach((row, index) => {
        const bytes = rowBytes[index];
        for (const { field_name: name, offset } of wholeNumbers)
            {assert.equal(BigInt(row[name]), bytes.readBigUInt64LE(offset), name);}
        assert.equal(BigInt(row.numbers[2]), bytes.readBigInt64LE(typeOf.numbers.offset + 16));
    });
});

test('all forms give the same rows, by any number of threads', () => {
    const hash = (lines) => createHash('md5').update(lines.sort().join('\n')).digest('hex');
    const hashes = Object.values(forms).flatMap((path) => [sqlLines(path), sqlLines(path, '--ordered')]).map(hash);
    assert.deepEqual(new Set(hashes).size, 1);
});

test('Parquet keeps them', () => {
    const target = `${folder.path}/all.parquet`;
    for (const more of [[], ['--ordered']]) {
        run('vrn_sql', ...more, '-o', target, 'FROM "all"', forms.gzipPages);
        const [, difference] = run('vrn_sql', '-f', 'csv', `SELECT count(*) FROM
            (FROM vrn_events('${forms.gzipPages}', type := 'all') EXCEPT ALL FROM '${target}')`).split('\n');
        assert.equal(difference, '0');
    }
    // No output takes the place of an input, under whatever name.
    const input = readFileSync(forms.plain);
    symlinkSync(forms.plain, `${folder.path}/link.csv`);
    for (const output of ['x.txt', 'link.csv'])
        {assert.equal(
            attempt('vrn_sql', ['-o', `${folder.path}/${output}`, 'FROM "all"', forms.plain]).status, 64);}
    assert.deepEqual(readFileSync(forms.plain), input);
});
