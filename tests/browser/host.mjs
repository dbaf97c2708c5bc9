// A host for chart pages on the loopback interface: the page, its CSV export and its clear path.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readdirSync, rmSync } from 'node:fs';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const PREFIX = '/some/prefix';
const MAX_PAGE_BYTES = 256 * 1024 * 1024;

// Pages come from the programs in `binDir`: made up, or recorded from this machine.
function makePage(binDir, name) {
    const run = (program, ...args) =>
        execFileSync(join(binDir, program), args, { maxBuffer: MAX_PAGE_BYTES });
    if (name !== 'recorded') return run('sample_page', name);
    const folder = mkdtempSync(join(tmpdir(), 'vrn-chart-'));
    run('vrn_collect', '--output-dir', folder, '--interval', '50', '--duration', '500');
    const data = join(folder, 'data');
    const file = readdirSync(data).find((entry) => entry.startsWith('metrics'));
    const page = run('vrn_chart', join(data, file));
    rmSync(folder, { recursive: true });
    return page;
}

export class Host {
    requests = []; // "METHOD path" of each, with the query
    csvStatus = 200;
    clearStatus = 200;

    constructor(binDir) {
        this.binDir = binDir;
        this.pages = new Map();
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
        const { pathname } = new URL(request.url, 'http://127.0.0.1');
        if (pathname === `${PREFIX}/rta/metrics/dump`) {
            response.writeHead(200, { 'Content-Type': 'text/html' }).end(this.page);
        } else if (pathname === `${PREFIX}/rta/metrics/dump/csv`) {
            response.writeHead(this.csvStatus, { 'Content-Type': 'text/csv' }).end('time,value\n');
        } else if (pathname === `${PREFIX}/rta/metrics/clear`) {
            if (this.clearStatus === 200) this.show('empty');
            response.writeHead(this.clearStatus).end();
        } else if (pathname === '/favicon.ico') {
            response.writeHead(204).end();
        } else {
            response.writeHead(404).end();
        }
    }
}
