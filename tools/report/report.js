// The route report's script: draws plan and profile from the samples the page carries, and
// answers hover, zoom and pan. Plain ES2017, no network; the pure functions are exported for
// Node so that they can be tested without a browser.
(function (root) {
  'use strict';

  const SVG_NS = 'http://www.w3.org/2000/svg';
  const MAX_PX_PER_M = 100; // deepest zoom: 1 px = 1 cm, the sampling keeps curves within it
  const MIN_ZOOM_OUT = 0.25; // shallowest zoom, as a share of the whole-route view
  const WHEEL_RATE = 0.0015; // zoom factor exp(-rate * wheel delta in px)
  const FONT_PX = 12;
  const CJK_WIDTH = 1.0; // estimated advance of a character, in font sizes
  const LATIN_WIDTH = 0.6;
  const TICK_PX = 6; // half length of a minor station tick; major ticks are twice as long
  const GRID_PX = 140; // coordinate grid lines at least about this far apart on screen
  const BISECTIONS = 40;
  const ON_LINE_M = 5e-4; // offsets below this read as on the centre line (they show as 0.000) // halves [0, 1] to well below a micrometre on any segment

  // ---- stations ---------------------------------------------------------------------------

  // Station text in the library's forms: plain ("1450.000", second pass "01450.000"),
  // K ("K1+450.000", "K1+450.000(2)", "-K0+080.000") or US ("14+50.00").
  // Rounds once to the decimals shown before splitting, so 1999.9996 gives K2+000.000.
  function formatStation(value, occurrence, style, decimals) {
    if (!Number.isFinite(value)) return Number.isNaN(value) ? 'not-a-number' : 'infinite';
    const scale = Math.pow(10, decimals);
    const units = Math.round(Math.abs(value) * scale);
    const sign = value < 0 && units > 0 ? '-' : '';
    const fixed = (u, intDigits) => {
      const whole = Math.floor(u / scale);
      const frac = u - whole * scale;
      let text = String(whole).padStart(intDigits, '0');
      if (decimals > 0) text += '.' + String(frac).padStart(decimals, '0');
      return text;
    };
    const mark = occurrence === 2 ? '(2)' : '';
    if (style === 'k' || style === 'us') {
      const block = (style === 'k' ? 1000 : 100) * scale;
      const head = Math.floor(units / block);
      const rest = fixed(units - head * block, style === 'k' ? 3 : 2);
      return sign + (style === 'k' ? 'K' : '') + head + '+' + rest + mark;
    }
    return sign + (occurrence === 2 ? '0' : '') + fixed(units, 1);
  }

  // Largest index i with a[i] <= v (0 when v lies before a[0]); a is ascending.
  function lastAtOrBefore(a, v) {
    let lo = 0;
    let hi = a.length - 1;
    if (hi < 0 || v < a[0]) return 0;
    while (lo < hi) {
      const mid = (lo + hi + 1) >> 1;
      if (a[mid] <= v) lo = mid;
      else hi = mid - 1;
    }
    return lo;
  }

  // The station at a length along the route. `numbering` lists pieces in order: from
  // length l on, the station is v + (length - l) with occurrence o, up to the next piece.
  // An open piece starts just after l: l itself, the last point of a long chain's repeated
  // stretch, still belongs to the second pass before it.
  function stationAt(numbering, length) {
    let i = lastAtOrBefore(numbering.map((p) => p.l), length);
    if (numbering[i].open && length === numbering[i].l && i > 0) i -= 1;
    const p = numbering[i];
    return { value: p.v + (length - p.l), occurrence: p.o };
  }

  // ---- samples ----------------------------------------------------------------------------

  // Values at a length by linear interpolation between the samples either side (clamped to
  // the route's ends). Elevation and grade stay null where the profile does not reach.
  function interpolate(samples, length) {
    const s = samples.s;
    const n = s.length;
    const i = Math.min(lastAtOrBefore(s, length), Math.max(n - 2, 0));
    const j = Math.min(i + 1, n - 1);
    const span = s[j] - s[i];
    const t = span > 0 ? Math.min(Math.max((length - s[i]) / span, 0), 1) : 0;
    const lerp = (a) => a[i] + t * (a[j] - a[i]);
    const lerpOrNull = (a) => (a && a[i] !== null && a[j] !== null ? lerp(a) : null);
    return {
      s: s[i] + t * span,
      x: lerp(samples.x),
      y: lerp(samples.y),
      z: lerpOrNull(samples.z),
      g: lerpOrNull(samples.g),
    };
  }

  // Bearing change from a to b, brought into (-pi, pi] so that a wrap never reads as a turn.
  function turnBetween(a, b) {
    let d = b - a;
    while (d > Math.PI) d -= 2 * Math.PI;
    while (d <= -Math.PI) d += 2 * Math.PI;
    return d;
  }

  // The nearest point of the route to (px, py): the chord nearest to the point is found by a
  // scan, then the foot inside it is where the normal, turned with the bearing interpolated
  // between the samples, passes through the point. On an arc that normal runs through the
  // centre, so the length stays right for points well off the centre line, not only on it.
  function nearest(samples, px, py) {
    const { s, x, y, b } = samples;
    const n = s.length;
    if (n === 1) return footAt(samples, 0, 0, px, py);
    let best = Infinity;
    let bi = 0;
    for (let i = 0; i + 1 < n; i++) {
      const dx = x[i + 1] - x[i];
      const dy = y[i + 1] - y[i];
      const len2 = dx * dx + dy * dy;
      let t = len2 > 0 ? ((px - x[i]) * dx + (py - y[i]) * dy) / len2 : 0;
      t = Math.min(Math.max(t, 0), 1);
      const ex = x[i] + t * dx - px;
      const ey = y[i] + t * dy - py;
      const d2 = ex * ex + ey * ey;
      if (d2 < best) {
        best = d2;
        bi = i;
      }
    }
    // The chord nearest by distance may be the neighbour of the one the normal falls in.
    const along = (i, t) => {
      const bt = b[i] + t * turnBetween(b[i], b[i + 1]);
      const qx = x[i] + t * (x[i + 1] - x[i]);
      const qy = y[i] + t * (y[i + 1] - y[i]);
      return (px - qx) * Math.cos(bt) + (py - qy) * Math.sin(bt);
    };
    if (along(bi, 0) < 0 && bi > 0 && along(bi - 1, 1) <= 0) bi -= 1;
    else if (along(bi, 1) > 0 && bi + 2 < n && along(bi + 1, 0) >= 0) bi += 1;
    let t;
    if (along(bi, 0) <= 0) t = 0;
    else if (along(bi, 1) >= 0) t = 1;
    else {
      let lo = 0;
      let hi = 1;
      for (let k = 0; k < BISECTIONS; k++) {
        const mid = (lo + hi) / 2;
        if (along(bi, mid) > 0) lo = mid;
        else hi = mid;
      }
      t = (lo + hi) / 2;
    }
    return footAt(samples, bi, t, px, py);
  }

  // The foot at fraction t of the chord from sample i, with the signed offset of (px, py):
  // positive on the side of bearing + pi/2.
  function footAt(samples, i, t, px, py) {
    const { s, x, y, b } = samples;
    const j = Math.min(i + 1, s.length - 1);
    const bearing = b[i] + t * turnBetween(b[i], b[j]);
    const fx = x[i] + t * (x[j] - x[i]);
    const fy = y[i] + t * (y[j] - y[i]);
    const offset = -(px - fx) * Math.sin(bearing) + (py - fy) * Math.cos(bearing);
    const length = s[i] + t * (s[j] - s[i]);
    return { s: length, x: fx, y: fy, bearing: bearing, offset: offset };
  }

  // Grade-line elevation: straight between the grade-change points, ignoring the curves.
  function gradeLineAt(pvi, length) {
    if (pvi.length === 0 || length < pvi[0].l || length > pvi[pvi.length - 1].l) return null;
    const i = Math.min(lastAtOrBefore(pvi.map((p) => p.l), length), pvi.length - 2);
    if (i < 0) return pvi[0].z;
    const a = pvi[i];
    const c = pvi[i + 1];
    return c.l > a.l ? a.z + ((length - a.l) * (c.z - a.z)) / (c.l - a.l) : a.z;
  }

  // The largest 1, 2 or 5 times a power of ten not above `target` (scale bars, grids).
  function niceLength(target) {
    const p = Math.pow(10, Math.floor(Math.log10(target)));
    for (const m of [5, 2, 1]) if (m * p <= target) return m * p;
    return p;
  }

  // Estimated width of a label in px: CJK characters take a full font size, others less.
  function textWidth(text, fontPx) {
    let w = 0;
    for (const ch of text) w += (ch.codePointAt(0) > 0x2e80 ? CJK_WIDTH : LATIN_WIDTH) * fontPx;
    return w;
  }

  // Keeps labels, in order of priority (the order given), each at the first of its places
  // (its box {x, y, w, h}, then the box moved by each offset [dx, dy] in `alts`) where it
  // overlaps no obstacle and no label kept before it. Returns the kept boxes.
  function placeLabels(labels, obstacles) {
    const taken = (obstacles || []).slice();
    const kept = [];
    const clash = (l) =>
      taken.some((k) => l.x < k.x + k.w && k.x < l.x + l.w && l.y < k.y + k.h && k.y < l.y + l.h);
    for (const l of labels) {
      for (const [dx, dy] of [[0, 0]].concat(l.alts || [])) {
        const box = Object.assign({}, l, { x: l.x + dx, y: l.y + dy });
        if (!clash(box)) {
          taken.push(box);
          kept.push(box);
          break;
        }
      }
    }
    return kept;
  }

  const api = {
    formatStation,
    stationAt,
    interpolate,
    nearest,
    gradeLineAt,
    niceLength,
    textWidth,
    placeLabels,
  };
  if (typeof module !== 'undefined' && module.exports) {
    module.exports = api;
    return;
  }

  // ---- the page ---------------------------------------------------------------------------

  function el(name, attrs, parent) {
    const e = document.createElementNS(SVG_NS, name);
    for (const k in attrs) e.setAttribute(k, attrs[k]);
    if (parent) parent.appendChild(e);
    return e;
  }

  function text(parent, x, y, content, cls, anchor) {
    const t = el('text', { x: x.toFixed(1), y: y.toFixed(1), class: cls || '' }, parent);
    if (anchor) t.setAttribute('text-anchor', anchor);
    t.textContent = content;
    return t;
  }

  function start() {
    const data = JSON.parse(document.getElementById('route-data').textContent);
    const fmt = (v, d) => (v === null || v === undefined ? '—' : v.toFixed(d));
    const st = (length) => {
      const a = stationAt(data.numbering, length);
      return formatStation(a.value, a.occurrence, data.stationStyle, data.decimals);
    };
    // Plan axes: north up in both frames; in NE the horizontal axis is the easting y.
    const ne = data.frame === 'NE';
    const hOf = (x, y) => (ne ? y : x);
    const vOf = (x, y) => (ne ? x : y);
    const plan = setUpPlan(data, ne, hOf, vOf, st, fmt);
    const profile = setUpProfile(data, st, fmt);
    root.qvReport = { plan, profile, data };
  }

  // ---- plan -------------------------------------------------------------------------------

  function setUpPlan(data, ne, hOf, vOf, st, fmt) {
    const svg = document.getElementById('plan');
    const info = document.getElementById('plan-info');
    const smp = data.samples;
    const n = smp.s.length;
    const gridLayer = el('g', {}, svg); // under the route
    const geom = el('g', {}, svg);
    const overlay = el('g', {}, svg);
    const fixedLayer = el('g', {}, svg);
    const cursor = el('circle', { r: 5, class: 'cursor', visibility: 'hidden' }, svg);

    // Geometry in local metres under one transform; strokes keep their pixel width.
    const tangent = data.intersections.map((p) => hOf(p.x, p.y) + ' ' + vOf(p.x, p.y));
    if (tangent.length > 1) el('polyline', { points: tangent.join(' '), class: 'tangent' }, geom);
    // One path per element kind; a sample on an element boundary ends one run and starts
    // the next, so the line has no gap.
    const paths = { line: '', arc: '', spiral: '' };
    const starts = data.elements.map((e) => e.l);
    let current = null;
    for (let i = 0; i < n; i++) {
      const point = hOf(smp.x[i], smp.y[i]) + ' ' + vOf(smp.x[i], smp.y[i]);
      const mid = i + 1 < n ? (smp.s[i] + smp.s[i + 1]) / 2 : smp.s[i];
      const kind = data.elements.length ? data.elements[lastAtOrBefore(starts, mid)].kind : 'line';
      if (kind !== current) {
        if (current !== null) paths[current] += 'L' + point;
        paths[kind] += 'M' + point;
        current = kind;
      } else {
        paths[kind] += 'L' + point;
      }
    }
    for (const kind in paths) {
      if (paths[kind]) el('path', { d: paths[kind], class: 'centre ' + kind }, geom);
    }

    let hMin = Infinity;
    let hMax = -Infinity;
    let vMin = Infinity;
    let vMax = -Infinity;
    for (let i = 0; i < n; i++) {
      const h = hOf(smp.x[i], smp.y[i]);
      const v = vOf(smp.x[i], smp.y[i]);
      hMin = Math.min(hMin, h);
      hMax = Math.max(hMax, h);
      vMin = Math.min(vMin, v);
      vMax = Math.max(vMax, v);
    }
    const view = { k: 1, ox: 0, oy: 0 };
    let fitK = 1;
    const size = () => {
      const r = svg.getBoundingClientRect();
      return { w: r.width || 800, h: r.height || 500 };
    };
    function fit() {
      const { w, h } = size();
      const margin = 60;
      const spanH = Math.max(hMax - hMin, 1);
      const spanV = Math.max(vMax - vMin, 1);
      fitK = Math.min((w - 2 * margin) / spanH, (h - 2 * margin) / spanV);
      view.k = fitK;
      view.ox = w / 2 - view.k * (hMin + hMax) / 2;
      view.oy = h / 2 + view.k * (vMin + vMax) / 2;
      draw();
    }
    const toScreen = (x, y) => [view.ox + view.k * hOf(x, y), view.oy - view.k * vOf(x, y)];
    const fromScreen = (sx, sy) => {
      const h = (sx - view.ox) / view.k;
      const v = (view.oy - sy) / view.k;
      return ne ? [v, h] : [h, v];
    };

    function draw() {
      geom.setAttribute('transform', `matrix(${view.k} 0 0 ${-view.k} ${view.ox} ${view.oy})`);
      for (const layer of [gridLayer, overlay, fixedLayer]) {
        while (layer.firstChild) layer.removeChild(layer.firstChild);
      }
      const { w, h } = size();
      const inView = (p) => p[0] > -50 && p[0] < w + 50 && p[1] > -50 && p[1] < h + 50;
      drawGrid(w, h);
      const labels = [];
      const marks = []; // key point and station marks: no label may cover them
      // Key points first: they win any clash with a station label.
      for (const kp of data.keyPoints) {
        const p = toScreen(kp.x, kp.y);
        if (!inView(p)) continue;
        el('circle', { cx: p[0], cy: p[1], r: 3.5, class: 'key ' + kp.code }, overlay);
        marks.push({ x: p[0] - 4, y: p[1] - 4, w: 8, h: 8 });
        labels.push(boxAt(p, kp.label, 'key-label', 8, -8));
      }
      for (const ip of data.intersections) {
        const p = toScreen(ip.x, ip.y);
        if (!inView(p) || !ip.name) continue;
        el('rect', { x: p[0] - 3, y: p[1] - 3, width: 6, height: 6, class: 'ip' }, overlay);
        labels.push(boxAt(p, ip.name, 'ip-label', 6, 14));
      }
      // Station ticks across the centre line; a tick's screen normal is the bearing's normal
      // turned into screen axes (v grows upwards, the screen's y downwards).
      for (const t of data.ticks) {
        const p = toScreen(t.x, t.y);
        if (!inView(p)) continue;
        const nh = hOf(-Math.sin(t.b), Math.cos(t.b));
        const nv = -vOf(-Math.sin(t.b), Math.cos(t.b));
        const len = t.major ? 2 * TICK_PX : TICK_PX;
        el('line', {
          x1: p[0] - nh * len, y1: p[1] - nv * len, x2: p[0] + nh * len, y2: p[1] + nv * len,
          class: t.major ? 'tick major' : 'tick',
        }, overlay);
        const reach = Math.abs(nh * len) + 1;
        const rise = Math.abs(nv * len) + 1;
        marks.push({ x: p[0] - reach, y: p[1] - rise, w: 2 * reach, h: 2 * rise });
        if (t.major) labels.push(boxAt([p[0] + nh * len * 1.5, p[1] + nv * len * 1.5], t.text, 'tick-label', 2, 4));
      }
      for (const l of placeLabels(labels, marks)) text(overlay, l.x, l.y + l.h - 3, l.text, l.cls);
      drawNorthArrow(fixedLayer, w);
      drawScaleBar(fixedLayer, h);
      placeCursor();
    }

    // Coordinate grid on round values of the full coordinates (the local origin is a round
    // kilometre, so round local values are round full ones), labelled along two edges.
    function drawGrid(w, h) {
      const step = niceLength(GRID_PX / view.k);
      const decimals = step >= 1 ? 0 : Math.ceil(-Math.log10(step));
      const hFrom = Math.ceil((0 - view.ox) / view.k / step);
      const hTo = Math.floor((w - view.ox) / view.k / step);
      const vFrom = Math.ceil((view.oy - h) / view.k / step);
      const vTo = Math.floor(view.oy / view.k / step);
      const hOrigin = hOf(data.origin[0], data.origin[1]);
      const vOrigin = vOf(data.origin[0], data.origin[1]);
      const hName = ne ? 'E ' : 'x ';
      const vName = ne ? 'N ' : 'y ';
      for (let i = hFrom; i <= hTo; i++) {
        const sx = view.ox + view.k * i * step;
        el('line', { x1: sx, x2: sx, y1: 0, y2: h, class: 'grid' }, gridLayer);
        text(gridLayer, sx + 3, h - 6, hName + (hOrigin + i * step).toFixed(decimals), 'grid-label');
      }
      for (let i = vFrom; i <= vTo; i++) {
        const sy = view.oy - view.k * i * step;
        el('line', { x1: 0, x2: w, y1: sy, y2: sy, class: 'grid' }, gridLayer);
        text(gridLayer, 4, sy - 3, vName + (vOrigin + i * step).toFixed(decimals), 'grid-label');
      }
    }

    // A label's box beside point p, with three other places to try: mirrored below, to the
    // left, and both.
    function boxAt(p, content, cls, dx, dy) {
      const w = textWidth(content, FONT_PX);
      const h = FONT_PX + 2;
      const down = -2 * dy + h;
      const left = -2 * dx - w;
      const alts = [[0, down], [left, 0], [left, down]];
      return { x: p[0] + dx, y: p[1] + dy - FONT_PX, w, h, text: content, cls, alts };
    }

    function drawNorthArrow(layer, w) {
      const g = el('g', { transform: `translate(${w - 40} 20)`, class: 'north' }, layer);
      el('path', { d: 'M0 0 L10 30 L0 24 L-10 30 Z' }, g);
      text(g, 0, 44, 'N', 'north-label', 'middle');
    }

    function drawScaleBar(layer, h) {
      const metres = niceLength(120 / view.k);
      const px = metres * view.k;
      const g = el('g', { transform: `translate(20 ${h - 24})`, class: 'scale' }, layer);
      el('rect', { x: 0, y: 0, width: px / 2, height: 6, class: 'dark' }, g);
      el('rect', { x: px / 2, y: 0, width: px / 2, height: 6, class: 'light' }, g);
      const label = metres >= 1000 ? metres / 1000 + ' km' : metres >= 1 ? metres + ' m' : metres * 100 + ' cm';
      text(g, px + 6, 7, label, 'scale-label');
    }

    function zoomAt(sx, sy, factor) {
      const k = Math.min(Math.max(view.k * factor, fitK * MIN_ZOOM_OUT), MAX_PX_PER_M);
      const f = k / view.k;
      view.ox = sx - (sx - view.ox) * f;
      view.oy = sy - (sy - view.oy) * f;
      view.k = k;
      draw();
    }

    const local = (ev) => {
      const r = svg.getBoundingClientRect();
      return [ev.clientX - r.left, ev.clientY - r.top];
    };

    // The foot last shown, kept in route coordinates so that it follows zoom and pan.
    let shown = null;
    function placeCursor() {
      if (!shown) return;
      const p = toScreen(shown.x, shown.y);
      cursor.setAttribute('cx', p[0]);
      cursor.setAttribute('cy', p[1]);
      cursor.setAttribute('visibility', 'visible');
    }

    function hover(sx, sy) {
      const [px, py] = fromScreen(sx, sy);
      const f = nearest(smp, px, py);
      const at = interpolate(smp, f.s);
      shown = f;
      placeCursor();
      // Positive offsets lie on the side of bearing + pi/2: left in XY, right in NE.
      const side = Math.abs(f.offset) < ON_LINE_M ? '' : f.offset > 0 === ne ? ' right' : ' left';
      const gx = data.origin[0] + f.x;
      const gy = data.origin[1] + f.y;
      const coords = ne
        ? `N ${gx.toFixed(3)}  E ${gy.toFixed(3)}`
        : `x ${gx.toFixed(3)}  y ${gy.toFixed(3)}`;
      info.textContent = `Station ${st(f.s)}   offset ${Math.abs(f.offset).toFixed(3)}${side}   ${coords}   elevation ${fmt(at.z, 3)}`;
    }

    // Pointers: one drags the view, two pinch it; a mouse without a button hovers.
    const pointers = new Map();
    let pinch = null;
    svg.addEventListener('pointerdown', (ev) => {
      svg.setPointerCapture(ev.pointerId);
      pointers.set(ev.pointerId, local(ev));
      if (pointers.size === 2) {
        const [a, c] = [...pointers.values()];
        pinch = { d: Math.hypot(a[0] - c[0], a[1] - c[1]) };
      }
      if (ev.pointerType !== 'mouse') hover(...local(ev));
    });
    svg.addEventListener('pointermove', (ev) => {
      const p = local(ev);
      const prev = pointers.get(ev.pointerId);
      if (!prev) {
        hover(p[0], p[1]);
        return;
      }
      pointers.set(ev.pointerId, p);
      if (pointers.size === 2 && pinch) {
        const [a, c] = [...pointers.values()];
        const dist = Math.hypot(a[0] - c[0], a[1] - c[1]);
        if (pinch.d > 0) zoomAt((a[0] + c[0]) / 2, (a[1] + c[1]) / 2, dist / pinch.d);
        pinch.d = dist;
      } else if (pointers.size === 1) {
        view.ox += p[0] - prev[0];
        view.oy += p[1] - prev[1];
        draw();
      }
    });
    const release = (ev) => {
      pointers.delete(ev.pointerId);
      if (pointers.size < 2) pinch = null;
    };
    svg.addEventListener('pointerup', release);
    svg.addEventListener('pointercancel', release);
    svg.addEventListener('wheel', (ev) => {
      ev.preventDefault();
      const [sx, sy] = local(ev);
      zoomAt(sx, sy, Math.exp(-ev.deltaY * WHEEL_RATE));
    }, { passive: false });
    document.getElementById('plan-fit').addEventListener('click', fit);
    // The printed page is narrower than the window: fit the plan to it and back.
    window.addEventListener('resize', fit);
    window.addEventListener('beforeprint', fit);
    window.addEventListener('afterprint', fit);
    fit();
    // Screen position of the route at a length, for scripted checks of the hover.
    return {
      screenOfLength: (length) => {
        const a = interpolate(smp, length);
        return toScreen(a.x, a.y);
      },
      scale: () => view.k,
    };
  }

  // ---- profile ----------------------------------------------------------------------------

  function setUpProfile(data, st, fmt) {
    const svg = document.getElementById('profile');
    const info = document.getElementById('profile-info');
    const smp = data.samples;
    // Drawn in a fixed 1200 x 340 box that the page scales to its width; margins hold the
    // elevation labels on the left and the station labels below.
    const [W, H] = [1200, 340];
    const { left, right, top, bottom } = { left: 70, right: 20, top: 20, bottom: 50 };
    svg.setAttribute('viewBox', `0 0 ${W} ${H}`);
    const zs = smp.z.filter((z) => z !== null).concat(data.pvi.map((p) => p.z));
    if (zs.length === 0) {
      svg.style.display = 'none';
      info.textContent = 'This route has no profile.';
      return null;
    }
    // A loop, not Math.min(...zs): spreading a long route's samples overflows the stack.
    let zMin = Infinity;
    let zMax = -Infinity;
    for (const z of zs) {
      zMin = Math.min(zMin, z);
      zMax = Math.max(zMax, z);
    }
    const pad = Math.max((zMax - zMin) * 0.1, 0.5);
    zMin -= pad;
    zMax += pad;
    const L = Math.max(data.length, 1e-9);
    const X = (s) => left + ((W - left - right) * s) / L;
    const Y = (z) => top + ((H - top - bottom) * (zMax - z)) / (zMax - zMin);
    const plotBox = { x: left, y: top, width: W - left - right, height: H - top - bottom };
    el('rect', Object.assign({ class: 'frame' }, plotBox), svg);
    // Lines and points clipped to the plot: a profile may run on past the route's ends.
    el('rect', plotBox, el('clipPath', { id: 'profile-plot' }, el('defs', {}, svg)));
    const plot = el('g', { 'clip-path': 'url(#profile-plot)' }, svg);

    const zStep = niceLength((zMax - zMin) / 5);
    for (let z = Math.ceil(zMin / zStep) * zStep; z <= zMax; z += zStep) {
      el('line', { x1: left, x2: W - right, y1: Y(z), y2: Y(z), class: 'grid' }, svg);
      text(svg, left - 6, Y(z) + 4, z.toFixed(zStep < 1 ? 1 : 0), 'axis-label', 'end');
    }
    const labels = [];
    for (const t of data.ticks) {
      if (!t.major) continue;
      el('line', { x1: X(t.l), x2: X(t.l), y1: top, y2: H - bottom, class: 'grid' }, svg);
      labels.push({ x: X(t.l) - textWidth(t.text, FONT_PX) / 2, y: H - bottom + 6, w: textWidth(t.text, FONT_PX), h: FONT_PX + 2, text: t.text });
    }
    for (const l of placeLabels(labels)) text(svg, l.x, l.y + FONT_PX, l.text, 'axis-label');

    if (data.pvi.length > 1) {
      el('polyline', { points: data.pvi.map((p) => X(p.l) + ',' + Y(p.z)).join(' '), class: 'gradeline' }, plot);
    }
    let d = '';
    let pen = false;
    for (let i = 0; i < smp.s.length; i++) {
      if (smp.z[i] === null) {
        pen = false;
        continue;
      }
      d += (pen ? 'L' : 'M') + X(smp.s[i]).toFixed(2) + ' ' + Y(smp.z[i]).toFixed(2);
      pen = true;
    }
    el('path', { d: d, class: 'design' }, plot);
    const pviLabels = [];
    for (const p of data.pvi) {
      el('circle', { cx: X(p.l), cy: Y(p.z), r: 3, class: 'pvi' }, plot);
      if (p.name) pviLabels.push({ x: X(p.l) - textWidth(p.name, FONT_PX) / 2, y: Y(p.z) - 22, w: textWidth(p.name, FONT_PX), h: FONT_PX + 2, text: p.name });
    }
    for (const l of placeLabels(pviLabels)) text(svg, l.x, l.y + FONT_PX, l.text, 'pvi-label');

    const cursorLine = el('line', { y1: top, y2: H - bottom, class: 'cursor-line', visibility: 'hidden' }, svg);
    const dot = el('circle', { r: 4, class: 'cursor', visibility: 'hidden' }, svg);
    // A mouse reads the profile as it moves; a finger where it taps.
    const read = (ev) => {
      const pt = svg.createSVGPoint();
      pt.x = ev.clientX;
      pt.y = ev.clientY;
      const p = pt.matrixTransform(svg.getScreenCTM().inverse());
      const s = Math.min(Math.max(((p.x - left) * L) / (W - left - right), 0), L);
      const at = interpolate(smp, s);
      cursorLine.setAttribute('x1', X(s));
      cursorLine.setAttribute('x2', X(s));
      cursorLine.setAttribute('visibility', 'visible');
      if (at.z !== null) {
        dot.setAttribute('cx', X(s));
        dot.setAttribute('cy', Y(at.z));
        dot.setAttribute('visibility', 'visible');
      }
      const gl = gradeLineAt(data.pvi, s);
      const grade = at.g === null ? '—' : (at.g * 100).toFixed(3) + ' %';
      info.textContent = `Station ${st(s)}   grade ${grade}   grade line ${fmt(gl, 3)}   design elevation ${fmt(at.z, 3)}`;
    };
    svg.addEventListener('pointermove', read);
    svg.addEventListener('pointerdown', read);
    return { X, Y };
  }

  if (document.readyState === 'loading') document.addEventListener('DOMContentLoaded', start);
  else start();
})(typeof window !== 'undefined' ? window : globalThis);
