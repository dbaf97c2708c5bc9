// Runs the commands that README.md and docs/ show, and compares what they print:
//   node run.mjs BIN_FOLDER [PAGE ...]
// Blocks of a page run in their order in a folder of the page's own, without a network but its own.
//   console   each "$ command" prints what is shown; a command that fails is followed by "$ echo $?"
//   sh        ends with status 0
//   sql       gives vrn_sql a row at least, of the folder "telemetry"
//   json      parses
//   first line "// NAME" or "# NAME": stored as this file, for commands of the page
//   first line "// part of FILE": its lines stand in that file of the sources, in their order
// Comments above a block, seen in the source only:
//   <!-- not run: REASON -->     listed at the end
//   <!-- setup: COMMANDS -->     run before it
//   <!-- server: NAME -->        a function of tests/integration/servers.sh, start_NAME, at its usual port
//   <!-- exact -->               numbers are compared, too
//   <!-- may be empty -->        a query may give no rows
// Anything else in a block must not look like a command. Blocks whose programs aren't there are listed.
// Links to files and headings must lead there.
import { spawn, spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, symlinkSync,
    writeFileSync } from 'node:fs';
import { availableParallelism, tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { deadLinks, fileName, readConsole, readPage } from './page.mjs';
import { firstDifference } from './shown.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const root = join(here, '../..');
const binaries = resolve(process.argv[2]);
const PAGE_MS = 240_000;
const USUAL_PORTS = { clickhouse: ['clickhouse-server', 9000], influxdb: ['influxd', 8086],
    victoria_metrics: ['victoria-metrics', 8428] };
const OPTIONAL = ['clickhouse-client', 'clickhouse-server', 'influxd', 'jq', 'mlr', 'parallel', 'promtool', 'sqlite3',
    'victoria-metrics', 'xz'];
const COMMAND = /^(\$ |([\w./-]*\/)?vrn_[a-z]+ )/;

process.env.PATH += ':/usr/sbin';  // Debian's clickhouse-server is there, and not in a user's PATH

const has = (program) => spawnSync('sh', ['-c', `command -v ${program}`]).status === 0;
const missing = OPTIONAL.filter((program) => !has(program));
// Root needs no users of its own for it, which a changed root has not.
const ownNetwork = process.getuid() === 0 ? '-n' : '-rn';
const hasNetwork = spawnSync('unshare', [ownNetwork, 'ip', 'link', 'set', 'lo', 'up']).status === 0;

// Why a block can't be run here, or nothing.
function whyNot(block) {
    const text = [block.setup ?? '', ...block.lines].join('\n');
    const uses = (program) => new RegExp(`(^|[\\s|(;])${program}(\\s|$)`, 'm').test(text);
    const program = missing.find(uses) ?? missing.find((name) => USUAL_PORTS[block.server]?.[0] === name);
    if (program) return `${program} is not installed`;
    const tool = /\bvrn_(sql|serve)\b/.exec(text)?.[0] ?? (block.language === 'sql' ? 'vrn_sql' : null);
    if (tool && !existsSync(join(binaries, tool))) return `${tool} is not built`;
    const connects = block.server || /localhost:|127\.0\.0\.1:|vrn_serve/.test(text);
    if (!hasNetwork && connects) return 'no network of its own';
    return null;
}

// Commands of a block as [{text, shown}]; `shown` is null where nothing is compared. A fault is
// thrown as a text.
function commandsOf(block) {
    const text = block.lines.join('\n');
    switch (block.language) {
        case 'console': return readConsole(block.lines);
        case 'sh': return [{ text: `set -e -o pipefail\n${text}`, shown: null }];
        case 'sql': return [{ text: `set -o pipefail\nvrn_sql -f json telemetry <<'END' |${
            block.mayBeEmpty ? 'cat' : 'grep .'}\n${text}\nEND`, shown: null }];
        default: return [];
    }
}

function checkPart(block) {
    const file = /^\/\/ part of (\S+)/.exec(block.lines[0])?.[1];
    if (!file) throw new Error('names no file: "// NAME.cc", or "// part of FILE"');
    const lines = readFileSync(join(root, file), 'utf8').split('\n');
    let at = 0;
    for (const line of block.lines.slice(1).filter((text) => text.trim())) {
        at = lines.indexOf(line, at) + 1;
        if (at === 0) throw new Error(`not in ${file}, or not in this order: ${line}`);
    }
}

function checkData(block) {
    if (block.language === '') throw new Error('a block without a language');
    if (block.language === 'json') {
        const text = block.lines.join('\n');
        try { JSON.parse(text); } catch { block.lines.forEach((line) => JSON.parse(line)); }
    }
    const command = block.lines.find((line) => COMMAND.test(line));
    if (command) throw new Error(`a command that isn't run: ${command}`);
}

// What can be told of a block without running it.
function checkText(block, page) {
    const name = fileName(block);
    if (name) {
        const program = name === 'CMakeLists.txt' ? 'cmake -S .' : `./${name.replace(/\.\w+$/, '')}`;
        const uses = (line) => line.includes(name) || line.includes(program);
        if (!page.blocks.some((other) => other !== block && other.lines.some(uses))) throw new Error(`nothing on the page uses ${name}`);
        writeFileSync(join(page.folder, name), `${block.lines.join('\n')}\n`);
    } else if (block.language === 'cpp') {
        checkPart(block);
    } else if (['js', 'python'].includes(block.language)) {
        throw new Error('a program that has no name');
    } else if (!['console', 'sh', 'sql', 'nothing'].includes(block.language)) {
        checkData(block);
    }
}

// The script of a page: for each block a shell that keeps its variables from command to command.
function pageScript(page) {
    const script = [
        `cd '${page.folder}/work'`,
        `duckdb() { node '${here}/duckdb.mjs' "$@"; }`,
        'ip link set lo up 2>/dev/null',
        // Until FILE holds as many lines more: what a command in the background says.
        'await_lines() { for _ in $(seq 100); do [ "$(wc -l <"$1")" -ge "$2" ] && return; sleep 0.1; done; }',
    ];
    page.runs.forEach(({ block, commands }, index) => {
        const out = join(page.folder, `${index}.out`);
        if (block.server) {
            const [, port] = USUAL_PORTS[block.server];
            script.push(`. '${root}/tests/integration/servers.sh'`, `start_${block.server} ${port}`);
        }
        if (block.setup) script.push(`( set -e -o pipefail\n${block.setup}\n) >'${out}' 2>&1 </dev/null || exit`);
        script.push(`( exec >'${out}' 2>&1 </dev/null`);
        commands.forEach(({ text, shown }, number) => {
            const file = join(page.folder, `${index}.${number}.sh`);
            writeFileSync(file, `${text}\n`);
            script.push(`. '${file}'`, 'docs_status=$?');
            if (/&\s*$/.test(text)) script.push(`await_lines '${out}' $(($(wc -l <'${out}') + ${shown.length}))`);
            script.push(String.raw`printf '\037%s\n' $docs_status`, '(exit $docs_status)');
        });
        script.push(`) & wait $!`);
    });
    const file = join(page.folder, 'page.sh');
    writeFileSync(file, `${script.join('\n')}\nexit 0\n`);
    return file;
}

function runScript(file, output) {
    const command = hasNetwork ? ['unshare', ownNetwork, 'bash', file] : ['bash', file];
    const env = { ...process.env, PATH: `${binaries}:${process.env.PATH}`, TZ: 'UTC', LC_ALL: 'C.UTF-8',
        VRN_HOST_NAME: 'vm', VRN_SOURCE_ID: 'vm' };
    return new Promise((done) => {
        const child = spawn(command[0], command.slice(1), { env, detached: true, stdio: ['ignore', 'pipe', 'pipe'] });
        const end = () => { try { process.kill(-child.pid, 'SIGKILL'); } catch { /* it ended by itself */ } };
        const timer = setTimeout(end, PAGE_MS);
        child.stdout.on('data', (data) => { output.text += data; });
        child.stderr.on('data', (data) => { output.text += data; });
        child.on('exit', () => { end(); clearTimeout(timer); done(); });
    });
}

const brief = (lines) => lines.slice(0, 30).map((line) => line.slice(0, 300)).join('\n');

// Where what a command printed isn't what is shown, or null.
function difference({ text, shown }, actual, exact) {
    if (!shown) return null;
    const lines = actual === '' ? [] : actual.replace(/\n$/, '').split('\n');
    const at = firstDifference(shown, lines, exact || text === 'echo $?');
    if (at === null) return null;
    return `${text}\nprinted\n${brief(lines)}\nwhere the page shows\n${shown[at] ?? '(nothing more)'}`;
}

// The first fault of a block, by the file that holds what its commands printed, or null.
function firstFault({ block, commands }, out) {
    const printed = existsSync(out) ? readFileSync(out, 'utf8').split('\x1f') : [''];
    for (const [number, command] of commands.entries()) {
        const actual = number === 0 ? printed[0] : printed[number].replace(/^\d+\n/, '');
        if (printed.length <= number + 1) return `did not end: ${command.text}\n${actual}`;
        const status = parseInt(printed[number + 1], 10);
        const isShown = commands[number + 1]?.text === 'echo $?';
        if (status !== 0 && !isShown) return `status ${status}: ${command.text}\n${actual}`;
        const fault = difference(command, actual, block.exact);
        if (fault) return fault;
    }
    return null;
}

async function checkPage(path) {
    const page = { path, folder: mkdtempSync(join(tmpdir(), 'vrn-docs-')), blocks: readPage(path), runs: [] };
    const report = { faults: [], skipped: [], run: 0 };
    const note = (list, block, text) => list.push(`${path.replace(`${root}/`, '')}:${block.line}: ${text}`);
    for (const link of deadLinks(path)) note(report.faults, link, `leads nowhere: ${link.target}`);
    mkdirSync(join(page.folder, 'work'));
    symlinkSync(dirname(binaries), join(page.folder, 'work/build'));
    for (const name of ['examples', 'node_modules', 'tests']) symlinkSync(join(root, name), join(page.folder, 'work', name));
    try {
        for (const block of page.blocks) {
            const reason = block.notRun ?? whyNot(block);
            if (reason) note(report.skipped, block, reason);
            try {
                if (!reason) checkText(block, { ...page, folder: join(page.folder, 'work') });
                if (!reason) page.runs.push({ block, commands: commandsOf(block) });
            } catch (error) {
                note(report.faults, block, error.message);
            }
        }
        const output = { text: '' };
        await runScript(pageScript(page), output);
        page.runs.forEach((run, index) => {
            const fault = firstFault(run, join(page.folder, `${index}.out`));
            if (fault) note(report.faults, run.block, `${fault}${output.text}`);
        });
        report.run = page.runs.filter(({ commands }) => commands.length > 0).length;
    } finally {
        rmSync(page.folder, { recursive: true, force: true });
    }
    return report;
}

function allPages() {
    const names = (folder) => readdirSync(join(root, folder)).filter((name) => name.endsWith('.md'))
        .map((name) => join(root, folder, name));
    return [...names('.'), ...names('docs')];
}

const queue = process.argv.length > 3 ? process.argv.slice(3).map((path) => resolve(path)) : allPages();
const reports = [];
await Promise.all(Array.from({ length: Math.min(availableParallelism(), 4) }, async () => {
    for (let path = queue.shift(); path; path = queue.shift()) reports.push(await checkPage(path));
}));
const faults = reports.flatMap((report) => report.faults);
for (const text of reports.flatMap((report) => report.skipped)) console.log(`not run: ${text}`);
for (const text of faults) console.log(`\nfalse: ${text}`);
const count = reports.reduce((sum, report) => sum + report.run, 0);
console.log(`${count} blocks run, ${faults.length} false`);
process.exitCode = faults.length > 0 || count === 0 ? 1 : 0;
