// The store on the server: its points where the page doesn't carry them, what it holds, and emptying
// it.

const DATA_PATH = '/rta/metrics/data';
const MAX_METRICS_PER_REQUEST = 100;
const CLEAR_PATH = '/rta/metrics/clear';

// Ids of metrics whose points were asked for and aren't there yet.
const awaitedMetrics = new Set();

// Null when the points of the chosen metrics are there; else what becomes of those that are asked
// for now. `ids` of these functions are exact: values of options.
function loadChosenPoints() {
    if (!PAGE_OPTIONS.totals) return null;
    const chosen = selectedOptions('metricSelect').map((option) => option.value);
    const ids = chosen.slice(0, MAX_DRAWN_SERIES); // each has a series at least
    if (!PAGE_OPTIONS.hasHost) {
        readPointElements(ids);
        return null;
    }
    const missing = ids.filter((id) => !hasPoints(id));
    return missing.length > 0 ? fetchPoints(missing) : null;
}

function hasPoints(id) {
    return parseInt(id, 10) in metricsData;
}

// A page without a host carries points in elements of their own.
function readPointElements(ids) {
    for (const id of ids) {
        const element = document.getElementById(`points${id}`);
        if (element && !hasPoints(id)) addMetric(parseInt(id, 10), JSON.parse(element.textContent));
    }
}

// Those that an earlier choice waits for end with that one's request.
async function fetchPoints(ids) {
    const wanted = ids.filter((id) => !awaitedMetrics.has(id));
    for (const id of wanted) awaitedMetrics.add(id);
    try {
        for (let i = 0; i < wanted.length; i += MAX_METRICS_PER_REQUEST) {
            await fetchSomePoints(wanted.slice(i, i + MAX_METRICS_PER_REQUEST));
        }
        if (wanted.length < ids.length) await untilLoaded(ids);
    } finally {
        for (const id of wanted) awaitedMetrics.delete(id);
    }
}

async function fetchSomePoints(ids) {
    const url = `${getHostUrl(DATA_PATH)}?t=${Date.now()}&metrics=${ids.join(',')}`;
    const response = await fetch(url, { cache: 'no-store' });
    if (!response.ok) throw new Error(`HTTP status ${response.status}`);
    const answer = await response.json();
    // What the host doesn't have any more is no reason to ask again.
    for (const id of ids) addMetric(parseInt(id, 10), answer[id] ?? []);
}

async function untilLoaded(ids) {
    while (ids.some((id) => !hasPoints(id) && awaitedMetrics.has(id))) {
        await new Promise((resolve) => setTimeout(resolve, 20));
    }
    if (!ids.every(hasPoints)) throw new Error('the host did not answer');
}

async function clearCache() {
    if (!confirm('Clear all cached metrics on the server? This cannot be undone.')) return;
    try {
        const response = await fetch(`${getHostUrl(CLEAR_PATH)}?t=${Date.now()}`, {
            method: 'GET',
            cache: 'no-store',
            headers: { 'Cache-Control': 'no-cache, no-store, must-revalidate', Pragma: 'no-cache' },
        });
        if (!response.ok) throw new Error(`HTTP status ${response.status}`);
        clearLocalMetricsData();
        showCacheClearStatus('Cache cleared. Reloading...', true);
        setTimeout(() => loadFreshPage({ cleared: '1' }), 1500);
    } catch (error) {
        showCacheClearStatus(`Clearing the cache failed: ${error.message}. Reloading...`, false);
        setTimeout(() => location.reload(), 3000);
    }
}

function clearLocalMetricsData() {
    metricsData = {};
    originalMetricsData = {};
    metricsDataFootprint = 0;
    PAGE_OPTIONS.totals = null;
    for (const id of ['metricSelect', 'labelSelect']) {
        const select = document.getElementById(id);
        if (select) select.replaceChildren();
    }
    clearZoomStateOnDataChange();
    showNoData();
}

function getCacheStatistics() {
    if (PAGE_OPTIONS.totals) return { ...PAGE_OPTIONS.totals, footprint: metricsDataFootprint };
    const datasets = Object.values(metricsData).flat();
    return {
        metrics: Object.keys(metricsData).length,
        series: datasets.length,
        points: countPoints(datasets, (dataset) => dataset.originalDataPointsCount),
        footprint: metricsDataFootprint,
    };
}

function displayCacheStatistics() {
    const info = document.getElementById('metricInfo');
    if (!info) return;
    const shown = document.getElementById('cacheStatistics');
    if (shown) shown.remove();
    const { metrics, series, points, footprint } = getCacheStatistics();
    const rows = [
        ['Metrics', metrics],
        ['Series', series],
        ['Points stored', points],
        ['Memory footprint', formatBytes(footprint)],
    ];
    if (PAGE_OPTIONS.notice) rows.push(['Notice', PAGE_OPTIONS.notice]);
    info.append(createInfoSection('cacheStatistics', 'Metrics Cache Status', rows));
}

// For whoever has just written the text below the chart anew.
function appendCacheInfoToChart() {
    displayCacheStatistics();
}

function showCacheClearStatus(text, succeeded) {
    const shown = document.getElementById('cacheClearStatus');
    if (shown) shown.remove();
    const className = succeeded ? 'success' : 'failure';
    const role = succeeded ? 'status' : 'alert';
    document.body.append(createElement('div', { id: 'cacheClearStatus', className, role }, text));
}
