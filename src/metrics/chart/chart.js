// The chart, panning and zooming with the mouse, and the text below it.

const MAX_TOOLTIP_LINES = 20;
const MAX_TIME_TICKS = 20;
const TICK_STEPS_MS = [
    ...[1, 2, 5, 10, 20, 50, 100, 200, 500],
    ...[1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800].map((seconds) => seconds * 1000),
    ...[1, 2, 3, 6, 12, 24, 48, 96, 168].map((hours) => hours * 3600000),
];

function isFromToday(time) {
    return new Date(time).toDateString() === new Date().toDateString();
}

// Chart.js sets ticks from the first point on; these stand at round times.
function setRoundTicks(axis) {
    const range = axis.max - axis.min;
    const formats = axis.options.time.displayFormats;
    const step = TICK_STEPS_MS.find((ms) => {
        const labelWidth = formats[getTickUnit(ms)].length > 8 ? 110 : 75;
        return range / ms <= Math.min(MAX_TIME_TICKS - 1, axis.width / labelWidth);
    });
    if (!step) return;
    const offset = new Date(axis.min).getTimezoneOffset() * 60000;
    axis.ticks = [];
    let value = Math.ceil((axis.min - offset) / step) * step + offset;
    for (; value <= axis.max; value += step) axis.ticks.push({ value });
}

function getTickUnit(stepMs) {
    if (stepMs >= 86400000) return 'day';
    if (stepMs >= 3600000) return 'hour';
    if (stepMs >= 60000) return 'minute';
    return stepMs >= 1000 ? 'second' : 'millisecond';
}

function formatTimeTick(value, index, ticks) {
    const step = ticks.length > 1 ? ticks[1].value - ticks[0].value : 1000;
    return this.format(value, this.options.time.displayFormats[getTickUnit(step)]);
}

function createTimeAxis(range, showDate) {
    const minutes = showDate ? 'MMM dd, HH:mm' : 'HH:mm';
    return {
        type: 'time',
        min: range.min,
        max: range.max,
        time: {
            minUnit: 'millisecond',
            tooltipFormat: 'yyyy-MM-dd HH:mm:ss.SSS',
            displayFormats: {
                day: 'MMM dd',
                hour: minutes,
                minute: minutes,
                second: 'HH:mm:ss',
                millisecond: 'HH:mm:ss.SSS',
            },
        },
        afterBuildTicks: setRoundTicks,
        ticks: { maxTicksLimit: MAX_TIME_TICKS, maxRotation: 0, callback: formatTimeTick },
        title: { display: true, text: 'Time' },
    };
}

function createValueAxis(range, showRate) {
    return {
        min: range.min,
        max: range.max,
        ticks: { callback: getYAxisTickFormatter(showRate), includeBounds: false },
        title: { display: true, text: showRate ? 'Δ (per second)' : 'Value' },
    };
}

// All series have a line in the tooltip, which must not outgrow the chart.
function createTooltip() {
    return {
        filter: (item, index) => index < MAX_TOOLTIP_LINES,
        callbacks: {
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

// The padding lets whole lines fit in the height.
function createLegend() {
    const labels = { padding: 8, usePointStyle: true, pointStyle: 'line', pointStyleWidth: 28 };
    return { position: 'top', maxHeight: 100, labels };
}

function createChart(datasets, ranges, title, showRate) {
    if (chart) chart.destroy();
    const newest = findMinMax(datasets.flatMap((dataset) => dataset.data.map((point) => point.x)));
    chart = new Chart(document.getElementById('metricsChart'), {
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
                title: { display: true, text: title, font: { size: 16 } },
                legend: createLegend(),
                tooltip: createTooltip(),
                zoom: getZoomConfiguration(datasets),
            },
        },
    });
    setupChartInteractions();
    updateZoomInfo();
}

// Shows a text in place of the chart.
function showChartMessage(text) {
    if (chart) chart.destroy();
    chart = null;
    hideChartMessage();
    const container = document.querySelector('.chart-container');
    if (container) container.append(createElement('div', { id: 'chartMessage' }, text));
    updateZoomInfo();
}

function hideChartMessage() {
    const message = document.getElementById('chartMessage');
    if (message) message.remove();
}

// The canvas outlives its charts and gets its handlers once. They stand on the container, to run
// before those of the chart.
function setupChartInteractions() {
    const container = document.querySelector('.chart-container');
    if (container.dataset.interactive) return;
    container.dataset.interactive = 'true';
    container.addEventListener('contextmenu', (event) => event.preventDefault());
    container.addEventListener('wheel', stopZoomAtMinimum, { capture: true, passive: false });
    setupManualPanFallback(container);
}

function stopZoomAtMinimum(event) {
    if (!chart || event.deltaY >= 0) return;
    const { min, max } = chart.scales.x;
    if (max - min > getZoomLimits(chart.data.datasets).minRange * 1.1) return;
    event.preventDefault();
    event.stopPropagation();
}

// Shift-drag and right-drag pan: the zoom plugin does so only together with a gesture library.
function setupManualPanFallback(container) {
    let lastX = null;
    container.addEventListener('mousedown', (event) => {
        const starts = event.button === 2 || (event.button === 0 && event.shiftKey);
        if (!chart || !starts) return;
        lastX = event.clientX;
        container.classList.add('panning');
        event.preventDefault();
    });
    window.addEventListener('mousemove', (event) => {
        if (lastX === null || !chart) return;
        panChart(lastX - event.clientX);
        lastX = event.clientX;
        updateZoomInfoThrottled();
    });
    window.addEventListener('mouseup', () => {
        if (lastX === null) return;
        lastX = null;
        container.classList.remove('panning');
        setTimeout(() => {
            updateChartDataForZoom();
            updateZoomInfo();
        }, 50);
    });
}

// Moves the range in view, but not out of the data.
function panChart(pixels) {
    const { min, max } = chart.scales.x;
    const shift = (pixels / chart.chartArea.width) * (max - min);
    const full = originalFullTimeRange || { min, max };
    const bounded = Math.min(Math.max(shift, full.min - min), full.max - max);
    setVisibleRange(min + bounded, max + bounded);
}

function setVisibleRange(min, max) {
    Object.assign(chart.options.scales.x, { min, max });
    chart.update('none');
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
        ['Series', datasets.length],
        ['Points', `${displayed} of ${original} shown (${saving}% saved)`],
        ['Detail for zoom', detailed === 1 ? '1 point' : `${detailed} points`],
        ['Point limit', `${CHART_CONFIG.MAX_VISUAL_DATA_POINTS} per series`],
        ['Memory footprint', formatBytes(metricsDataFootprint)],
        ['Controls', 'Wheel: zoom. Shift-drag or right-drag: pan. Click in the legend: hide a series.'],
    ];
}

function updateChartInfo(metricNames, labels, showRate, datasets) {
    const info = document.getElementById('metricInfo');
    if (!info) return;
    const rows = describeSelection(metricNames, labels, showRate, datasets);
    info.replaceChildren(createInfoSection('chartInformation', 'Chart Information', rows));
    appendCacheInfoToChart();
}
