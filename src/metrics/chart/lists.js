// Filters of the lists, and the sizes of lists and chart.

const OPTION_HEIGHT_PX = 22;
const LIST_BORDER_PX = 10; // above and below the options, in all
const LISTS_SHARE = 0.17; // of the window's height: the chart is to stay in sight
const MIN_CHART_HEIGHT_PX = 360;
const PAGE_END_PX = 12;
const MIN_LABELS_WIDTH_PX = 400;

// Shows the options that hold all words, whatever their case. What is chosen stays so.
function filterList(select, filter, count) {
    const words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    for (const option of select.options) {
        const text = option.textContent.toLowerCase();
        option.hidden = !words.every((word) => text.includes(word));
        if (!option.hidden) shown++;
    }
    count.textContent = words.length > 0 ? `${shown} of ${select.options.length}` : '';
}

function createListFilter(selectId, what) {
    const select = document.getElementById(selectId);
    if (!select) return;
    const id = `${selectId}Filter`;
    const filter = createElement('input', { type: 'search', id, placeholder: `Type to filter ${what}` });
    filter.setAttribute('aria-label', `Filter ${what} by words`);
    filter.setAttribute('aria-controls', selectId);
    const count = createElement('span', {});
    count.setAttribute('role', 'status');
    const apply = () => filterList(select, filter, count);
    filter.addEventListener('input', debounce(apply, 50));
    new MutationObserver(apply).observe(select, { childList: true });
    select.before(createElement('div', { className: 'list-filter' }, filter, count));
}

// Both lists get as many lines as the longer one has use for and the window has room for; how many
// of them are in sight leaves room for the chart.
function adjustSelectorsSize() {
    const selects = [
        document.getElementById('metricSelect'),
        document.getElementById('labelSelect'),
    ].filter(Boolean);
    const longest = Math.max(...selects.map((select) => select.options.length));
    const room = Math.floor((window.innerHeight - 300) / OPTION_HEIGHT_PX);
    const size = Math.max(6, Math.min(Math.max(longest, 8), 20, room));
    const inSight = Math.max(4, Math.floor((window.innerHeight * LISTS_SHARE) / OPTION_HEIGHT_PX));
    for (const select of selects) {
        select.size = size;
        select.style.height = `${Math.min(size, inSight) * OPTION_HEIGHT_PX + LIST_BORDER_PX}px`;
    }
    adjustChartHeight();
}

// What the window has below the controls.
function adjustChartHeight() {
    const container = document.querySelector('.chart-container');
    if (!container) return;
    const top = container.getBoundingClientRect().top + window.scrollY;
    const height = Math.max(MIN_CHART_HEIGHT_PX, window.innerHeight - top - PAGE_END_PX);
    container.style.height = `${height}px`;
}

function constrainLabelsSelectorResize() {
    const select = document.getElementById('labelSelect');
    if (!select || !select.style.width) return; // never resized by hand
    const panelWidth = select.parentElement.clientWidth;
    const width = Math.min(Math.max(select.offsetWidth, MIN_LABELS_WIDTH_PX), panelWidth);
    if (width !== select.offsetWidth) select.style.width = `${width}px`;
}
