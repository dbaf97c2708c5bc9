// From the data of the page to the datasets of a chart: choice, rates, sampling; and its axes, with
// ticks at round times.

const MAX_TIME_TICKS = 20;
const YEAR_MS = 365.2425 * 86400000;
const TICK_STEPS = [
    ...makeTickSteps('millisecond', 1, [1, 2, 5, 10, 20, 50, 100, 200, 500]),
    ...makeTickSteps('second', 1000, [1, 2, 5, 10, 15, 30]),
    ...makeTickSteps('minute', 60000, [1, 2, 5, 10, 15, 30]),
    ...makeTickSteps('hour', 3600000, [1, 2, 3, 6, 12]),
    ...makeTickSteps('day', 86400000, [1, 2, 4, 7, 14]),
    ...makeTickSteps('month', YEAR_MS / 12, [1, 2, 3, 6]),
    ...[1, 10, 100].flatMap((tens) => makeTickSteps('year', YEAR_MS * tens, [1, 2, 5])),
];

// Change per second, at the later point of each pair of neighbours; times are milliseconds.
function calculateRateData(points) {
    const rates = [];
    for (let i = 1; i < points.length; i++) {
        const elapsed = points[i].x - points[i - 1].x;
        if (elapsed <= 0) continue;
        rates.push({ x: points[i].x, y: ((points[i].y - points[i - 1].y) / elapsed) * 1000 });
    }
    return rates;
}

// Every n-th point, the first and the last among them.
function dynamicDownsample(points, targetCount) {
    if (points.length <= targetCount) return points;
    if (targetCount < 2) return points.slice(0, targetCount);
    const step = (points.length - 1) / (targetCount - 1);
    return Array.from({ length: targetCount }, (_, i) => points[Math.round(i * step)]);
}

// Thins the points in view in the same way.
function resampleDataForZoom(points, min, max, targetCount) {
    const visible = points.filter((point) => point.x >= min && point.x <= max);
    return dynamicDownsample(visible, targetCount);
}

// Gives the chart as much of the stored detail as the range in view has room for.
function updateChartDataForZoom() {
    if (!chart || !chart.scales.x) return;
    const { min, max } = chart.scales.x;
    if (max - min < 1000) return;
    const targetCount = calculateOptimalDataPoints();
    const showRate = isRateMode();
    for (const dataset of chart.data.datasets) {
        const points = resampleDataForZoom(getOriginalPoints(dataset), min, max, targetCount);
        dataset.data = showRate ? calculateRateData(points) : points;
    }
    chart.update('none');
}

// What the server gives to each dataset that it writes into the script.
function createDatasetStyle() {
    return {
        borderColor: getNextColor(),
        backgroundColor: getNextColor().replace('1)', '0.1)'),
        fill: false,
        tension: 0.1,
        pointRadius: 3,
        pointHoverRadius: 6,
        pointHitRadius: 10,
        pointStyle: 'circle',
        pointBackgroundColor: 'rgba(255,255,255,0.8)',
        pointBorderWidth: 2,
        pointHoverBorderWidth: 3,
    };
}

// Takes the series of a metric as write_chart_points() writes them. Those that were there keep their
// colours.
function addMetric(metricId, seriesList) {
    const before = new Map((metricsData[metricId] || []).map((dataset) => [dataset.label, dataset]));
    const detailed = seriesList.map(({ label, count, x, y }) => {
        let time = 0;
        const data = x.map((step, i) => ({ x: (time += step), y: y[i] ?? NaN }));
        return { label, originalDataPointsCount: count, data };
    });
    originalMetricsData[metricId] = detailed;
    metricsData[metricId] = detailed.map((dataset) => ({
        ...(before.get(dataset.label) ?? createDatasetStyle()),
        ...dataset,
        data: dynamicDownsample(dataset.data, CHART_CONFIG.MAX_VISUAL_DATA_POINTS),
    }));
}

// The detailed points that a dataset of the chart is thinned from.
function getOriginalPoints(dataset) {
    const datasets = originalMetricsData[dataset.metricId] || [];
    return datasets[dataset.seriesIndex] ? datasets[dataset.seriesIndex].data : [];
}

function getSeriesName(label, metricName, severalMetrics, showRate) {
    let name = label || metricName;
    if (severalMetrics && label) name = `${metricName}: ${label}`;
    return showRate ? `${name} (Δ/sec)` : name;
}

