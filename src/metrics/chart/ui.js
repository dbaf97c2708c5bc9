// Style sheet, buttons, and the sizes of the selectors.

const STYLE_SHEET = `
body { margin: 0; background: #fff; color: #24292f;
    font: 14px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
.container { width: 95%; margin: 0 auto; padding: 16px 0 32px; }
.chart-title { margin: 0 0 16px; font-size: 24px; font-weight: 600; }
.controls { padding: 16px; border: 1px solid #dfe3e8; border-radius: 8px; background: #f4f5f7; }
.controls-row { display: flex; gap: 16px; }
.control-group { display: flex; flex-direction: column; gap: 6px; flex: 1 1 0; min-width: 0; }
.control-group:last-child { flex-grow: 3; }
.control-group:first-child { min-width: 336px; }
.control-group label { font-size: 13px; font-weight: 600; }
select { border: 1px solid #c4cad2; border-radius: 6px; background: #fff; color: inherit; font: inherit; }
select[multiple] { box-sizing: border-box; width: 100%; height: 186px; padding: 4px; overflow: auto; }
.control-group select { margin-top: auto; }
select[multiple] option:checked { background: #cfe6fa; }
select[multiple] option { padding: 1px 6px; border-radius: 3px; min-height: 20px; }
#labelSelect { resize: horizontal; }
#controlButtonsContainer, .button-row { display: flex; flex-wrap: wrap; align-items: center; gap: 8px; }
#controlButtonsContainer { margin: 12px 0; }
.button-row:last-child { flex: 1 1 760px; }
button, #autoRefreshSelect { box-sizing: border-box; height: 34px; padding: 0 10px;
    border: 1px solid #c4cad2; border-radius: 6px; background: #fff; color: inherit; font: inherit; font-size: 13px;
    white-space: nowrap; cursor: pointer; }
button:hover, #autoRefreshSelect:hover { border-color: #8a94a1; background: #f4f5f7; }
button:focus-visible, select:focus-visible { outline: 2px solid #36a2eb; outline-offset: 1px; }
.rate-toggle { display: flex; align-items: center; height: 34px; font-size: 13px; white-space: nowrap; cursor: pointer; }
#zoomInfo, #autoRefreshStatus { display: flex; align-items: center; height: 34px; overflow: hidden; color: #57606a;
    font-size: 13px; line-height: 17px; font-variant-numeric: tabular-nums; }
#zoomInfo { flex: 0 1 480px; }
#autoRefreshStatus { flex: 1 1 136px; }
.csv-export { position: relative; }
#csvDropdown { display: none; position: absolute; top: 38px; left: 0; z-index: 10; padding: 4px;
    border: 1px solid #c4cad2; border-radius: 6px; background: #fff; box-shadow: 0 4px 12px rgba(0, 0, 0, 0.15); }
#csvDropdown.open { display: block; }
#csvDropdown button { display: block; width: 100%; border: 0; text-align: left; }
.clear-cache { border-color: #e5b5b5; color: #b3261e; }
.clear-cache:hover { border-color: #b3261e; background: #fdf0ef; }
.chart-container { position: relative; box-sizing: border-box; height: max(420px, 60vh); padding: 12px;
    border: 1px solid #dfe3e8; border-radius: 8px; user-select: none; }
.chart-container.panning { cursor: grabbing; }
#chartMessage { display: flex; position: absolute; inset: 0; align-items: center; justify-content: center;
    padding: 16px; color: #57606a; font-size: 16px; text-align: center; }
.metric-info { display: flex; flex-wrap: wrap; align-items: flex-start; gap: 16px; margin-top: 12px; }
.metric-info section { flex: 3 1 0; box-sizing: border-box; min-width: 0; padding: 12px 16px;
    border: 1px solid #dfe3e8; border-radius: 8px; background: #f4f5f7; }
.metric-info #cacheStatistics { flex: 1 0 260px; }
.metric-info h2 { margin: 0 0 8px; font-size: 15px; }
.metric-info dl { display: grid; grid-template-columns: max-content 1fr; gap: 4px 16px; margin: 0; }
.metric-info dt { color: #57606a; }
.metric-info dd { margin: 0; overflow-wrap: anywhere; white-space: pre-wrap; }
#cacheClearStatus { position: fixed; top: 24px; left: 50%; z-index: 20; padding: 12px 20px; border-radius: 8px;
    color: #fff; box-shadow: 0 4px 16px rgba(0, 0, 0, 0.25); transform: translateX(-50%); }
#cacheClearStatus.success { background: #1f7a3d; }
#cacheClearStatus.failure { background: #b3261e; }
@media (max-width: 1200px) {
    .container { width: 97%; }
    .control-group:last-child { flex-grow: 2; }
    #zoomInfo { flex: 1 1 200px; }
    .metric-info section, .metric-info #cacheStatistics { flex-basis: 100%; }
}
@media (max-width: 768px) {
    .controls-row { flex-direction: column; }
    .control-group, .control-group:first-child, .control-group:last-child { flex: none; min-width: 0; }
    #labelSelect { resize: none; }
    .chart-container { height: 420px; padding: 4px; }
    #zoomInfo { height: 51px; }
    .metric-info dl { grid-template-columns: 1fr; gap: 0; }
    .metric-info dd { margin-bottom: 6px; }
}
`;

