// A host for chart pages on the loopback interface: the page, its CSV export and its clear path.
import { Buffer } from 'node:buffer';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const PREFIX = '/some/prefix';
const MAX_PAGE_BYTES = 256 * 1024 * 1024;

const CANARY = 'window.canary = true';

// A metric, a label and its values, as others may send them: each tries to get out of the string or
// the element that it stands in, and to run the canary. The last ones end within a character.
export const HOSTILE_TEXTS = [
    `it's <b>&amp;</b> </option></select><script>${CANARY}</script>`,
    `\\'];});${CANARY};//`,
    "it's",
    `'; ${CANARY}; '`,
    `\\'; ${CANARY}; //`,
    `"\\"\`\${${CANARY}}`,
    `</script><script>${CANARY}</script>`,
    `<!--<script>${CANARY}`,
    `</SCRIPT ><img src=x onerror="${CANARY}">`,
    `\n${CANARY}//`,
    `\r\n${CANARY}//`,
    `\u2028${CANARY}//\u2029${CANARY}//`,
    '\0 \t \x1b[31m \x7f \x85',
    'trailing \\',
    Buffer.from([0x62, 0xff]),
    Buffer.from([0x62, 0xe2, 0x98]),
    Buffer.from(`\xe2'; ${CANARY}; '`, 'latin1'),
];

// Pages come from the programs in `binDir`: made up, of hostile texts, or recorded from this
// machine.
function makePage(binDir, name) {
    const run = (program, ...args) =>
        execFileSync(join(binDir, program), args, { maxBuffer: MAX_PAGE_BYTES });
    if (name !== 'recorded' && name !== 'hostile') return run('sample_page', name);
    const folder = mkdtempSync(join(tmpdir(), 'vrn-chart-'));
    if (name === 'recorded') {
        run('vrn_collect', '--output-dir', folder, '--interval', '50', '--duration', '500');
    } else {
        const texts = HOSTILE_TEXTS.map((text) => Buffer.from(text).toString('hex'));
        writeFileSync(join(folder, 'hostile.bin'), run('sample_page', ...texts));
    }
    const page = run('vrn_chart', folder);
    rmSync(folder, { recursive: true });
    return page;
}

export class Host {
    requests = []; // "METHOD path" of each, with the query
    csvStatus = 200;
    clearStatus = 200;
    pointsStatus = 200;

    // `pages` keeps what is made, for all hosts of a run.
    constructor(binDir, pages) {
        this.binDir = binDir;
        this.pages = pages;
        this.server = createServer((request, response) => this.answer(request, response));
    }

    async start() {
        await new Promise((resolve) => this.server.listen(0, '127.0.0.1', resolve));
        this.url = `http://127.0.0.1:${this.server.address().port}${PREFIX}/rta/metrics/dump`;
    }

    stop() {
        this.server.close();
        this.server.closeAllConnections();
    }

    // Starts anew with the named page.
    reset(pageName) {
        this.show(pageName);
        this.requests = [];
        this.csvStatus = 200;
        this.clearStatus = 200;
        this.pointsStatus = 200;
    }

    show(pageName) {
        if (!this.pages.has(pageName)) {
            this.pages.set(pageName, makePage(this.binDir, pageName));
        }
        this.page = this.pages.get(pageName);
    }

    requestsOf(path) {
        return this.requests.filter((request) => request.split(/[ ?]/)[1] === PREFIX + path);
    }

    answer(request, response) {
        this.requests.push(`${request.method} ${request.url}`);
        const { pathname, searchParams } = new URL(request.url, 'http://127.0.0.1');
        if (pathname === `${PREFIX}/rta/metrics/dump`) {
            response.writeHead(200, { 'Content-Type': 'text/html' }).end(this.page);
        } else if (pathname === `${PREFIX}/rta/metrics/dump/csv`) {
            response.writeHead(this.csvStatus, { 'Content-Type': 'text/csv' }).end('time,value\n');
        } else if (pathname === `${PREFIX}/rta/metrics/clear`) {
            if (this.clearStatus === 200) this.show('empty');
            response.writeHead(this.clearStatus).end();
        } else if (pathname === `${PREFIX}/rta/metrics/data`) {
            const points = () =>
                execFileSync(join(this.binDir, 'sample_page'), ['points', searchParams.get('metrics')]);
            response.writeHead(this.pointsStatus, { 'Content-Type': 'application/json' });
            response.end(this.pointsStatus === 200 ? points() : '');
        } else if (pathname === '/favicon.ico') {
            response.writeHead(204).end();
        } else {
            response.writeHead(404).end();
        }
    }
}
