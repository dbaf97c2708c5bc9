// What the tests of SQL share: an engine with the extension, and runs of the tools.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

export const binaries = process.env.VRN_BIN_DIR;
export const extension = join(binaries, 'vrn.duckdb_extension');

// Rows as arrays of plain values; integers beyond 32 bits are texts.
export async function openEngine() {
    const { DuckDBInstance } = await import('@duckdb/node-api');
    const instance = await DuckDBInstance.create(':memory:', { allow_unsigned_extensions: 'true' });
    const connection = await instance.connect();
    await connection.run(`LOAD '${extension}'`);
    return async (query) => (await connection.runAndReadAll(query)).getRowsJson();
}

// Standard output of a run that must succeed.
export function run(tool, ...args) {
    return execFileSync(join(binaries, tool), args, { encoding: 'utf8', maxBuffer: 1 << 28 });
}

// Of a run that may fail: status, stdout, stderr.
export function attempt(tool, args, options = {}) {
    const settings = { encoding: 'utf8', maxBuffer: 1 << 28, ...options };
    return spawnSync(join(binaries, tool), args, settings);
}

export function tempFolder() {
    const folder = mkdtempSync(join(tmpdir(), 'vrn-sql-'));
    process.on('exit', () => rmSync(folder, { recursive: true, force: true }));
    return folder;
}

export const jsonLines = (text) => text.trimEnd().split('\n').map((line) => JSON.parse(line));
