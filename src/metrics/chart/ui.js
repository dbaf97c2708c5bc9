// The buttons, and what puts the page together.

const AUTO_REFRESH_CHOICES = [
    [0, 'Auto-refresh: Off'],
    [5, 'Auto-refresh: 5s'],
    [10, 'Auto-refresh: 10s'],
    [30, 'Auto-refresh: 30s'],
    [60, 'Auto-refresh: 1m'],
];

function createButton(text, onclick, className = '') {
    return createElement('button', { type: 'button', onclick, className }, text);
}

function createRateToggle() {
    const checkbox = createElement('input', { type: 'checkbox', id: 'showRateCheckbox' });
    checkbox.addEventListener('change', updateChart);
    return createElement('label', { className: 'toggle' }, checkbox, ' Show Rate (Δ)');
}

function createAutoRefreshSelect() {
    const options = AUTO_REFRESH_CHOICES.map(([seconds, text]) => new Option(text, seconds));
    const select = createElement('select', { id: 'autoRefreshSelect' }, ...options);
    select.setAttribute('aria-label', 'Auto-refresh');
    select.addEventListener('change', () => setAutoRefresh(Number(select.value)));
    return select;
}

function createCSVExport() {
    const menu = createElement(
        'div',
        { id: 'csvDropdown' },
        createButton('📊 All Metrics', () => exportToCSV('all')),
        createButton('🎯 Selected Metrics', () => exportToCSV('selected')),
    );
    const button = createButton('💾 Save as CSV ▼', toggleCSVDropdown);
    button.id = 'csvButton';
    button.setAttribute('aria-controls', 'csvDropdown');
    button.setAttribute('aria-expanded', 'false');
    document.addEventListener('click', (event) => {
        if (event.target !== button) setCSVDropdown(false);
    });
    const group = createElement('div', { className: 'csv-export' }, button, menu);
    group.addEventListener('keydown', (event) => {
        if (event.key !== 'Escape') return;
        setCSVDropdown(false);
        button.focus();
    });
    return group;
}

// Nobody empties a file.
function createClearButton() {
    const button = createButton('🗑️ Clear Cache', clearCache, 'clear-cache');
    button.disabled = !PAGE_OPTIONS.hasHost;
    if (button.disabled) button.title = 'This page is a file: there is no server to clear';
    return button;
}

// The rows stand side by side where there is room. Texts that change have room of their own: the
// chart below doesn't move.
function createButtonRow(...elements) {
    return createElement('div', { className: 'button-row' }, ...elements);
}

function createControlButtons() {
    const container = document.getElementById('controlButtonsContainer');
    if (!container) return;
    container.replaceChildren(
        createButtonRow(
            createButton('Clear Selections', () => clearSelections(true)),
            createButton('Clear All', () => clearSelections(false)),
            createButton('Select All Metrics', selectAllMetrics),
            createRateToggle(),
            createButton('🔄 Refresh Data', refreshData),
            createAutoRefreshSelect(),
            ...(PAGE_OPTIONS.isLive ? [createFollowToggle()] : []),
        ),
        createButtonRow(
            createButton('🔍 Reset Zoom', resetZoom),
            createElement('span', { id: 'zoomInfo' }),
            createCSVExport(),
            createElement('span', { id: 'autoRefreshStatus' }),
            createClearButton(),
        ),
    );
}

function debounce(action, delayMs) {
    let timer = null;
    return () => {
        clearTimeout(timer);
        timer = setTimeout(action, delayMs);
    };
}

function observeSelectors() {
    const listChanges = new MutationObserver(adjustSelectorsSize);
    const resizes = new ResizeObserver(constrainLabelsSelectorResize);
    for (const id of ['metricSelect', 'labelSelect']) {
        const select = document.getElementById(id);
        if (!select) continue;
        listChanges.observe(select, { childList: true });
        resizes.observe(select);
    }
}

function initializeUI() {
    createControlButtons();
    createListFilter('metricSelect', 'metrics');
    createListFilter('labelSelect', 'labels');
    createChartTable();
    document.getElementById('metricsChart').tabIndex = 0;
    document.getElementById('metricsChart').setAttribute('role', 'img');
    document.documentElement.lang = 'en';
    adjustSelectorsSize();
    observeSelectors();
    window.addEventListener(
        'resize',
        debounce(() => {
            adjustSelectorsSize();
            constrainLabelsSelectorResize();
            updateChartDataForZoom();
        }, 150),
    );
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', redrawChart);
}

// In the colours of now, with the range in view.
function redrawChart() {
    requestedRange = chart ? getZoomedRange() : null;
    updateChart();
}

// At once: a page without style would flash up.
injectCSS();
document.addEventListener('DOMContentLoaded', () => setTimeout(initializeUI, 50));