const AUTO_REFRESH_CHOICES = [
    [0, 'Auto-refresh: Off'],
    [5, 'Auto-refresh: 5s'],
    [10, 'Auto-refresh: 10s'],
    [30, 'Auto-refresh: 30s'],
    [60, 'Auto-refresh: 1m'],
];
const OPTION_HEIGHT_PX = 22;
const LIST_BORDER_PX = 10; // above and below the options, in all
const MIN_LABELS_WIDTH_PX = 400;

function injectCSS() {
    const content = 'width=device-width, initial-scale=1'; // lets small screens match the breakpoints
    document.head.append(createElement('meta', { name: 'viewport', content }));
    document.head.append(createElement('style', {}, STYLE_SHEET));
}

function createButton(text, onclick, className = '') {
    return createElement('button', { type: 'button', onclick, className }, text);
}

function createRateToggle() {
    const checkbox = createElement('input', { type: 'checkbox', id: 'showRateCheckbox' });
    checkbox.addEventListener('change', updateChart);
    return createElement('label', { className: 'rate-toggle' }, checkbox, ' Show Rate (Δ)');
}

function createAutoRefreshSelect() {
    const options = AUTO_REFRESH_CHOICES.map(([seconds, text]) => new Option(text, seconds));
    const select = createElement('select', { id: 'autoRefreshSelect' }, ...options);
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
    document.addEventListener('click', (event) => {
        if (event.target !== button) menu.classList.remove('open');
    });
    return createElement('div', { className: 'csv-export' }, button, menu);
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
        ),
        createButtonRow(
            createButton('🔍 Reset Zoom', resetZoom),
            createElement('span', { id: 'zoomInfo' }),
            createCSVExport(),
            createElement('span', { id: 'autoRefreshStatus' }),
            createButton('🗑️ Clear Cache', clearCache, 'clear-cache'),
        ),
    );
}

// Both lists get as many lines as the longer one has use for and the window has room for.
function adjustSelectorsSize() {
    const selects = [
        document.getElementById('metricSelect'),
        document.getElementById('labelSelect'),
    ].filter(Boolean);
    const longest = Math.max(...selects.map((select) => select.options.length));
    const room = Math.floor((window.innerHeight - 300) / OPTION_HEIGHT_PX);
    const size = Math.max(6, Math.min(Math.max(longest, 8), 20, room));
    for (const select of selects) {
        select.size = size;
        select.style.height = `${size * OPTION_HEIGHT_PX + LIST_BORDER_PX}px`;
    }
}

function constrainLabelsSelectorResize() {
    const select = document.getElementById('labelSelect');
    if (!select || !select.style.width) return; // never resized by hand
    const panelWidth = select.parentElement.clientWidth;
    const width = Math.min(Math.max(select.offsetWidth, MIN_LABELS_WIDTH_PX), panelWidth);
    if (width !== select.offsetWidth) select.style.width = `${width}px`;
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
}

// At once: a page without style would flash up.
injectCSS();
document.addEventListener('DOMContentLoaded', () => setTimeout(initializeUI, 50));
