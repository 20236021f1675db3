'use strict';

/** @param {number[]} values @param {number} [share] 0.5 is the median @returns {number} */
function quantile(values, share = 0.5) {
  const sorted = [...values].sort((a, b) => a - b);
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * share))];
}

/** Prints rows of texts in columns. */
function printTable(rows) {
  const widths = rows[0].map((_cell, column) =>
    Math.max(...rows.map((row) => String(row[column]).length)),
  );
  for (const row of rows) {
    console.log(row.map((cell, column) => String(cell).padEnd(widths[column])).join('  '));
  }
}

module.exports = { printTable, quantile };
