// Code blocks of a page in Markdown, and what its comments ask of the run.
import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

// An object for each block, and for each set-up between them: `line` in the page, `language`,
// `lines`, and what the comments right above it say: `notRun` is a reason, `setup` commands,
// `server` a name, `exact` whether numbers are compared as well.
export function readPage(path) {
    const blocks = [];
    let asked = {};
    let block = null;
    let comment = null;
    readFileSync(path, 'utf8').split('\n').forEach((text, index) => {
        if (block) {
            if (text !== '```') {
                block.lines.push(text);
                return;
            }
            blocks.push(block);
            block = null;
            asked = {};
        } else if (comment) {
            comment += `\n${text}`;
        } else if (text.startsWith('```')) {
            block = { line: index + 1, language: text.slice(3), lines: [], ...asked };
        } else if (text.startsWith('<!--')) {
            comment = text;
        }
        if (comment?.endsWith('-->')) {
            Object.assign(asked, request(comment, index + 1));
            comment = null;
        }
    });
    if (block || comment) throw new Error(`${path}: a block or comment has no end`);
    if (Object.keys(asked).length > 0) blocks.push({ language: 'nothing', lines: [], ...asked });
    return blocks;
}

function request(comment, line) {
    const found = /^<!-- (not run|setup|server|exact|may be empty)(?:: ?)?([^]*?) ?-->$/.exec(comment);
    if (!found) throw new Error(`line ${line}: not a comment that a run knows: ${comment}`);
    const [, key, value] = found;
    if (key === 'exact') return { exact: true };
    if (key === 'may be empty') return { mayBeEmpty: true };
    if (!value.trim()) throw new Error(`line ${line}: "${key}" says nothing`);
    return { [key === 'not run' ? 'notRun' : key]: value };
}

const slug = (heading) => heading.toLowerCase().replace(/[^\w\s-]/g, '').trim().replace(/\s/g, '-');

// Links to files and headings that aren't there, as [{line, target}].
export function deadLinks(path) {
    const lines = readFileSync(path, 'utf8').split('\n');
    const links = lines.flatMap((text, index) => [...text.matchAll(/\]\(([^)\s]+)\)/g)]
        .map(([, target]) => ({ line: index + 1, target })));
    return links.filter(({ target }) => {
        if (/^https?:/.test(target)) return false;
        const [file, heading] = target.split('#');
        const page = file ? join(dirname(path), file) : path;
        if (!existsSync(page)) return true;
        if (!heading) return false;
        const headings = readFileSync(page, 'utf8').match(/^#+ .*$/gm) ?? [];
        return !headings.some((text) => slug(text.replace(/^#+ /, '')) === heading);
    });
}

// The file that a block is, by a comment in its first line: "// fans.cc", "# names.cset: ...".
export function fileName(block) {
    return /^(?:\/\/|#) ([\w-]+\.\w+)(?::.*)?$/.exec(block.lines[0] ?? '')?.[1];
}

// The commands of a console block with the lines shown after each. A command goes on after "\" and
// with "> ".
export function readConsole(lines) {
    const commands = [];
    for (const line of lines) {
        const last = commands.at(-1);
        if (line.startsWith('$ ')) {
            commands.push({ text: line.slice(2), shown: [] });
        } else if (!last) {
            throw new Error('a console block begins with "$ " and a command');
        } else if (last.shown.length === 0 && (last.text.endsWith('\\') || line.startsWith('> '))) {
            last.text += `\n${line.replace(/^> /, '')}`;
        } else {
            last.shown.push(line);
        }
    }
    return commands;
}
