// Limits that the server writes over, the state that all modules share, and the colours of series.

const CHART_CONFIG = {
    TYPICAL_WIDTH_PX: 2000,
    POINT_HOVER_RADIUS_PX: 6,
    MIN_POINT_SPACING_PX: 2,
    MAX_VISUAL_DATA_POINTS: 0,
    MAX_ORIGINAL_DATA_POINTS: 0,
};

// More than anyone tells apart; a browser would stand still over thousands.
const MAX_DRAWN_SERIES = 500;

// What the server says of this page; write_chart_page() writes what differs.
const PAGE_OPTIONS = {
    hasHost: true, // false: the page is a file, and nobody answers it
    isLive: false, // the host adds to its data, and tells the points of any metric
    totals: null, // {metrics, series, points} of a page that doesn't carry its points from the start
    firstMetrics: null, // option values of what is shown first
    notice: '', // what the host has to say about its data
};

// Metric id to datasets: one thinned to what a chart shows, one with the detail for zooming. The
// datasets of a metric stand in the same order in both.
var metricsData = {};
var originalMetricsData = {};
var metricsDataFootprint = 0; // bytes that the store takes on the server

var chart = null;
var originalFullTimeRange = null; // {min, max} in milliseconds, of the data shown
window.lastChartDataKey = null; // what the chart was made of
var requestedRange = null; // {min, max} in milliseconds that the next chart is to show

var autoRefreshInterval = null; // timers
var autoRefreshCountdown = null;

var colorPalette = [
    'rgba(54, 162, 235, 1)',
    'rgba(255, 99, 132, 1)',
    'rgba(75, 192, 192, 1)',
    'rgba(255, 205, 86, 1)',
    'rgba(153, 102, 255, 1)',
    'rgba(255, 159, 64, 1)',
    'rgba(199, 199, 199, 1)',
    'rgba(83, 102, 255, 1)',
    'rgba(255, 99, 255, 1)',
    'rgba(99, 255, 132, 1)',
    'rgba(255, 195, 0, 1)',
    'rgba(46, 125, 50, 1)',
    'rgba(156, 39, 176, 1)',
    'rgba(244, 67, 54, 1)',
    'rgba(33, 150, 243, 1)',
    'rgba(255, 152, 0, 1)',
    'rgba(121, 85, 72, 1)',
    'rgba(96, 125, 139, 1)',
    'rgba(139, 195, 74, 1)',
    'rgba(233, 30, 99, 1)',
];
var colorIndex = 0;

function getNextColor() {
    const color = colorPalette[colorIndex % colorPalette.length];
    colorIndex++;
    return color;
}

// The server prints values as C++ streams do, which have names of their own for these.
const nan = NaN;
const inf = Infinity;
