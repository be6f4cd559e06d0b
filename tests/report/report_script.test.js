// The report page's pure functions: station text, numbering through equations, sample
// interpolation and the nearest point of the route, checked against hand-worked values.
'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const page = require(process.env.QV_REPORT_SCRIPT || '../../tools/report/report.js');

test('station text rounds before splitting and marks the second pass', () => {
  assert.equal(page.formatStation(1450, 1, 'plain', 3), '1450.000');
  assert.equal(page.formatStation(1450, 2, 'plain', 3), '01450.000');
  assert.equal(page.formatStation(1450.5, 1, 'k', 3), 'K1+450.500');
  assert.equal(page.formatStation(1450, 2, 'k', 3), 'K1+450.000(2)');
  // 1999.9996 rounds to 2000.000: the carry reaches the kilometre.
  assert.equal(page.formatStation(1999.9996, 1, 'k', 3), 'K2+000.000');
  assert.equal(page.formatStation(-80, 1, 'k', 3), '-K0+080.000');
  assert.equal(page.formatStation(1450, 1, 'us', 2), '14+50.00');
  assert.equal(page.formatStation(-80, 2, 'us', 2), '-0+80.00(2)');
  // A negative value that rounds to zero has no sign.
  assert.equal(page.formatStation(-0.0004, 1, 'plain', 3), '0.000');
  assert.equal(page.formatStation(NaN, 1, 'k', 3), 'not-a-number');
});

test('stations follow the numbering through short and long chains', () => {
  // Start 1000; at length 50 a short chain 1050 = 1060; at 100 a long chain 1110 = 1090,
  // whose repeated stretch 1090..1110 (lengths 100..120) is the second pass.
  const numbering = [
    { l: 0, v: 1000, o: 1 },
    { l: 50, v: 1060, o: 1 },
    { l: 100, v: 1090, o: 2 },
    { l: 120, v: 1110, o: 1, open: true },
  ];
  const at = (l) => page.stationAt(numbering, l);
  assert.deepEqual(at(49.5), { value: 1049.5, occurrence: 1 });
  assert.deepEqual(at(50), { value: 1060, occurrence: 1 });
  assert.deepEqual(at(99), { value: 1109, occurrence: 1 });
  assert.deepEqual(at(110), { value: 1100, occurrence: 2 });
  assert.deepEqual(at(120), { value: 1110, occurrence: 2 });
  assert.deepEqual(at(130), { value: 1120, occurrence: 1 });
  assert.deepEqual(at(-10), { value: 990, occurrence: 1 });
});

test('interpolation is linear, clamped at the ends and keeps missing elevations missing', () => {
  const samples = { s: [0, 10, 20], x: [0, 10, 20], y: [5, 5, 5], z: [100, 101, null], g: [0.1, 0.1, null] };
  assert.equal(page.interpolate(samples, 5).z, 100.5);
  assert.equal(page.interpolate(samples, 15).z, null);
  assert.equal(page.interpolate(samples, -5).s, 0);
  assert.equal(page.interpolate(samples, 25).x, 20);
});

// Samples of an arc R = 100 from (0, 0) turning left, centre (0, 100), 2 m apart: the chord
// spacing the report uses for a 5 mm sagitta, sqrt(8 * 0.005 * 100) = 2 m.
function arcSamples() {
  const R = 100;
  const samples = { s: [], x: [], y: [], b: [] };
  for (let s = 0; s <= 100 + 1e-9; s += 2) {
    samples.s.push(s);
    samples.x.push(R * Math.sin(s / R));
    samples.y.push(R - R * Math.cos(s / R));
    samples.b.push(s / R);
  }
  return samples;
}

test('the nearest point of an arc gives its station within a centimetre, on and off the line', () => {
  const samples = arcSamples();
  // A point at angle theta and offset d (positive towards the centre) lies at distance
  // R - d from the centre; its foot is at length R * theta.
  for (const theta of [0.3037, 0.5, 0.011]) {
    for (const d of [0, 30, -50]) {
      const px = (100 - d) * Math.sin(theta);
      const py = 100 - (100 - d) * Math.cos(theta);
      const f = page.nearest(samples, px, py);
      assert.ok(Math.abs(f.s - 100 * theta) < 0.01, `theta ${theta} d ${d}: ${f.s}`);
      assert.ok(Math.abs(f.offset - d) < 0.01, `offset at theta ${theta} d ${d}: ${f.offset}`);
    }
  }
  // Beyond the end the nearest point is the end itself.
  assert.equal(page.nearest(samples, 200, 300).s, 100);
});

test('the grade line runs straight between grade-change points and stops at the ends', () => {
  const pvi = [{ l: 0, z: 100 }, { l: 100, z: 102 }, { l: 200, z: 101 }];
  assert.equal(page.gradeLineAt(pvi, 150), 101.5);
  assert.equal(page.gradeLineAt(pvi, 100), 102);
  assert.equal(page.gradeLineAt(pvi, 250), null);
});

test('labels take the first free place of theirs, or are dropped', () => {
  const mark = { x: 100, y: 0, w: 8, h: 8 }; // a key point's mark: never covered
  const kept = page.placeLabels(
    [
      { x: 0, y: 0, w: 50, h: 12, text: 'JD1' },
      { x: 40, y: 5, w: 50, h: 12, text: 'K0+100' }, // clashes with JD1, no other place
      { x: 60, y: 0, w: 50, h: 12, text: 'K0+200', alts: [[0, 20]] }, // on the mark: moves down
      { x: 40, y: 0, w: 50, h: 12, text: 'JD2', alts: [[0, 20], [0, 40]] }, // third place free
    ],
    [mark],
  );
  assert.deepEqual(kept.map((l) => [l.text, l.x, l.y]), [['JD1', 0, 0], ['K0+200', 60, 20], ['JD2', 40, 40]]);
  // CJK characters are wider than Latin ones: 某某路 takes three font sizes.
  assert.equal(page.textWidth('某某路', 10), 30);
});

test('scale bar lengths are 1, 2 or 5 times a power of ten', () => {
  assert.equal(page.niceLength(324), 200);
  assert.equal(page.niceLength(0.9), 0.5);
  assert.equal(page.niceLength(1000), 1000);
});
