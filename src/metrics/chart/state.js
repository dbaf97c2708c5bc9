// What outlives a reload: selections and refresh in the browser's storage; and the calls to the host.

const PAGE_PATH = '/rta/metrics/dump';
const RATE_RESTORE_ATTEMPTS = 5;

// A browser may refuse storage; the page then works without memory.
function saveSetting(key, value) {
    try {
        localStorage.setItem(`metricsChart_${key}`, JSON.stringify(value));
    } catch {
        return;
    }
}

function loadSetting(key, defaultValue) {
    try {
        return JSON.parse(localStorage.getItem(`metricsChart_${key}`)) ?? defaultValue;
    } catch {
        return defaultValue;
    }
}

function saveSelections() {
    saveSetting('selectedMetrics', selectedOptions('metricSelect').map((option) => option.value));
    saveSetting('selectedLabels', getSelectedLabels());
    saveRateMode();
}

function isRateMode() {
    const checkbox = document.getElementById('showRateCheckbox');
    return Boolean(checkbox && checkbox.checked);
}

function saveRateMode() {
    saveSetting('showRate', isRateMode());
}

function selectValues(selectId, values) {
    const wanted = new Set(values);
    const select = document.getElementById(selectId);
    if (!select) return;
    for (const option of select.options) option.selected = wanted.has(option.value);
}

// The checkbox is made a little later than the page.
function restoreRateMode(showRate, attempt = 1) {
    const checkbox = document.getElementById('showRateCheckbox');
    if (checkbox) {
        checkbox.checked = showRate;
    } else if (attempt < RATE_RESTORE_ATTEMPTS) {
        setTimeout(() => restoreRateMode(showRate, attempt + 1), 50 * attempt);
    }
}

function restoreSelections() {
    const choice = getFirstChoice();
    restoreRateMode(choice.showRate);
    selectValues('metricSelect', choice.metrics);
    requestedRange = choice.range;
    const restoreLabels = () => {
        updateLabelSelector(collectAvailableLabels(getSelectedMetricIds()));
        setTimeout(() => {
            selectValues('labelSelect', choice.findLabels());
            setTimeout(updateChart, 50);
        }, 150);
    };
    // Labels come with the points; a chart that can't have them says so.
    Promise.resolve(loadChosenPoints()).then(restoreLabels, restoreLabels);
}

function showRefreshStatus(text) {
    const status = document.getElementById('autoRefreshStatus');
    if (status) status.textContent = text;
}

function stopAutoRefresh() {
    clearInterval(autoRefreshInterval);
    clearInterval(autoRefreshCountdown);
    autoRefreshInterval = null;
    autoRefreshCountdown = null;
}

function setAutoRefresh(seconds) {
    stopAutoRefresh();
    saveSetting('autoRefreshInterval', seconds);
    showRefreshStatus('');
    if (!(seconds > 0)) return;
    let left = seconds;
    const showCountdown = () =>
        showRefreshStatus(left > 0 ? `Next refresh in ${left}s` : 'Refreshing...');
    showCountdown();
    autoRefreshCountdown = setInterval(() => {
        left--;
        showCountdown();
    }, 1000);
    autoRefreshInterval = setInterval(refreshData, seconds * 1000);
}

function restoreAutoRefresh() {
    const select = document.getElementById('autoRefreshSelect');
    if (!select) return;
    select.value = String(loadSetting('autoRefreshInterval', 0));
    if (select.selectedIndex < 0) select.value = '0';
    setAutoRefresh(Number(select.value));
}

function getPageUrl() {
    return location.href.split(/[?#]/)[0];
}

// URL of one of the host's paths, under the prefix that the page came from.
function getHostUrl(path) {
    const url = getPageUrl();
    const prefixEnd = url.lastIndexOf(PAGE_PATH);
    return (prefixEnd < 0 ? location.origin : url.slice(0, prefixEnd)) + path;
}

// Loads the page anew, past every cache.
function loadFreshPage(parameters) {
    const bust = Math.random().toString(36).slice(2);
    const query = new URLSearchParams({ ...parameters, bust, force: '1' });
    location.replace(`${getPageUrl()}?${query}${location.hash}`);
}

function refreshData() {
    stopAutoRefresh();
    try {
        saveSelections();
        saveSetting('lastRefresh', Date.now());
        showRefreshStatus('🔄 Refreshing...');
        if (!PAGE_OPTIONS.hasHost) {
            location.reload(); // whoever made the file may have made it anew
            return;
        }
        navigator.sendBeacon(`${getPageUrl()}?invalidate=${Date.now()}`);
        setTimeout(() => loadFreshPage({ refresh: String(Date.now()) }), 100);
    } catch {
        location.reload();
    }
}