// The datasets of the selected metrics. No selected label means all.
function collectDatasets(metricIds, metricNames, labels, showRate) {
    const wanted = new Set(labels);
    const datasets = [];
    metricIds.forEach((metricId, i) => {
        (metricsData[metricId] || []).forEach((dataset, seriesIndex) => {
            if (wanted.size > 0 && !wanted.has(dataset.label)) return;
            const data = showRate ? calculateRateData(dataset.data) : dataset.data;
            if (data.length === 0) return;
            const severalMetrics = metricIds.length > 1;
            const label = getSeriesName(dataset.label, metricNames[i], severalMetrics, showRate);
            datasets.push({ ...dataset, label, data, metricId, seriesIndex });
        });
    });
    return datasets.sort((a, b) => compareTexts(a.label, b.label)).slice(0, MAX_DRAWN_SERIES);
}

function isGoodRange(range) {
    return Boolean(range) && Number.isFinite(range.max - range.min) && range.max > range.min;
}

// Ranges of both axes. A range of a single time falls back to the hour that ends there.
function calculateAxisRanges(datasets, timeRangeOverride) {
    const points = datasets.flatMap((dataset) => dataset.data);
    const y = calculateAxisRange(points.map((point) => point.y));
    if (isGoodRange(timeRangeOverride)) return { x: timeRangeOverride, y };
    const x = findMinMax(points.map((point) => point.x));
    if (isGoodRange(x)) return { x, y };
    const end = Number.isFinite(x.max) ? x.max : Date.now();
    return { x: { min: end - 3600000, max: end }, y };
}

// Months and years differ in length; `ms` is their average.
function makeTickSteps(unit, unitMs, counts) {
    return counts.map((count) => ({ unit, ms: count * unitMs }));
}

// The time `index` steps from an origin, by the clock and the calendar of the browser. Weeks start
// on Monday.
function getTickTime(step, index, clockOffset) {
    const count = step.ms * index;
    if (step.ms >= YEAR_MS / 12) return new Date(2000, Math.round((count / YEAR_MS) * 12)).getTime();
    if (step.unit === 'day') return new Date(2000, 0, 3 + count / 86400000).getTime();
    return count + clockOffset;
}

// Dates end some 270,000 years from now; there are no ticks after them.
function listTickTimes(min, max, step) {
    const clockOffset = new Date(min).getTimezoneOffset() * 60000;
    const times = [];
    let index = Math.floor((min - getTickTime(step, 0, clockOffset)) / step.ms) - 1;
    for (;;) {
        const time = getTickTime(step, index++, clockOffset);
        if (!(time <= max)) return times;
        if (time >= min) times.push(time);
    }
}

// Days tell their year where it changes.
function getTickFormat(axis, unit) {
    const years = [axis.min, axis.max].map((time) => new Date(time).getFullYear());
    if (unit === 'day' && years[0] !== years[1]) return 'MMM dd, yyyy';
    return axis.options.time.displayFormats[unit];
}

// Chart.js sets ticks from the first point on; these stand at round times. At least two, or the
// axis would tell nothing about its length.
function setRoundTicks(axis) {
    const range = axis.max - axis.min;
    const fits = ({ unit, ms }) => {
        const labelWidth = getTickFormat(axis, unit).length > 8 ? 110 : 75;
        return range / ms <= Math.min(MAX_TIME_TICKS - 1, axis.width / labelWidth);
    };
    let index = TICK_STEPS.findIndex(fits);
    if (index < 0) index = TICK_STEPS.length - 1;
    let times = listTickTimes(axis.min, axis.max, TICK_STEPS[index]);
    while (times.length < 2 && index > 0) {
        index--;
        times = listTickTimes(axis.min, axis.max, TICK_STEPS[index]);
    }
    axis.tickUnit = TICK_STEPS[index].unit;
    axis.ticks = times.map((value) => ({ value }));
}

// Chart.js formats a sample before it sets ticks.
function formatTimeTick(value) {
    return this.format(value, getTickFormat(this, this.tickUnit || 'second'));
}

function isFromToday(time) {
    return new Date(time).toDateString() === new Date().toDateString();
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
                year: 'yyyy',
                month: 'MMM yyyy',
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
