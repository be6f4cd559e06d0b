"""Reads a DXF plan that rcc drew back with ezdxf: the audit finds nothing, every layer holds
what it should, and every point of rcc's stakeout table lies within 1 mm of the drawn centre
line (the table's x, y columns, or N, E in the surveyor's frame, where DXF X is east)."""
import csv
import math
import sys

import ezdxf

TOLERANCE = 1e-3  # metres: how far a route point may lie from the drawn centre line


def distance_to_segment(p, a, b):
    ax, ay = a
    bx, by = b
    dx, dy = bx - ax, by - ay
    t = ((p[0] - ax) * dx + (p[1] - ay) * dy) / (dx * dx + dy * dy or 1.0)
    t = min(1.0, max(0.0, t))
    return math.hypot(p[0] - ax - t * dx, p[1] - ay - t * dy)


def distance_to_arc(p, arc):
    cx, cy = arc.dxf.center.x, arc.dxf.center.y
    angle = math.degrees(math.atan2(p[1] - cy, p[0] - cx)) % 360.0
    start, end = arc.dxf.start_angle % 360.0, arc.dxf.end_angle % 360.0
    inside = (start <= angle <= end) if start <= end else (angle >= start or angle <= end)
    if inside:
        return abs(math.hypot(p[0] - cx, p[1] - cy) - arc.dxf.radius)
    ends = [arc.start_point, arc.end_point]
    return min(math.hypot(p[0] - e.x, p[1] - e.y) for e in ends)


def main(dxf_path, points_path):
    doc = ezdxf.readfile(dxf_path)
    auditor = doc.audit()
    assert not auditor.errors and not auditor.fixes, (auditor.errors, auditor.fixes)
    msp = doc.modelspace()
    lines = msp.query('LINE[layer=="ALIGNMENT-LINE"]')
    arcs = msp.query('ARC[layer=="ALIGNMENT-ARC"]')
    polylines = msp.query('LWPOLYLINE[layer=="ALIGNMENT-CLOTHOID"]')
    assert len(lines) and len(arcs) and len(polylines), (len(lines), len(arcs), len(polylines))
    assert len(msp.query('TEXT[layer=="STATION-LABELS"]')) >= 10
    assert len(msp.query('POINT[layer=="KEY-POINTS"]')) >= 5
    segments = [((l.dxf.start.x, l.dxf.start.y), (l.dxf.end.x, l.dxf.end.y)) for l in lines]
    for pl in polylines:
        pts = [(x, y) for x, y, *_ in pl.get_points()]
        segments += list(zip(pts, pts[1:]))
    worst = 0.0
    with open(points_path, newline="") as f:
        for row in csv.DictReader(f):
            p = (float(row["E"]), float(row["N"])) if "N" in row else (float(row["x"]),
                                                                        float(row["y"]))
            d = min([distance_to_segment(p, a, b) for a, b in segments] +
                    [distance_to_arc(p, arc) for arc in arcs])
            worst = max(worst, d)
    assert worst <= TOLERANCE, f"a route point lies {worst:.4f} m from the drawing"
    print(f"dxf ok: {len(lines)} lines, {len(arcs)} arcs, {len(polylines)} polylines, "
          f"worst distance {worst * 1000:.3f} mm")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
