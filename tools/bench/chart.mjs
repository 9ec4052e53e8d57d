// Draws the results as an SVG: three groups of bars.

import { median, series } from './statistics.mjs';

/// The groups of bars: title, and field of the results.
const groups = [
  ['time until the finished page is on the screen, ms', 'painted'],
  ['memory, MiB', 'memory'],
  ['processor time until 5 s after that page is on the screen, ms', 'processor'],
];

const WIDTH = 760;
const NAME_WIDTH = 150;
const BAR = 20;
const GAP = 6;

/// Returns the chart of the starts with a server that is already running (the table `ready`).
/// Highlights the first viewer, which is this application.
export function drawChart(results) {
  const elements = [];
  let y = 12;
  const addText = (x, baseline, content, attributes = '') =>
    elements.push(`<text x="${x}" y="${baseline}"${attributes}>${content}</text>`);
  for (const [title, field] of groups) {
    const values = results.names.map((name) => median(series(results, 'ready', name, field)));
    const max = Math.max(...values.filter(Number.isFinite));
    addText(12, y + 16, title, ' class="title"');
    y += 26;
    results.names.forEach((name, index) => {
      const value = values[index];
      const isMeasured = Number.isFinite(value);
      const width = isMeasured ? Math.max(1, ((WIDTH - NAME_WIDTH - 80) * value) / max) : 0;
      addText(NAME_WIDTH - 8, y + 15, name, ' text-anchor="end"');
      elements.push(`<rect x="${NAME_WIDTH}" y="${y}" width="${width.toFixed(1)}" height="${BAR}" ` +
        `rx="3" class="${index === 0 ? 'ours' : 'other'}"/>`);
      addText(NAME_WIDTH + width + 6, y + 15, isMeasured ? Math.round(value) : 'not measured');
      y += BAR + GAP;
    });
    y += 12;
  }
  return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${WIDTH} ${y}" width="${WIDTH}" height="${y}">
<style>text { font: 13px sans-serif; fill: #c3ccd5; } .title { font-weight: bold; fill: #eef2f5; }
.ours { fill: #8fc7ff; } .other { fill: #3a4653; }</style>
<rect width="${WIDTH}" height="${y}" rx="10" fill="#07090c"/>
${elements.join('\n')}
</svg>
`;
}
