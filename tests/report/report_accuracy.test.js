// The readings of a page rcc wrote, against rcc's own stakeout of the same route: points
// 100 m either side of the centre line must find their station within 1 cm, and the
// interpolated design elevation must match within 1 mm (both files round to 0.5 mm).
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const page = require(process.env.QV_REPORT_SCRIPT);

const STATION_TOLERANCE = 0.01 + 0.001; // the page's promise, plus the files' rounding
const ELEVATION_TOLERANCE = 0.001 + 0.001;

function pageData(path) {
  const html = fs.readFileSync(path, 'utf8');
  const open = '<script type="application/json" id="route-data">';
  const from = html.indexOf(open) + open.length;
  return JSON.parse(html.slice(from, html.indexOf('</script>', from)));
}

test('stations and elevations read from the page match the stakeout', () => {
  const data = pageData(process.env.QV_REPORT_PAGE);
  const lines = fs.readFileSync(process.env.QV_REPORT_STAKEOUT, 'utf8').trim().split('\n');
  // chainage,length,x,y,bearing,elevation,point,x(-100),y(-100),x(+100),y(+100)
  assert.equal(lines[0], 'chainage,length,x,y,bearing,elevation,point,x(-100),y(-100),x(+100),y(+100)');
  const [ox, oy] = data.origin;
  let checked = 0;
  for (const line of lines.slice(1)) {
    const c = line.split(',');
    const length = Number(c[1]);
    for (const [x, y] of [[c[2], c[3]], [c[7], c[8]], [c[9], c[10]]]) {
      const foot = page.nearest(data.samples, Number(x) - ox, Number(y) - oy);
      assert.ok(Math.abs(foot.s - length) < STATION_TOLERANCE, `${line}: found ${foot.s}`);
      checked++;
    }
    // The station text as the page shows it, for the point on the centre line (an equation
    // has two; the table names it by the back station, the page by the ahead one).
    const at = page.stationAt(data.numbering, length);
    if (!c[6].startsWith('EQ')) {
      assert.equal(page.formatStation(at.value, at.occurrence, 'plain', 3), c[0]);
    }
    const z = page.interpolate(data.samples, length).z;
    assert.ok(Math.abs(z - Number(c[5])) < ELEVATION_TOLERANCE, `${line}: elevation ${z}`);
  }
  assert.ok(checked > 1000, `only ${checked} points`);
});
