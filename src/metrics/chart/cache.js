// The store on the server: what it holds, and emptying it.

const CLEAR_PATH = '/rta/metrics/clear';

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
    for (const id of ['metricSelect', 'labelSelect']) {
        const select = document.getElementById(id);
        if (select) select.replaceChildren();
    }
    clearZoomStateOnDataChange();
    showNoData();
}

function getCacheStatistics() {
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
    document.body.append(createElement('div', { id: 'cacheClearStatus', className }, text));
}
