// Panning and zooming with the mouse and with keys.

// The canvas outlives its charts and gets its handlers once. They stand on the container, to run
// before those of the chart.
function setupChartInteractions() {
    const container = document.querySelector('.chart-container');
    if (container.dataset.interactive) return;
    container.dataset.interactive = 'true';
    container.addEventListener('contextmenu', (event) => event.preventDefault());
    container.addEventListener('wheel', stopZoomAtMinimum, { capture: true, passive: false });
    container.addEventListener('wheel', scrollAtFullView, { capture: true, passive: true });
    container.addEventListener('keydown', handleChartKey);
    setupManualPanFallback(container);
}

function stopZoomAtMinimum(event) {
    if (!chart || event.deltaY >= 0) return;
    const { min, max } = chart.scales.x;
    if (max - min > getZoomLimits(chart.data.datasets).minRange * 1.1) return;
    event.preventDefault();
    event.stopPropagation();
}

// What can't zoom out any more scrolls the page.
function scrollAtFullView(event) {
    if (chart && event.deltaY > 0 && !getZoomedRange()) event.stopPropagation();
}

// Arrows pan, + and - zoom, 0 shows all.
function handleChartKey(event) {
    const actions = {
        ArrowLeft: () => panChart(-chart.chartArea.width / 10),
        ArrowRight: () => panChart(chart.chartArea.width / 10),
        '+': () => zoomChart(0.8),
        '-': () => zoomChart(1.25),
        0: resetZoom,
    };
    if (!chart || event.ctrlKey || event.metaKey || event.altKey) return;
    if (!Object.hasOwn(actions, event.key)) return;
    event.preventDefault();
    actions[event.key]();
    updateChartDataForZoom();
    updateZoomInfo();
}

// Makes the range in view longer by a factor, around its centre and within the data.
function zoomChart(factor) {
    const { min, max } = chart.scales.x;
    const { minRange, maxRange } = getZoomLimits(chart.data.datasets);
    const limit = Math.min(minRange, maxRange);
    const half = Math.min(Math.max((max - min) * factor, limit), maxRange) / 2;
    const full = originalFullTimeRange || { min, max };
    const center = Math.min(Math.max((min + max) / 2, full.min + half), full.max - half);
    setVisibleRange(center - half, center + half);
}

// Shift-drag and right-drag pan: the zoom plugin does so only together with a gesture library.
function setupManualPanFallback(container) {
    let lastX = null;
    container.addEventListener('mousedown', (event) => {
        const starts = event.button === 2 || (event.button === 0 && event.shiftKey);
        if (!chart || !starts) return;
        lastX = event.clientX;
        container.classList.add('panning');
        event.preventDefault();
    });
    window.addEventListener('mousemove', (event) => {
        if (lastX === null || !chart) return;
        panChart(lastX - event.clientX);
        lastX = event.clientX;
        updateZoomInfoThrottled();
    });
    window.addEventListener('mouseup', () => {
        if (lastX === null) return;
        lastX = null;
        container.classList.remove('panning');
        setTimeout(() => {
            updateChartDataForZoom();
            updateZoomInfo();
        }, 50);
    });
}

// Moves the range in view, but not out of the data.
function panChart(pixels) {
    const { min, max } = chart.scales.x;
    const shift = (pixels / chart.chartArea.width) * (max - min);
    const full = originalFullTimeRange || { min, max };
    const bounded = Math.min(Math.max(shift, full.min - min), full.max - max);
    setVisibleRange(min + bounded, max + bounded);
}

function setVisibleRange(min, max) {
    Object.assign(chart.options.scales.x, { min, max });
    chart.update('none');
}
