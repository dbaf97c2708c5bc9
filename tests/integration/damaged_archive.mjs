// 100,000 files under hostile names, of which 1,000 are damaged and 100 can't be read: vrn_check and
// vrn_export tell of exactly these. VRN_BIN_DIR names the programs' folder. Not part of ctest.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { chmodSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';

import * as files from '../sql/data_files.mjs';
import { binaries, jsonLines, tempFolder } from '../sql/engine.mjs';

const folder = new files.DataFolder(tempFolder());
const names = ['new\nline', Buffer.of(0xff, 0xfe, 0xc3), '..', '...', '-f', '"', "'", '\\', '\x1b[31m', '%n%s',
    ' ', '*', 'é', '$(id)', '\u2028', '\r', Buffer.of(0xed, 0xa0, 0x80), '`', ',{', '<script>'];
const named = (index) => Buffer.concat([Buffer.from(names[index % names.length]), Buffer.from(`~${index}`)]);

const sound = Buffer.concat([
    files.header({ chunkSize: 600, events: [folder.addEventSchema([files.makeType('tick', [['n', 'uint16_t']])])],
        first: Number(files.firstTime), last: Number(files.firstTime), fileSize: 274 }),
    files.eventBlock(files.firstTime, 0, 0, [files.u16(7)]),
]);
const damaged = Object.entries({
    rows_cut: Buffer.from(sound).fill(3, 271, 272),
    header_cut: sound.subarray(0, 200),
    no_data_file: Buffer.from(sound).fill('x', 0, 4),
    type_unknown: Buffer.from(sound).fill(9, 269, 270),
});

// Returns [path, kind] of each fault, as JSON shows paths.
function writeArchive() {
    const faults = [];
    for (let outer = 0; outer < 100; ++outer) {
        const place = Buffer.concat([Buffer.from('archive/'), named(outer)]);
        mkdirSync(inFolder(place), { recursive: true });
        for (let inner = 0; inner < 1000; ++inner) {
            const path = Buffer.concat([place, Buffer.from('/'), named(inner)]);
            const [kind, bytes] = inner % 100 === 0 ? damaged[(outer + inner / 100) % damaged.length] : ['', sound];
            writeFileSync(inFolder(path), bytes);
            const isLocked = inner === 999;
            if (isLocked) chmodSync(inFolder(path), 0);
            if (isLocked || kind) faults.push([path.toString(), isLocked ? 'unreadable' : kind]);
        }
    }
    return faults.sort();
}
const inFolder = (path) => Buffer.concat([Buffer.from(`${folder.path}/`), path]);

// Root may read all files, but for what it gives up.
const start = process.getuid() === 0 ? ['setpriv', '--bounding-set', '-dac_override,-dac_read_search'] : [];
function run(tool, ...args) {
    const [program, ...rest] = [...start, join(binaries, tool), ...args];
    const done = spawnSync(program, rest, { cwd: folder.path, encoding: 'utf8', maxBuffer: 1 << 28 });
    assert.equal(done.status, 1, done.stderr);
    return done;
}

const expected = writeArchive();

test('vrn_check finds what is damaged, and nothing else', () => {
    const lines = jsonLines(run('vrn_check', '--json', '-s', 'schema', 'archive').stdout);
    const { files: count, damaged: found, faults } = lines.pop();
    assert.deepEqual([count, found, faults], [100000, 1100, 1100]);
    assert.deepEqual(lines.map(({ file, kind }) => [file, kind]).sort(), expected);
});

test('vrn_export reports the same', () => {
    const done = run('vrn_export', '-s', 'schema', '--report', 'report.jsonl', 'archive');
    const lines = jsonLines(readFileSync(join(folder.path, 'report.jsonl'), 'utf8'));
    assert.equal(lines.pop().damaged, 1100);
    assert.deepEqual(lines.flatMap(({ file, faults }) => faults.map(({ kind }) => [file, kind])).sort(), expected);
    assert.equal(lines.length, 100000);
    // A line of text a file, whatever its name, up to a hundred.
    assert.equal(done.stderr.split('\n').length - 1, 101);
    // Of rows that are cut the first one is whole.
    assert.equal(done.stdout.split('\n').length - 1, 100000 - 1100 + 250);
});
