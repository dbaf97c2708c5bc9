// A live page: the points of the chosen metrics come again while its host adds to them.

const FOLLOW_PERIOD_MS = 500;
const FOLLOW_AGAIN_MS = 2000; // after a failure
const FOLLOW_SHARE = 10; // of its time the page spends at most one part in so many on that

let followedState = ''; // of the series that were drawn last
let followFailure = '';

function createFollowToggle() {
    const checkbox = createElement('input', { type: 'checkbox', id: 'followCheckbox' });
    checkbox.checked = loadSetting('follow', true) === true;
    checkbox.addEventListener('change', () => saveSetting('follow', checkbox.checked));
    const title = 'Show new samples of the chosen metrics as they come';
    return createElement('label', { className: 'toggle', title }, checkbox, ' Live');
}

async function followHost() {
    const start = Date.now();
    let pause = FOLLOW_PERIOD_MS;
    try {
        await takeNewPoints();
        showFollowFailure('');
    } catch (error) {
        pause = FOLLOW_AGAIN_MS;
        showFollowFailure(`No new samples: ${error.message}.`);
    }
    setTimeout(followHost, Math.max(pause, FOLLOW_SHARE * (Date.now() - start)));
}

async function takeNewPoints() {
    const checkbox = document.getElementById('followCheckbox');
    const chosen = selectedOptions('metricSelect').map((option) => option.value);
    const ids = chosen.slice(0, MAX_DRAWN_SERIES).filter(hasPoints);
    if (!checkbox || !checkbox.checked || document.hidden || ids.length === 0) return;
    await fetchPoints(ids);
    showNewPoints();
}

// A countdown in the same place is worth more.
function showFollowFailure(text) {
    if (text === followFailure || autoRefreshInterval) return;
    followFailure = text;
    showRefreshStatus(text);
}

function showNewPoints() {
    const metricIds = getSelectedMetricIds();
    updateLabelSelector(collectAvailableLabels(metricIds));
    const metricNames = getSelectedMetricNames();
    const labels = getSelectedLabels();
    const showRate = isRateMode();
    const datasets = collectDatasets(metricIds, metricNames, labels, showRate);
    const describe = ({ label, originalDataPointsCount, data }) =>
        `${label} ${originalDataPointsCount} ${data[data.length - 1].x}`;
    const state = datasets.map(describe).join('\n');
    if (state === followedState) return;
    followedState = state;
    if (!chart || !hasSeriesOfChart(datasets)) {
        redrawChart();
        return;
    }
    moveChart(datasets);
    updateChartInfo(metricNames, labels, showRate, chart.data.datasets);
    updateZoomInfo();
}

function hasSeriesOfChart(datasets) {
    const shown = chart.data.datasets;
    return shown.length === datasets.length && shown.every(({ label }, i) => label === datasets[i].label);
}

// The chart stays the same one: a tooltip and what is hidden of it outlive the change.
function moveChart(datasets) {
    const before = originalFullTimeRange;
    const view = getZoomedRange();
    datasets.forEach(({ data, seriesIndex, originalDataPointsCount }, i) =>
        Object.assign(chart.data.datasets[i], { data, seriesIndex, originalDataPointsCount }),
    );
    originalFullTimeRange = calculateAxisRanges(datasets, null).x;
    const range = boundRange(view && followRange(view, before), originalFullTimeRange);
    const { x, y } = calculateAxisRanges(datasets, range);
    Object.assign(chart.options.scales.y, { min: y.min, max: y.max });
    chart.options.plugins.zoom = getZoomConfiguration(datasets);
    setVisibleRange(x.min, x.max);
    if (range || isCrowded(datasets)) updateChartDataForZoom();
}

// A view of the newest samples moves with them; one that ends a millisecond earlier stays.
function followRange({ min, max }, before) {
    const shift = max < before.max - 1 ? 0 : originalFullTimeRange.max - before.max;
    return { min: min + shift, max: max + shift };
}
