// From the data of the page to the datasets of a chart: choice, rates, sampling, axis ranges.

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

// The same for the points in view.
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

// The detailed points behind a dataset of the chart.
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
    return datasets;
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
