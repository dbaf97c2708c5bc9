// Checks the includes below src/ and tools/: a room uses itself and the rooms below it, and no
// files include each other in a circle. A header and the source of its name count as one file.
//
// check-layers.mjs [FOLDER]: the root of a source tree, this one's by default.
import { readdirSync, readFileSync } from 'node:fs';
import { dirname, join, relative } from 'node:path';
import { fileURLToPath } from 'node:url';

// From the ground up.
const rooms = [
    'src/utils',
    'src/data/text',
    'src/data',
    'src/data/selection',
    'src/counters',
    'src/data/schema',
    'src/data/serial',
    'src/data/writer',
    'src/metrics',
    'src/metrics/store',
    'src/metrics/chart',
    'src/scan',
    'src/reader',
    'src/sql',
    'tools/common',
    'tools/series',
    'tools/vrn_export/format',
    'tools/*', // programs, which do not know each other
    'tools/manuals', // the command lines of them all
];

const root = process.argv[2] ?? join(dirname(fileURLToPath(import.meta.url)), '..');

function sourcesBelow(folder) {
    return readdirSync(join(root, folder), { withFileTypes: true, recursive: true })
        .filter((entry) => entry.isFile() && /\.(h|cc)$/.test(entry.name))
        .map((entry) => relative(root, join(entry.parentPath ?? entry.path, entry.name)));
}

const files = new Set([...sourcesBelow('src'), ...sourcesBelow('tools')]);
const pairOf = (file) => file.replace(/\.(h|cc)$/, '');

// Path of an include in quotes; undefined when it is no file of ours.
function resolve(include) {
    return [`src/${include}`, `tools/${include}`].find((file) => files.has(file));
}

function includesOf(file) {
    const text = readFileSync(join(root, file), 'utf8');
    return [...text.matchAll(/^#include "([^"]+)"/gm)]
        .map(([, include]) => resolve(include))
        .filter((target) => target && pairOf(target) !== pairOf(file));
}

function rankOf(room) {
    const rank = rooms.indexOf(room);
    return rank < 0 && room.startsWith('tools/') ? rooms.indexOf('tools/*') : rank;
}

function faultOfInclude(file, target) {
    const [from, to] = [dirname(file), dirname(target)];
    if (rankOf(from) < 0) return `${file}: ${from} is no room of the list in this script`;
    if (from === to || rankOf(to) < rankOf(from)) return undefined;
    return `${file} includes ${target}, which is not below it`;
}

// The first circle on the way down from `pair`: pairs in order, the first one again at the end.
function circleFrom(pair, uses, done, way = []) {
    if (way.includes(pair)) return [...way.slice(way.indexOf(pair)), pair];
    if (done.has(pair)) return undefined;
    for (const next of uses.get(pair) ?? []) {
        const circle = circleFrom(next, uses, done, [...way, pair]);
        if (circle) return circle;
    }
    done.add(pair);
    return undefined;
}

const faults = new Set();
const uses = new Map();
for (const file of files) {
    for (const target of includesOf(file)) {
        faults.add(faultOfInclude(file, target));
        const pair = pairOf(file);
        uses.set(pair, (uses.get(pair) ?? new Set()).add(pairOf(target)));
    }
}
const done = new Set();
for (const pair of [...uses.keys()].sort()) {
    const circle = circleFrom(pair, uses, done);
    if (!circle) continue;
    faults.add(`circle: ${circle.join(' -> ')}`);
    circle.forEach((member) => done.add(member));
}
faults.delete(undefined);
for (const fault of [...faults].sort()) console.log(fault);
console.log(`${files.size} files, ${faults.size} faults`);
process.exitCode = faults.size > 0 || files.size === 0 ? 1 : 0;
