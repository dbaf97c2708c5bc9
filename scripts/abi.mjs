// The names that libvrn.so exports: what the public headers declare and the library defines.
//
//   node scripts/abi.mjs           exit status 1 when src/libvrn.map lists others
//   node scripts/abi.mjs --write   writes src/libvrn.map anew
//
// Needs clang++ and a build in build/. A name that goes away breaks programs that were linked with
// it: VRN_SOVERSION in CMakeLists.txt must rise with it.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';

const mapFile = 'src/libvrn.map';
const run = (program, ...args) => execFileSync(program, args, { encoding: 'utf8', maxBuffer: 2 ** 28 });

// clang's trees of all declarations of ours, one after the other.
function declarations() {
    const list = readFileSync('cmake/PublicHeaders.cmake', 'utf8').replaceAll(/#.*/g, '');
    const folder = mkdtempSync(path.join(tmpdir(), 'abi-'));
    const source = path.join(folder, 'all.cc');
    writeFileSync(source, list.replaceAll(/[^]*?([\w/]+\.h)\b|[^]*$/g, (_, header) => (header ? `#include "${header}"\n` : '')));
    const trees = run('clang++', '-std=c++20', '-Isrc', '-Ibuild/src/generated', '-Ithird_party/parson',
        '-fsyntax-only', '-Xclang', '-ast-dump=json', '-Xclang', '-ast-dump-filter=vrn', source);
    rmSync(folder, { recursive: true });
    return trees.split(/^(?=\{)/m).map((tree) => JSON.parse(tree));
}

// Adds the declared names to `names`: those of templates to `names.weak`, for a library may define
// these once for all, as `extern template` says.
function collect(node, inTemplate, names) {
    const isTemplate = inTemplate || /Template/.test(node.kind);
    if (node.mangledName) {
        const set = isTemplate ? names.weak : names.strong;
        // A constructor or destructor is three functions, of which clang names one.
        for (const digit of ['0', '1', '2']) {
            set.add(node.mangledName.replace(/([CD])[012](E.*)$/, `$1${digit}$2`));
        }
    }
    // Instances of a template without a body are the library's to define.
    const pattern = node.kind === 'FunctionTemplateDecl' && node.inner.find(({ kind }) => /^(Function|CXXMethod)Decl$/.test(kind));
    if (pattern && !pattern.inner?.some(({ kind }) => kind === 'CompoundStmt')) {
        names.templates.push(`${node.name.length}${node.name}I`);
    }
    for (const child of node.inner ?? []) collect(child, isTemplate, names);
    return names;
}

function exportedNames() {
    const names = { strong: new Set(), weak: new Set(), templates: [] };
    for (const tree of declarations()) collect(tree, false, names);
    // A class is declared by its functions.
    const isTableOfClass = (name) => {
        const [, scope] = /^_ZT[ISV]N(.*)E$/.exec(name) ?? [];
        return scope && [...names.strong].some((other) => other.match(/^_ZNK?(.*)/)?.[1].startsWith(scope));
    };
    const isInstance = (name) => /^_ZNK?3vrn/.test(name) && names.templates.some((start) => name.includes(start));
    const isExported = ([name, type]) =>
        names.weak.has(name) || isInstance(name) || ('TDBR'.includes(type) && names.strong.has(name)) || isTableOfClass(name);
    const exported = run('nm', '--defined-only', '--format=posix', 'build/src/libvrn.a').split('\n')
        .map((line) => line.split(' '))
        .filter(isExported);
    return [...new Set(exported.map(([name]) => name))].sort();
}

const map = `# Written by scripts/abi.mjs.
VRN_1 {
    global:
        json_*; # parson, whose values our headers hand out
${exportedNames().map((name) => `        ${name};\n`).join('')}    local:
        *;
};
`;
if (process.argv[2] === '--write') {
    writeFileSync(mapFile, map);
} else if (map !== readFileSync(mapFile, 'utf8')) {
    console.error(`${mapFile} isn't what the public headers declare: run scripts/abi.mjs --write`);
    process.exit(1);
}
