// The chart and the text below it.

const MAX_TOOLTIP_LINES = 20;
const TOOLTIP_MARGIN_PX = 50; // around texts: padding, box and arrow
const MAX_LEGEND_ROWS = 4; // whole rows in the height of the legend
const LEGEND_PADDING_PX = 8;
const LEGEND_LINE_PX = 28;
const LEGEND_TEXT_PX = LEGEND_LINE_PX + 6; // where the text of an entry begins

// All series have a place in the tooltip, which must not outgrow the chart: few series may take
// several lines each.
function createTooltip() {
    return {
        filter: (item, index) => index < MAX_TOOLTIP_LINES,
        callbacks: {
            label: formatTooltipLines,
            labelColor: ({ dataset }) => ({
                borderColor: dataset.borderColor,
                backgroundColor: dataset.borderColor,
            }),
            footer: (items) => {
                const count = items.length ? items[0].chart.getActiveElements().length : 0;
                const more = count - MAX_TOOLTIP_LINES;
                return more > 0 ? `… and ${more} more` : '';
            },
        },
    };
}

function formatTooltipLines(item) {
    const { ctx, width } = item.chart;
    ctx.font = Chart.helpers.toFont(this.options.bodyFont).string;
    const value = `: ${item.formattedValue}`;
    const count = Math.max(1, item.chart.getActiveElements().length);
    const maxLines = Math.max(1, Math.floor(MAX_TOOLTIP_LINES / count));
    const room = width - TOOLTIP_MARGIN_PX - ctx.measureText(value).width;
    const lines = wrapText(ctx, item.dataset.label, room, maxLines);
    lines[lines.length - 1] += value;
    return lines;
}

function createLegend() {
    const { onClick } = Chart.defaults.plugins.legend;
    return {
        position: 'top',
        maxHeight: 100,
        labels: {
            padding: LEGEND_PADDING_PX,
            usePointStyle: true,
            pointStyle: 'line',
            pointStyleWidth: LEGEND_LINE_PX,
            generateLabels: generateLegendItems,
        },
        onClick: (event, item, legend) => {
            if (item.datasetIndex < 0) return;
            onClick(event, item, legend);
            updateChartTable();
        },
        onHover: (event, item) => showCanvasTitle(item.title),
        onLeave: () => showCanvasTitle(''),
    };
}

function showCanvasTitle(text) {
    document.getElementById('metricsChart').title = text;
}

// The entries that fit, with texts that fit. Called for the legend, before it lays them out.
function generateLegendItems() {
    const { ctx, maxWidth, options } = this;
    const items = Chart.defaults.plugins.legend.labels.generateLabels(this.chart);
    ctx.font = Chart.helpers.toFont(options.labels.font).string;
    const room = maxWidth - 2 * LEGEND_PADDING_PX - LEGEND_TEXT_PX;
    for (const item of items) {
        item.title = item.text;
        [item.text] = wrapText(ctx, item.text, room, 1);
    }
    const widthOf = ({ text }) => LEGEND_TEXT_PX + ctx.measureText(text).width;
    const textOfMore = (number) => `… and ${number} more`;
    const moreWidth = widthOf({ text: textOfMore(items.length) });
    const count = countLegendItems(items.map(widthOf), moreWidth, maxWidth);
    if (count === items.length) return items;
    const more = { text: textOfMore(items.length - count), title: '', lineWidth: 0, datasetIndex: -1 };
    return [...items.slice(0, count), { ...items[0], ...more, hidden: false }];
}

// How many entries of these widths stand in the rows, with an entry for the others after them.
function countLegendItems(widths, moreWidth, rowWidth) {
    let row = 1;
    let used = 0;
    let count = 0;
    const wraps = (width) => used > 0 && used + width + 2 * LEGEND_PADDING_PX > rowWidth;
    for (let i = 0; i < widths.length; i++) {
        if (row < MAX_LEGEND_ROWS || !wraps(moreWidth)) count = i;
        if (wraps(widths[i])) {
            row++;
            used = 0;
        }
        if (row > MAX_LEGEND_ROWS) return count;
        used += widths[i] + LEGEND_PADDING_PX;
    }
    return widths.length;
}

