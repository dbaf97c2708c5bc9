// Helpers: page elements, selectors, texts and the range of the value axis.

// A new element with the given properties, holding child elements or texts.
function createElement(tag, properties, ...children) {
    const element = Object.assign(document.createElement(tag), properties);
    element.append(...children);
    return element;
}

// A titled table of name and value pairs.
function createInfoSection(id, title, rows) {
    const table = createElement('dl', {});
    for (const [name, value] of rows) {
        table.append(createElement('dt', {}, name), createElement('dd', {}, String(value)));
    }
    return createElement('section', { id }, createElement('h2', {}, title), table);
}

function describeList(items, noItems) {
    if (items.length === 0) return noItems;
    const shown = items.slice(0, 10).join('; ');
    return items.length > 10 ? `${shown}; … (${items.length} in all)` : shown;
}

// Numbers in texts count by their size: 2 comes before 10.
const textOrder = new Intl.Collator(undefined, { numeric: true });

function compareTexts(a, b) {
    return textOrder.compare(a, b);
}

// Cuts a text into lines of a width in pixels. The last of `maxLines` ends in "…" if there is more.
function wrapText(context, text, width, maxLines) {
    const lines = [];
    let rest = text;
    while (lines.length < maxLines - 1 && context.measureText(rest).width > width) {
        const line = cutText(context, rest, width, '');
        lines.push(line);
        rest = rest.slice(line.length);
    }
    lines.push(context.measureText(rest).width > width ? cutText(context, rest, width, '…') : rest);
    return lines;
}

// The longest beginning of a text, but one character at least, that fits with `ending` after it.
function cutText(context, text, width, ending) {
    const characters = Array.from(text);
    const textOf = (count) => characters.slice(0, count).join('') + ending;
    let low = 1;
    let high = characters.length;
    while (low < high) {
        const middle = Math.ceil((low + high) / 2);
        if (context.measureText(textOf(middle)).width <= width) low = middle;
        else high = middle - 1;
    }
    return textOf(low);
}

function selectedOptions(selectId) {
    const select = document.getElementById(selectId);
    return select ? Array.from(select.selectedOptions) : [];
}

// Ids are wider than the numbers of JavaScript. The keys of the data were rounded when they were
// read, so ids of options are rounded alike.
function getSelectedMetricIds() {
    return selectedOptions('metricSelect').map((option) => parseInt(option.value, 10));
}

// The `text` of an option would have its white space collapsed.
function getSelectedMetricNames() {
    return selectedOptions('metricSelect').map((option) => option.textContent);
}

function getSelectedLabels() {
    return selectedOptions('labelSelect').map((option) => option.value);
}

function formatBytes(bytes) {
    const units = ['B', 'KB', 'MB', 'GB', 'TB'];
    let unit = 0;
    while (bytes >= 1024 && unit < units.length - 1) {
        bytes /= 1024;
        unit++;
    }
    return `${parseFloat(bytes.toFixed(2))} ${units[unit]}`;
}

// How many points of a series can be told apart on the canvas.
function calculateOptimalDataPoints() {
    const canvas = document.getElementById('metricsChart');
    const width = (canvas && canvas.clientWidth) || CHART_CONFIG.TYPICAL_WIDTH_PX;
    const pointWidth = 2 * CHART_CONFIG.POINT_HOVER_RADIUS_PX + CHART_CONFIG.MIN_POINT_SPACING_PX;
    return Math.max(50, Math.floor(width / pointWidth));
}

function collectAvailableLabels(metricIds) {
    const labels = new Set();
    for (const id of metricIds) {
        for (const dataset of metricsData[id] || []) labels.add(dataset.label);
    }
    return Array.from(labels).sort(compareTexts);
}

// A list that didn't change is left alone: rebuilding it would lose its scroll position.
function updateLabelSelector(labels) {
    const select = document.getElementById('labelSelect');
    if (!select) return;
    const shown = Array.from(select.options, (option) => option.value);
    if (shown.length === labels.length && shown.every((label, i) => label === labels[i])) return;
    const selected = new Set(getSelectedLabels());
    select.replaceChildren(
        ...labels.map((label) => {
            const option = new Option(label || '(no labels)', label, false, selected.has(label));
            option.title = option.text;
            return option;
        }),
    );
}

function countPoints(datasets, getCount) {
    return datasets.reduce((sum, dataset) => sum + getCount(dataset), 0);
}

function findMinMax(values) {
    let min = Infinity;
    let max = -Infinity;
    for (const value of values) {
        if (!Number.isFinite(value)) continue;
        min = Math.min(min, value);
        max = Math.max(max, value);
    }
    return { min, max };
}

// Range of the value axis, with some room around the values.
function calculateAxisRange(values) {
    const { min, max } = findMinMax(values);
    if (min > max) return { min: 0, max: 1 };
    if (min === max) {
        if (Math.abs(max) < 1e-6) return { min: -1, max: 1 };
        const margin = Math.abs(max) * 0.1;
        return { min: min - margin, max: max + margin };
    }
    const padding = Math.max((max - min) * 0.05, max * 0.001);
    let lower = min - padding;
    // Values that are never negative get no deep negative range.
    if (min >= 0 && lower < -0.1 * max) lower = Math.max(0, min - 0.05 * max);
    return { min: lower, max: max + padding };
}

function formatTick(value) {
    const size = Math.abs(value);
    if (size === 0) return '0';
    if (size < 1e-10) return '~0';
    const steps = [
        [1e15, 'P'],
        [1e12, 'T'],
        [1e9, 'G'],
        [1e6, 'M'],
        [1e3, 'K'],
    ];
    for (const [step, letter] of steps) {
        if (size >= step) return (value / step).toFixed(1) + letter;
    }
    if (size >= 100) return value.toFixed(0);
    if (size >= 10) return value.toFixed(1);
    if (size >= 1) return value.toFixed(2);
    if (size >= 0.1) return value.toFixed(3);
    if (size >= 0.001) return (value * 1e3).toFixed(1) + 'm';
    if (size >= 0.000001) return (value * 1e6).toFixed(1) + 'μ';
    return value.toExponential(2);
}

function getYAxisTickFormatter(showRate) {
    return (value) => formatTick(value) + (showRate ? '/s' : '');
}

function getChartTitle(metricNames, showRate) {
    const title =
        metricNames.length === 1 ? metricNames[0] : `Multiple Metrics (${metricNames.length})`;
    return showRate ? `${title} - Rate View` : title;
}

// Commas part the items of lists. A lone surrogate, which stands for a byte that was no UTF-8, has
// no form in an address.
function encodeListItem(text) {
    return encodeURIComponent(text.replace(/\p{Surrogate}/gu, '\ufffd'));
}

function quoteForCSV(text) {
    return /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

function clearZoomStateOnDataChange() {
    originalFullTimeRange = null;
    updateZoomInfo();
}
