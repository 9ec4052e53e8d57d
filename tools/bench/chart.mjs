// The picture of the numbers: three groups of bars, drawn as SVG.

import { median } from './statistics.mjs';

const groups = [
  ['finished page on the screen, ms', 'painted'],
  ['memory, MiB', 'memory'],
  ['processor time to 5 s later, ms', 'processor'],
];

const WIDTH = 760;
const NAME_WIDTH = 150;
const BAR = 20;
const GAP = 6;
const TITLE = 34;

export function drawing(found) {
  const parts = [];
  let y = 12;
  const label = (x, at, content, more = '') =>
    parts.push(`<text x="${x}" y="${at}"${more}>${content}</text>`);
  for (const [title, field] of groups) {
    const values = found.names.map((name) =>
      median((found.ready[name] ?? []).filter((visit) => visit !== null).map((visit) => visit[field])));
    const most = Math.max(...values.filter(Number.isFinite));
    label(12, y + 16, title, ' class="title"');
    y += TITLE - 8;
    found.names.forEach((name, at) => {
      const value = values[at];
      const width = Number.isFinite(value)
        ? Math.max(1, ((WIDTH - NAME_WIDTH - 80) * value) / most) : 0;
      label(NAME_WIDTH - 8, y + 15, name, ' text-anchor="end"');
      parts.push(`<rect x="${NAME_WIDTH}" y="${y}" width="${width.toFixed(1)}" height="${BAR}" ` +
        `rx="3" class="${at === 0 ? 'ours' : 'other'}"/>`);
      label(NAME_WIDTH + width + 6, y + 15, Number.isFinite(value) ? Math.round(value) : 'not measured');
      y += BAR + GAP;
    });
    y += 12;
  }
  return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${WIDTH} ${y}" width="${WIDTH}" height="${y}">
<style>text { font: 13px sans-serif; fill: #c3ccd5; } .title { font-weight: bold; fill: #eef2f5; }
.ours { fill: #8fc7ff; } .other { fill: #3a4653; }</style>
<rect width="${WIDTH}" height="${y}" rx="10" fill="#07090c"/>
${parts.join('\n')}
</svg>
`;
}