// Chart.js draws on a canvas, which styles don't reach.
function applyChartTheme() {
    Chart.defaults.color = getThemeColor('--muted');
    Chart.defaults.borderColor = getThemeColor('--grid');
}

function getThemeColor(name) {
    return getComputedStyle(document.body).getPropertyValue(name);
}

function createChart(datasets, ranges, title, showRate) {
    if (chart) chart.destroy();
    applyChartTheme();
    const canvas = document.getElementById('metricsChart');
    canvas.setAttribute('aria-label', `Chart of ${title}; a table of its data is below`);
    const newest = findMinMax(datasets.flatMap((dataset) => dataset.data.map((point) => point.x)));
    chart = new Chart(canvas, {
        type: 'line',
        data: { datasets },
        options: {
            responsive: true,
            maintainAspectRatio: false,
            animation: false,
            interaction: { mode: 'index', intersect: false },
            elements: { line: { borderWidth: 2 } },
            clip: 8, // whole points on the edges
            scales: {
                x: createTimeAxis(ranges.x, !isFromToday(newest.max)),
                y: createValueAxis(ranges.y, showRate),
            },
            plugins: {
                title: { display: true, text: title, font: { size: 16 }, color: getThemeColor('--text') },
                legend: createLegend(),
                tooltip: createTooltip(),
                zoom: getZoomConfiguration(datasets),
            },
        },
    });
    setupChartInteractions();
    updateZoomInfo();
}

// Shows texts in place of the chart, each in a line of its own.
function showChartMessage(...texts) {
    if (chart) chart.destroy();
    chart = null;
    hideChartMessage();
    const container = document.querySelector('.chart-container');
    const lines = texts.map((text) => createElement('p', {}, text));
    if (container) container.append(createElement('div', { id: 'chartMessage' }, ...lines));
    updateZoomInfo();
    updateChartTable();
}

function hideChartMessage() {
    const message = document.getElementById('chartMessage');
    if (message) message.remove();
}

function describeSeriesCount(count) {
    return count < MAX_DRAWN_SERIES ? count : `${count}, more are not drawn: choose fewer at a time`;
}

function describeSelection(metricNames, labels, showRate, datasets) {
    const original = countPoints(datasets, (dataset) => dataset.originalDataPointsCount);
    const displayed = countPoints(datasets, (dataset) => dataset.data.length);
    const detailed = countPoints(datasets, (dataset) => getOriginalPoints(dataset).length);
    const saving = original > 0 ? (100 * (1 - displayed / original)).toFixed(1) : '0.0';
    return [
        ['Metrics', describeList(metricNames, 'none')],
        ['Labels', describeList(labels.map((label) => label || '(no labels)'), 'all')],
        ['Mode', showRate ? 'Rate (Δ/sec)' : 'Values'],
        ['Series', describeSeriesCount(datasets.length)],
        ['Points', `${displayed} of ${original} shown (${saving}% saved)`],
        ['Detail for zoom', detailed === 1 ? '1 point' : `${detailed} points`],
        ['Point limit', `${CHART_CONFIG.MAX_VISUAL_DATA_POINTS} per series`],
        ['Memory footprint', formatBytes(metricsDataFootprint)],
        [
            'Controls',
            'Wheel, + and -: zoom. Shift-drag, right-drag and arrow keys: pan. 0: full view. ' +
                'Click in the legend: hide a series.',
        ],
    ];
}

function updateChartInfo(metricNames, labels, showRate, datasets) {
    const info = document.getElementById('metricInfo');
    if (!info) return;
    const rows = describeSelection(metricNames, labels, showRate, datasets);
    info.replaceChildren(createInfoSection('chartInformation', 'Chart Information', rows));
    appendCacheInfoToChart();
}
