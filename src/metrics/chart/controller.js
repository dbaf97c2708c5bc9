// Reactions to the user and to the life of the page.

// Notes what the chart is made of now. Returns the range in view when it outlives the change, which
// is when only the rate mode changed.
function trackDataChange(metricIds, showRate) {
    const ids = [...metricIds].sort().join(',');
    const previousKey = window.lastChartDataKey;
    window.lastChartDataKey = `${ids}|${showRate}`;
    if (chart && previousKey === `${ids}|${!showRate}`) return getZoomedRange();
    clearZoomStateOnDataChange();
    return null;
}

// Null in full view.
function getZoomedRange() {
    const { min, max } = chart.scales.x;
    const full = originalFullTimeRange;
    return full && (min > full.min || max < full.max) ? { min, max } : null;
}

// On a small screen the points would run into each other.
function isCrowded(datasets) {
    const limit = 2 * calculateOptimalDataPoints();
    return datasets.some((dataset) => dataset.data.length > limit);
}

function updateChart() {
    const ids = ['metricSelect', 'labelSelect', 'showRateCheckbox', 'metricsChart'];
    if (!ids.every((id) => document.getElementById(id))) {
        setTimeout(updateChart, 100);
        return;
    }
    const loading = loadChosenPoints();
    if (loading) {
        if (!chart) showChartMessage('Loading...'); // what is there stays till then
        loading.then(updateChart, showLoadFailure);
        return;
    }
    const metricIds = getSelectedMetricIds();
    const showRate = isRateMode();
    const range = requestedRange;
    requestedRange = null;
    const keptRange = trackDataChange(metricIds, showRate);
    updateLabelSelector(collectAvailableLabels(metricIds));
    const labels = getSelectedLabels();
    const metricNames = getSelectedMetricNames();
    const datasets = collectDatasets(metricIds, metricNames, labels, showRate);
    if (datasets.length === 0) {
        showNoData();
    } else {
        originalFullTimeRange = calculateAxisRanges(datasets, null).x;
        const zoomedRange = keptRange || boundRange(range, originalFullTimeRange);
        const ranges = calculateAxisRanges(datasets, zoomedRange);
        hideChartMessage();
        createChart(datasets, ranges, getChartTitle(metricNames, showRate), showRate);
        if (zoomedRange || isCrowded(datasets)) updateChartDataForZoom();
        updateChartInfo(metricNames, labels, showRate, datasets);
    }
    saveSelections();
    updateAddress();
    updateChartTable();
}

// What of a range lies within another one; null without anything.
function boundRange(range, full) {
    if (!range) return null;
    const min = Math.max(range.min ?? full.min, full.min);
    const max = Math.min(range.max ?? full.max, full.max);
    return max > min && (min > full.min || max < full.max) ? { min, max } : null;
}

function showLoadFailure(error) {
    showChartMessage(`The points of the chosen metrics can't be loaded: ${error.message}.`);
}

function showNoData() {
    const asksForMetric =
        getSelectedMetricIds().length === 0 && document.querySelector('#metricSelect option');
    showChartMessage(
        ...(asksForMetric ? ['Choose a metric'] : []),
        'No data available for selected metrics and labels.',
    );
    const info = document.getElementById('metricInfo');
    if (info) info.replaceChildren();
    appendCacheInfoToChart();
}

function clearSelections(keepRateMode) {
    selectValues('metricSelect', []);
    selectValues('labelSelect', []);
    const checkbox = document.getElementById('showRateCheckbox');
    if (checkbox && !keepRateMode) checkbox.checked = false;
    updateChart();
}

function selectAllMetrics() {
    const select = document.getElementById('metricSelect');
    if (!select) return;
    for (const option of select.options) option.selected = !option.hidden;
    updateChart();
}

// The query defeats caches once; kept in the address, it would be bookmarked.
function removeCacheBustingParameters() {
    const url = new URL(location.href);
    const names = ['refresh', 'bust', 'force', 'cleared', 'invalidate'];
    if (!names.some((name) => url.searchParams.has(name))) return;
    for (const name of names) url.searchParams.delete(name);
    history.replaceState(null, '', url);
}

window.addEventListener('load', () => {
    removeCacheBustingParameters();
    setTimeout(restoreSelections, 200);
    setTimeout(restoreAutoRefresh, 300);
    setTimeout(displayCacheStatistics, 400);
    if (PAGE_OPTIONS.isLive) followHost();
});

window.addEventListener('hashchange', restoreSelections);
window.addEventListener('beforeunload', stopAutoRefresh);
