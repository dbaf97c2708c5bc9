// Compares what a page shows with what came out.

// Numbers, times, addresses and ids of two runs differ, and with them the widths of tables.
function withoutNumbers(line) {
    return line
        .replace(/(?<![0-9a-f])[0-9a-f]{32}(?![0-9a-f])/g, 'ID')
        .replace(/0x[0-9a-f]+/g, '0x0')
        .replace(/-?\d+(\.\d+)?(e[-+]?\d+)?/g, '0')
        .replace(/[─-]{2,}/g, '--')
        .replace(/ {2,}/g, ' ')
        .trim();
}

const asIs = (line) => line.trimEnd();

// "..." stands for any text within a line.
function linePattern(line) {
    const parts = line.replace(/ \.\.\.$/, '...').split('...').map((part) => part.replace(/[\\^$.*+?()[\]{}|]/g, '\\$&'));
    return new RegExp(`^${parts.join('.*')}$`);
}

// The number of the first shown line that can't be found, or null when all are. A line of "..." stands
// for any number of lines.
export function firstDifference(shown, actual, exact) {
    const form = exact ? asIs : withoutNumbers;
    const patterns = shown.map((line) => (line.trim() === '...' ? null : linePattern(form(line))));
    const lines = actual.map(form);
    let furthest = 0;
    const matches = (at, from) => {
        furthest = Math.max(furthest, at);
        if (at === patterns.length) return from === lines.length;
        if (patterns[at]) return from < lines.length && patterns[at].test(lines[from]) && matches(at + 1, from + 1);
        for (let next = from; next <= lines.length; ++next) {
            if (matches(at + 1, next)) return true;
        }
        return false;
    };
    return matches(0, 0) ? null : furthest;
}
