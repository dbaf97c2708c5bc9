// Builds data files and their schemas.
import { createHash } from 'node:crypto';
import { mkdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { gzipSync } from 'node:zlib';

export const firstTime = 1_700_000_000_000_000n;

export const u8 = (value) => Buffer.from([Number(value) & 255]);
export const u16 = (value) => {
    const bytes = Buffer.alloc(2);
    bytes.writeUInt16LE(value);
    return bytes;
};
export const u32 = (value) => {
    const bytes = Buffer.alloc(4);
    bytes.writeUInt32LE(value);
    return bytes;
};
export const u64 = (value) => {
    const bytes = Buffer.alloc(8);
    bytes.writeBigUInt64LE(BigInt.asUintN(64, BigInt(value)));
    return bytes;
};
export const f64 = (value) => {
    const bytes = Buffer.alloc(8);
    bytes.writeDoubleLE(value);
    return bytes;
};
const padded = (text, size) => Buffer.concat([Buffer.from(text), Buffer.alloc(size)]).subarray(0, size);
const short = (text) => Buffer.concat([u8(Buffer.byteLength(text)), Buffer.from(text)]);

const sizes = {
    bool: 1, char: 1, short: 2, int: 4, long: 8, 'long long': 8, 'unsigned char': 1,
    'unsigned short': 2, 'unsigned int': 4, 'unsigned long': 8, 'unsigned long long': 8, float: 4,
    double: 8, int8_t: 1, int16_t: 2, int32_t: 4, int64_t: 8, uint8_t: 1, uint16_t: 2, uint32_t: 4,
    uint64_t: 8, timestamp: 8,
};
export const builtinTypes = Object.keys(sizes);

// A type out of [name, type, array length] for each field; `others` are types it may hold.
export function makeType(name, fields, others = []) {
    let offset = 0;
    const made = fields.map(([field, type, length = 1]) => {
        const size = sizes[type] ?? others.find((other) => other.name === type).size;
        const place = offset;
        offset += size * length;
        return { field_name: field, description: '', type_name: type, counting_mode: 'ABSOLUTE',
            array_length: length, offset: place, type_size: size, index: 0 };
    });
    return { name, size: offset, fields: made };
}

// A folder of files and schemas.
export class DataFolder {
    constructor(path) {
        this.path = path;
        mkdirSync(join(path, 'schema'), { recursive: true });
    }

    // Stores a schema and returns its id.
    addSchema(document) {
        const text = JSON.stringify(document);
        const id = createHash('md5').update(text).digest();
        writeFileSync(join(this.path, 'schema', `schema_${id.toString('hex')}.json`), text);
        return id;
    }
    addEventSchema(types) {
        return this.addSchema({ title: 't', vrn_version: '1.5.0', provider_name: 'p',
            provider_version: '1.5.0', types });
    }

    write(name, bytes) {
        const path = join(this.path, name);
        writeFileSync(path, bytes);
        return path;
    }
}

export function header({ chunkSize, events = [], counters, source = 'host', tag = 'tag',
    first = 0, last = 0, fileSize = 256 }) {
    const ids = Buffer.alloc(7 * 16);
    events.forEach((id, index) => id.copy(ids, index * 16));
    return Buffer.concat([
        Buffer.from('VRNF'), u8(1), u8(7), u16(0), u64(fileSize), padded(source, 64), padded(tag, 16),
        u64(first), u64(last), u32(chunkSize), counters ?? Buffer.alloc(16), ids, Buffer.alloc(8),
        Buffer.from('vrnf'),
    ]);
}

export function eventBlock(time, schemaIndex, typeIndex, rows) {
    return Buffer.concat([Buffer.from('VRNE'), u64(time), u8(schemaIndex), u16(typeIndex),
        u8(rows.length), ...rows]);
}

export function schemasBlock(ids) {
    return padded(Buffer.concat([Buffer.from('VRNS'), u16(256), u16(ids.length), u64(0), ...ids]), 256);
}

export const countersBlock = (time, row) =>
    Buffer.concat([Buffer.from('VRND'), u32(0), u64(time), row]);

export const chunk = (size, ...blocks) => padded(Buffer.concat(blocks), size);

// A raw snappy block of literals.
function snap(bytes) {
    const parts = [];
    for (let rest = bytes.length; ; rest >>>= 7) {
        parts.push(u8(rest > 127 ? (rest & 127) | 128 : rest));
        if (rest <= 127) break;
    }
    for (let at = 0; at < bytes.length; at += 256) {
        const literal = bytes.subarray(at, at + 256);
        parts.push(u8(60 << 2), u8(literal.length - 1), literal);
    }
    return Buffer.concat(parts);
}

export function page(encoding, payload, { source = '', tag = '', first = 0, last = 0 } = {}) {
    const stream = encoding === 'G' ? gzipSync(payload) : snap(payload);
    const names = Buffer.concat([short(source), short(tag)]);
    return Buffer.concat([Buffer.from('VRNP'), u8(22 + names.length), Buffer.from(encoding),
        u32(stream.length), u64(first), u64(last), names, stream, Buffer.from('vrnp')]);
}

// A metrics block: `labels` and `constants` are pairs, `samples` [metric index, 64 bits],
// `buckets` of histograms [bound, count].
export function metricsBlock(time, { names, labels, constants = [], valueType = 1, samples, histograms = [] }) {
    const texts = (mark, list) => Buffer.concat([Buffer.from(mark), u16(list.length),
        ...list.map(short), Buffer.from(mark.toLowerCase())]);
    const values = Buffer.concat([u8(0), u8(labels.length), Buffer.from('I'),
        ...labels.map(([, value]) => short(value))]);
    const histogram = ({ name, buckets, sum, count }) => Buffer.concat([Buffer.from('HIST'), u64(time),
        short(name), u8(buckets.length), ...buckets.flatMap(([bound, number]) => [f64(bound), u64(number)]),
        f64(sum), u64(count), values, Buffer.from('hist')]);
    const record = Buffer.concat([u16(0), u64(time), Buffer.from('C'), u8(valueType),
        u16(samples.length), ...samples.flatMap(([index, bits]) => [u16(index), u64(bits)]), values]);
    const body = Buffer.concat([
        Buffer.from('LBLN'), u8(labels.length), ...labels.map(([name]) => short(name)), u32(0),
        texts('LBLV', []), texts('CNTI', names), texts('CLBL', constants.flat()),
        ...histograms.map(histogram), Buffer.from('CNTD'), u32(65536), record, Buffer.from('cntdcntx'),
    ]);
    return Buffer.concat([Buffer.from('CNTX'), u32(body.length + 8), body]);
}

// The same random numbers in each run.
export function randomBytes(seed) {
    let state = seed;
    return (size) => Buffer.from(Array.from({ length: size }, () => {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        return state >>> 24;
    }));
}
