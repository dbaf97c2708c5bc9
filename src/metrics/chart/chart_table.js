// The data of the chart as a table.

const MAX_TABLE_ROWS = 500;
const MAX_TABLE_SERIES = 20;

// The points that the chart shows, as a table below it for whoever asks.
function createChartTable() {
    const container = document.querySelector('.chart-container');
    if (!container) return;
    const summary = createElement('summary', {}, 'Show the data as a table');
    const content = createElement('div', { className: 'scroll', tabIndex: 0 });
    const details = createElement('details', { id: 'chartTable' }, summary, content);
    details.addEventListener('toggle', updateChartTable);
    container.after(details);
}

function updateChartTable() {
    const details = document.getElementById('chartTable');
    if (!details || !details.open) return;
    details.lastChild.replaceChildren(chart ? createDataTable() : 'There is no data in sight.');
}

function createDataTable() {
    const { min, max } = chart.scales.x;
    const visible = chart.data.datasets.filter((_, i) => chart.isDatasetVisible(i));
    const datasets = visible.slice(0, MAX_TABLE_SERIES);
    const columns = datasets.map(({ data }) => new Map(data.map(({ x, y }) => [x, y])));
    const inSight = columns.flatMap((column) => [...column.keys()]).filter((x) => x >= min && x <= max);
    const times = [...new Set(inSight)].sort((a, b) => a - b);
    const rows = times.slice(0, MAX_TABLE_ROWS).map((time) => {
        const text = chart.scales.x.format(time, 'yyyy-MM-dd HH:mm:ss.SSS');
        const values = columns.map((column) => createElement('td', {}, String(column.get(time) ?? '')));
        return createElement('tr', {}, createElement('th', { scope: 'row' }, text), ...values);
    });
    const names = ['Time', ...datasets.map(({ label }) => label)];
    const head = names.map((name) => createElement('th', { scope: 'col' }, name));
    const caption =
        `${chart.options.plugins.title.text}: ${rows.length} of ${times.length} times and ` +
        `${datasets.length} of ${visible.length} series in sight`;
    return createElement(
        'table',
        {},
        createElement('caption', {}, caption),
        createElement('thead', {}, createElement('tr', {}, ...head)),
        createElement('tbody', {}, ...rows),
    );
}
