'use strict';

// Draws dots over time as an SVG text, one lane above the other.

const WIDTH = 960;
const LEFT = 110;
const RIGHT = 24;
const TOP = 64;
const LANE = 64;
const GAP = 14;
const BOTTOM = 40;
const COLOURS = ['#1f77b4', '#2ca02c', '#ff7f0e', '#7f7f7f', '#9467bd', '#d62728'];

const escapeXml = (text) =>
  text.replace(/[&<>]/g, (sign) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;' })[sign]);

const text = (x, y, content, attributes = '') =>
  `<text x="${x}" y="${y}" ${attributes}>${escapeXml(content)}</text>`;

/**
 * @param {object} plot
 * @param {string} plot.title
 * @param {string} plot.xLabel unit of the horizontal axis
 * @param {number} plot.xMax
 * @param {number} plot.yMax lanes show -yMax to yMax; dots beyond are drawn at the edge
 * @param {number} plot.band -band to band is shaded
 * @param {string[]} plot.series names, in the order of each lane's series
 * @param {{name: string, series: {x: number, y: number}[][]}[]} plot.lanes
 * @returns {string}
 */
function plotLanes({ title, xLabel, xMax, yMax, band, series, lanes }) {
  const height = TOP + lanes.length * (LANE + GAP) + BOTTOM;
  const toX = (x) => LEFT + (x / xMax) * (WIDTH - LEFT - RIGHT);
  const parts = [
    `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${WIDTH} ${height}"`,
    ' font-family="sans-serif" font-size="12">',
    `<rect width="${WIDTH}" height="${height}" fill="white"/>`,
    text(LEFT, 22, title, 'font-size="15" font-weight="bold"'),
  ];
  for (const [index, name] of series.entries()) {
    const x = LEFT + index * 130;
    parts.push(`<circle cx="${x + 5}" cy="40" r="4" fill="${COLOURS[index]}"/>`);
    parts.push(text(x + 14, 44, name));
  }
  for (const [index, lane] of lanes.entries()) {
    parts.push(drawLane(lane, TOP + index * (LANE + GAP), { toX, xMax, yMax, band }));
  }
  const axis = height - BOTTOM + 16;
  for (let x = 0; x <= xMax; x += Math.max(1, Math.ceil(xMax / 60) * 10)) {
    parts.push(text(toX(x), axis, `${x} ${xLabel}`, 'text-anchor="middle"'));
  }
  return `${parts.join('\n')}\n</svg>\n`;
}

function drawLane({ name, series }, top, { toX, xMax, yMax, band }) {
  const clamp = (y) => Math.max(-yMax, Math.min(yMax, y));
  const toY = (y) => top + LANE / 2 - (clamp(y) / yMax) * (LANE / 2);
  const width = toX(xMax) - LEFT;
  const parts = [
    `<rect x="${LEFT}" y="${top}" width="${width}" height="${LANE}" fill="none" stroke="#ccc"/>`,
    `<rect x="${LEFT}" y="${toY(band)}" width="${width}" height="${toY(-band) - toY(band)}"`,
    ' fill="#e8f4e8"/>',
    `<line x1="${LEFT}" x2="${toX(xMax)}" y1="${toY(0)}" y2="${toY(0)}" stroke="#aaa"/>`,
    text(8, top + LANE / 2 + 4, name, 'font-weight="bold"'),
  ];
  for (const y of [yMax, 0, -yMax]) {
    parts.push(text(LEFT - 6, toY(y) + 4, String(y), 'text-anchor="end" font-size="9"'));
  }
  for (const [index, points] of series.entries()) {
    for (const { x, y } of points.filter((point) => point.x >= 0 && point.x <= xMax)) {
      const place = `cx="${toX(x).toFixed(1)}" cy="${toY(y).toFixed(1)}"`;
      parts.push(`<circle ${place} r="1.8" fill="${COLOURS[index]}"/>`);
    }
  }
  return parts.join('\n');
}

module.exports = { plotLanes };
