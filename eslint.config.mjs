// Lint rules for the scripts of the chart page and for the node scripts around them.
import { readdirSync, readFileSync } from 'node:fs';

const chartFolder = new URL('src/metrics/chart/', import.meta.url);

// The modules of the page are plain scripts on one global scope: what one declares, all may use.
function globalsOfPage() {
    const globals = {};
    for (const file of readdirSync(chartFolder)) {
        const text = readFileSync(new URL(file, chartFolder), 'utf8');
        for (const [, kind, name] of text.matchAll(/^(?:async )?(function|const|let|var) (\w+)/gm)) {
            globals[name] = kind === 'var' ? 'writable' : 'readonly';
        }
    }
    return globals;
}

function readonly(names) {
    return Object.fromEntries(names.split(' ').map((name) => [name, 'readonly']));
}

const browserGlobals = readonly(
    'Blob Chart MutationObserver Option ResizeObserver URL URLSearchParams alert clearInterval ' +
        'clearTimeout confirm document fetch getComputedStyle history localStorage location matchMedia ' +
        'navigator setInterval setTimeout window',
);
const nodeGlobals = readonly('Buffer URL URLSearchParams clearTimeout console process setTimeout');

const rules = {
    'array-callback-return': 'error',
    complexity: ['error', 12],
    curly: ['error', 'multi-line'],
    eqeqeq: 'error',
    'max-lines': ['error', 240],
    'no-cond-assign': 'error',
    'no-const-assign': 'error',
    'no-dupe-keys': 'error',
    'no-empty': 'error',
    'no-eval': 'error',
    'no-fallthrough': 'error',
    'no-implicit-coercion': 'error',
    'no-redeclare': ['error', { builtinGlobals: false }],
    'no-shadow': 'error',
    'no-undef': 'error',
    'no-unreachable': 'error',
    'no-unused-expressions': 'error',
    'no-unused-vars': ['error', { vars: 'local' }],
    'prefer-const': 'error',
};

export default [
    { ignores: ['build*/**', 'third_party/**'] },
    {
        files: ['src/metrics/chart/*.js'],
        languageOptions: {
            ecmaVersion: 2022,
            sourceType: 'script',
            globals: { ...globalsOfPage(), ...browserGlobals },
        },
        rules,
    },
    {
        files: ['**/*.mjs'],
        languageOptions: { ecmaVersion: 2022, sourceType: 'module', globals: nodeGlobals },
        rules: { ...rules, 'max-lines': ['error', 400], 'no-unused-vars': 'error', 'no-var': 'error' },
    },
    {
        // They hold functions that run in the page.
        files: ['tests/browser/*_{tests,steps}.mjs'],
        languageOptions: { globals: { ...globalsOfPage(), ...browserGlobals } },
    },
];
