// Points as CSV: from the host or, in a page that is a file, from the page.

function toggleCSVDropdown() {
    const menu = document.getElementById('csvDropdown');
    if (menu) setCSVDropdown(!menu.classList.contains('open'));
}

function setCSVDropdown(isOpen) {
    document.getElementById('csvDropdown').classList.toggle('open', isOpen);
    document.getElementById('csvButton').setAttribute('aria-expanded', String(isOpen));
}

// `type` is "all" or "selected". Null when nothing is selected.
function buildCSVUrl(type) {
    const url = `${getHostUrl(`${PAGE_PATH}/csv`)}?t=${Date.now()}&type=${type}`;
    if (type !== 'selected') return url;
    const names = getSelectedMetricNames();
    return names.length > 0 ? `${url}&metrics=${names.map(encodeURIComponent).join(',')}` : null;
}

function saveFile(content, name) {
    const link = createElement('a', { href: URL.createObjectURL(content), download: name });
    link.click();
    URL.revokeObjectURL(link.href);
}

// What the page holds, as the host would write it: times in microseconds.
function makeCSV(type) {
    const options =
        type === 'selected'
            ? selectedOptions('metricSelect')
            : Array.from(document.getElementById('metricSelect').options);
    readPointElements(options.map((option) => option.value));
    const pieces = ['time,metric,labels,value\r\n'];
    for (const option of options) {
        const name = quoteForCSV(option.textContent);
        for (const { label, data } of originalMetricsData[parseInt(option.value, 10)] || []) {
            const series = `${name},${quoteForCSV(label)}`;
            pieces.push(data.map(({ x, y }) => `${x}000,${series},${y}\r\n`).join(''));
        }
    }
    return new Blob(pieces, { type: 'text/csv' });
}

async function fetchCSV(url) {
    const response = await fetch(url, { cache: 'no-store' });
    if (!response.ok) throw new Error(`HTTP status ${response.status}`);
    return response.blob();
}

async function exportToCSV(type) {
    const url = buildCSVUrl(type);
    if (!url) {
        alert('Please select at least one metric to export.');
        return;
    }
    const time = new Date().toISOString().slice(0, 19).replaceAll(':', '-');
    try {
        const content = PAGE_OPTIONS.hasHost ? await fetchCSV(url) : makeCSV(type);
        saveFile(content, `metrics_data_${type}_${time}.csv`);
    } catch {
        alert('Failed to export CSV data. Please try again.');
    }
}
