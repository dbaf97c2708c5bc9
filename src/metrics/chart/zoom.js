// How far the chart zooms, and the text that tells where it stands.

const ZOOM_INFO_PERIOD_MS = 100;
const SINGLE_POINT_RANGE_MS = 3600000;

let lastZoomInfoTime = 0;

// Time differences between neighbouring points of the stored detail.
function collectGaps(datasets) {
    const gaps = [];
    for (const dataset of datasets) {
        const points = getOriginalPoints(dataset);
        for (let i = 1; i < points.length; i++) {
            const gap = points[i].x - points[i - 1].x;
            if (gap > 0) gaps.push(gap);
        }
    }
    return gaps;
}

function calculateMinRange(gaps, fullRange) {
    if (gaps.length === 0) return Math.max(2000, fullRange / 500);
    const average = gaps.reduce((sum, gap) => sum + gap, 0) / gaps.length;
    return Math.max(2000, 5 * findMinMax(gaps).min, 3 * average);
}

// Smallest and largest visible range, in milliseconds.
function getZoomLimits(datasets) {
    const fullRange = originalFullTimeRange
        ? originalFullTimeRange.max - originalFullTimeRange.min
        : SINGLE_POINT_RANGE_MS;
    const maxRange = isSinglePoint(datasets) ? SINGLE_POINT_RANGE_MS : fullRange;
    return { minRange: calculateMinRange(collectGaps(datasets), fullRange), maxRange };
}

function isSinglePoint(datasets) {
    const { min, max } = findMinMax(
        datasets.flatMap((dataset) => getOriginalPoints(dataset).map((point) => point.x)),
    );
    return min === max;
}

function getZoomConfiguration(datasets) {
    const { minRange, maxRange } = getZoomLimits(datasets);
    return {
        limits: { x: { ...originalFullTimeRange, minRange: Math.min(minRange, maxRange) } },
        pan: { enabled: true, mode: 'x', threshold: 5 },
        zoom: {
            mode: 'x',
            wheel: { enabled: true, speed: 0.1 },
            pinch: { enabled: true },
            drag: { enabled: false },
            onZoom: () => {
                enforceMinRange(minRange, maxRange);
                updateZoomInfoThrottled();
            },
            onZoomComplete: () => {
                updateChartDataForZoom();
                updateZoomInfo();
            },
        },
    };
}

// For zooms that slip below the plugin's own limit.
function enforceMinRange(minRange, maxRange) {
    const { min, max } = chart.scales.x;
    const limit = Math.min(minRange, maxRange);
    if (max - min >= limit * 0.999) return;
    const center = (min + max) / 2;
    setVisibleRange(center - limit / 2, center + limit / 2);
}

function formatClock(time) {
    const date = new Date(time);
    const pad = (number) => String(number).padStart(2, '0');
    return [date.getHours(), date.getMinutes(), date.getSeconds()].map(pad).join(':');
}

function formatSeconds(durationMs) {
    return `${(durationMs / 1000).toFixed(1)}s`;
}

function calculateZoomInfo() {
    if (isSinglePoint(chart.data.datasets)) return 'Single data point (no zoom available)';
    const { min, max } = chart.scales.x;
    const { minRange, maxRange } = getZoomLimits(chart.data.datasets);
    const factor = maxRange / (max - min);
    if (!(factor > 1.1)) return 'No zoom (full view)';
    const times = `${formatClock(min)} - ${formatClock(max)}`;
    const durations = `${formatSeconds(max - min)} of ${formatSeconds(maxRange)}`;
    let text = `Zoomed ${factor.toFixed(1)}x: ${times} (${durations})`;
    if (max - min <= minRange * 1.01) text += ' [MIN DATA POINTS]';
    else if (max - min >= maxRange * 0.99) text += ' [FULL VIEW]';
    return text;
}

function updateZoomInfo() {
    const info = document.getElementById('zoomInfo');
    if (info) info.textContent = chart ? calculateZoomInfo() : '';
    lastZoomInfoTime = Date.now();
    if (chart) followZoom();
}

// Once the view stands still.
const followZoom = debounce(() => {
    updateAddress();
    updateChartTable();
}, 200);

function updateZoomInfoThrottled() {
    if (Date.now() - lastZoomInfoTime >= ZOOM_INFO_PERIOD_MS) updateZoomInfo();
}

function resetZoom() {
    if (!chart || !originalFullTimeRange) return;
    setVisibleRange(originalFullTimeRange.min, originalFullTimeRange.max);
    updateChartDataForZoom();
    updateZoomInfo();
}
