// The style sheet.

const STYLE_SHEET = `
:root { color-scheme: light dark; --page: #fff; --panel: #f4f5f7; --field: #fff; --text: #24292f;
    --muted: #57606a; --line: #dfe3e8; --edge: #868e99; --hover: #e9ebee; --chosen: #cfe6fa; --grid: rgba(0, 0, 0, 0.1);
    --focus: #0969da; --danger: #b3261e; --danger-edge: #c9706b; --success: #1f7a3d; --shadow: rgba(0, 0, 0, 0.2); }
@media (prefers-color-scheme: dark) {
    :root { --page: #14181d; --panel: #1d2329; --field: #14181d; --text: #e4e8ec; --muted: #a3adb8; --line: #323a43;
        --edge: #7a8490; --hover: #2a323a; --chosen: #1b4b73; --grid: rgba(255, 255, 255, 0.12); --focus: #58a6ff;
        --danger: #ff9a92; --danger-edge: #9c5450; --shadow: rgba(0, 0, 0, 0.6); }
}
body { margin: 0; background: var(--page); color: var(--text);
    font: 14px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
.container { width: 95%; margin: 0 auto; padding: 8px 0 32px; }
.chart-title { margin: 0 0 6px; font-size: 20px; font-weight: 600; }
.controls { padding: 10px 12px; border: 1px solid var(--line); border-radius: 8px; background: var(--panel); }
.controls-row { display: flex; gap: 16px; }
.control-group { display: flex; flex-direction: column; gap: 4px; flex: 1 1 0; min-width: 0; }
.control-group:last-child { flex-grow: 3; }
.control-group:first-child { min-width: 336px; }
.control-group label { font-size: 13px; font-weight: 600; }
select, input[type=search] { border: 1px solid var(--edge); border-radius: 6px; background: var(--field); color: inherit;
    font: inherit; }
.list-filter { display: flex; align-items: center; gap: 8px; }
.list-filter input { box-sizing: border-box; flex: 0 1 320px; min-width: 0; height: 28px; padding: 0 8px; font-size: 13px; }
.list-filter input::placeholder { color: var(--muted); opacity: 1; }
.list-filter span { color: var(--muted); font-size: 12px; white-space: nowrap; }
select[multiple] { box-sizing: border-box; width: 100%; height: 142px; padding: 4px; overflow: auto; }
.control-group select { margin-top: auto; }
select[multiple] option:checked { background: var(--chosen); color: var(--text); }
select[multiple] option { padding: 1px 6px; border-radius: 3px; min-height: 20px; }
select[multiple] option[hidden] { display: none; }
#labelSelect { resize: horizontal; }
#controlButtonsContainer, .button-row { display: flex; flex-wrap: wrap; align-items: center; gap: 8px; }
#controlButtonsContainer { margin: 8px 0; }
.button-row:last-child { flex: 1 1 760px; }
button, #autoRefreshSelect { box-sizing: border-box; height: 34px; padding: 0 10px;
    border: 1px solid var(--edge); border-radius: 6px; background: var(--field); color: inherit; font: inherit;
    font-size: 13px; white-space: nowrap; cursor: pointer; }
button:hover, #autoRefreshSelect:hover { background: var(--hover); }
button:disabled { border-color: var(--line); background: var(--panel); color: var(--muted); cursor: not-allowed; }
:focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
.toggle { display: flex; align-items: center; height: 34px; font-size: 13px; white-space: nowrap; cursor: pointer; }
#zoomInfo, #autoRefreshStatus { display: flex; align-items: center; height: 34px; overflow: hidden; color: var(--muted);
    font-size: 13px; line-height: 17px; font-variant-numeric: tabular-nums; }
#zoomInfo { flex: 0 1 auto; }
#autoRefreshStatus { flex: 1 1 136px; }
.csv-export { position: relative; }
#csvDropdown { display: none; position: absolute; top: 38px; left: 0; z-index: 10; padding: 4px;
    border: 1px solid var(--edge); border-radius: 6px; background: var(--field); box-shadow: 0 4px 12px var(--shadow); }
#csvDropdown.open { display: block; }
#csvDropdown button { display: block; width: 100%; border: 0; text-align: left; }
.clear-cache:enabled { border-color: var(--danger-edge); color: var(--danger); }
.chart-container { position: relative; box-sizing: border-box; height: max(360px, 60vh); padding: 8px;
    border: 1px solid var(--line); border-radius: 8px; user-select: none; }
.chart-container.panning { cursor: grabbing; }
#chartMessage { display: flex; position: absolute; inset: 0; flex-direction: column; align-items: center;
    justify-content: center; gap: 6px; padding: 16px; color: var(--muted); font-size: 15px; text-align: center; }
#chartMessage p { margin: 0; }
#chartMessage p:first-child:not(:last-child) { color: var(--text); font-size: 20px; }
#chartTable { margin-top: 12px; }
#chartTable summary { width: max-content; color: var(--text); font-size: 13px; cursor: pointer; }
#chartTable .scroll { max-height: 420px; margin-top: 8px; overflow: auto; border: 1px solid var(--line); border-radius: 8px; }
#chartTable table { border-collapse: collapse; font-size: 13px; font-variant-numeric: tabular-nums; }
#chartTable caption { padding: 8px 12px; color: var(--muted); text-align: left; }
#chartTable th, #chartTable td { padding: 3px 12px; border-top: 1px solid var(--line); text-align: right; white-space: nowrap; }
#chartTable thead th { position: sticky; top: 0; background: var(--panel); }
#chartTable th:first-child { text-align: left; }
.metric-info { display: flex; flex-wrap: wrap; align-items: flex-start; gap: 16px; margin-top: 12px; }
.metric-info section { flex: 3 1 0; box-sizing: border-box; min-width: 0; padding: 12px 16px;
    border: 1px solid var(--line); border-radius: 8px; background: var(--panel); }
.metric-info #cacheStatistics { flex: 1 0 260px; }
.metric-info h2 { margin: 0 0 8px; font-size: 15px; }
.metric-info dl { display: grid; grid-template-columns: max-content 1fr; gap: 4px 16px; margin: 0; }
.metric-info dt { color: var(--muted); }
.metric-info dd { margin: 0; overflow-wrap: anywhere; white-space: pre-wrap; }
#cacheClearStatus { position: fixed; top: 24px; left: 50%; z-index: 20; padding: 12px 20px; border-radius: 8px;
    color: #fff; box-shadow: 0 4px 16px var(--shadow); transform: translateX(-50%); }
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
    .chart-container { height: 420px !important; padding: 4px; }
    #zoomInfo { height: 51px; }
    .metric-info dl { grid-template-columns: 1fr; gap: 0; }
    .metric-info dd { margin-bottom: 6px; }
}
`;

function injectCSS() {
    const content = 'width=device-width, initial-scale=1'; // lets small screens match the breakpoints
    document.head.append(createElement('meta', { name: 'viewport', content }));
    // Without one a browser would ask the host, which the policy of a page may forbid.
    document.head.append(createElement('link', { rel: 'icon', href: 'data:,' }));
    document.head.append(createElement('style', {}, STYLE_SHEET));
}
