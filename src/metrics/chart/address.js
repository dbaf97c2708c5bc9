// The address of the page, which says what is chosen.

const MAX_ADDRESS_LENGTH = 8000; // longer ones are cut on the way by mails and servers

// The parts of "#metrics=...&labels=...&rate=1&from=...&to=...", as they stand there.
function readAddress() {
    const parts = location.hash.slice(1).split('&');
    const pairs = parts.map((part) => [part.split('=', 1)[0], part.slice(part.indexOf('=') + 1)]);
    return new Map(pairs);
}

// A time in milliseconds or as a date; null for anything else.
function parseAddressTime(text) {
    if (!text) return null;
    const time = /^\d+$/.test(text) ? Number(text) : Date.parse(decodeURIComponent(text));
    return Number.isFinite(time) ? time : null;
}

// Values of the options that a list in the address names by what `getText` gives.
function findListed(selectId, list, getText) {
    const select = document.getElementById(selectId);
    if (!select || !list) return [];
    const listed = new Set(list.split(',').map(normalizeListItem));
    const options = Array.from(select.options);
    return options
        .filter((option) => listed.has(encodeListItem(getText(option))))
        .map((option) => option.value);
}

// Links are written by hand, too, with other characters as they are.
function normalizeListItem(item) {
    try {
        return encodeListItem(decodeURIComponent(item));
    } catch {
        return encodeListItem(item);
    }
}

// An address counts before the choice of the host, and that before an earlier visit.
function getFirstChoice() {
    const address = readAddress();
    if (address.has('metrics')) {
        return {
            metrics: findListed('metricSelect', address.get('metrics'), (option) => option.textContent),
            findLabels: () => findListed('labelSelect', address.get('labels'), (option) => option.value),
            showRate: address.get('rate') === '1',
            range: { min: parseAddressTime(address.get('from')), max: parseAddressTime(address.get('to')) },
        };
    }
    if (PAGE_OPTIONS.firstMetrics && PAGE_OPTIONS.firstMetrics.length > 0) {
        return { metrics: PAGE_OPTIONS.firstMetrics, findLabels: () => [], showRate: false, range: null };
    }
    const labels = loadSetting('selectedLabels', []);
    return {
        metrics: loadSetting('selectedMetrics', []),
        findLabels: () => labels,
        showRate: loadSetting('showRate', false) === true,
        range: null,
    };
}

function joinList(texts) {
    // A list of an empty text alone would be an empty list.
    return texts.length === 1 && texts[0] === '' ? ',' : texts.map(encodeListItem).join(',');
}

function describeChoice() {
    const names = getSelectedMetricNames();
    const labels = getSelectedLabels();
    const range = chart ? getZoomedRange() : null;
    const parts = [];
    // An empty list tells a choice of nothing from a first visit.
    if (names.length > 0 || PAGE_OPTIONS.firstMetrics) parts.push(`metrics=${joinList(names)}`);
    if (labels.length > 0) parts.push(`labels=${joinList(labels)}`);
    if (names.length > 0 && isRateMode()) parts.push('rate=1');
    if (range) parts.push(`from=${Math.round(range.min)}`, `to=${Math.round(range.max)}`);
    return parts.length > 0 ? `#${parts.join('&')}` : '';
}

function updateAddress() {
    const choice = describeChoice();
    const hash = choice.length > MAX_ADDRESS_LENGTH ? '' : choice;
    if (hash === location.hash) return;
    try {
        history.replaceState(null, '', location.pathname + location.search + hash);
    } catch {
        return; // a browser refuses too many changes at a time
    }
}
