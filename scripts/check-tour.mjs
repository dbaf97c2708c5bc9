// Checks that what docs/tour.md names exists: files and folders, functions, types.
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const root = join(dirname(fileURLToPath(import.meta.url)), '..');
const files = execFileSync('git', ['ls-files', '*.cc', '*.h'], { cwd: root, encoding: 'utf8' });
const code = files
    .split('\n')
    .filter((file) => /^(src|tools)\//.test(file) && existsSync(join(root, file)))
    .map((file) => readFileSync(join(root, file), 'utf8'))
    .join('\n');

const tour = readFileSync(join(root, 'docs/tour.md'), 'utf8');
const drawn = [...tour.matchAll(/^(src\/\S*|tools\/\w+)/gm)].map(([, path]) => path);
const named = [...tour.replace(/```[\s\S]*?```/g, '').matchAll(/`([^`]+)`/g)].map(([, name]) => name);

function exists(name) {
    if (name.includes('*')) return true;
    if (name.includes('/')) return existsSync(join(root, name));
    if (name.endsWith('()')) return new RegExp(`\\b${name.slice(0, -2)}\\(`).test(code);
    if (/^[A-Z][a-z]\w+$/.test(name)) return new RegExp(`\\b(class|struct) ${name}\\b`).test(code);
    return true;
}

const missing = [...drawn, ...named].filter((name) => !exists(name));
for (const name of missing) console.log(`docs/tour.md names ${name}, which is not there`);
console.log(`${drawn.length + named.length} names, ${missing.length} missing`);
process.exitCode = missing.length > 0 || named.length < 40 ? 1 : 0;
