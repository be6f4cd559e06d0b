"""Plan and profile drawings of a route with matplotlib, imported only when asked for."""

import numpy as np

# Samples along the route for the drawn centre line and profile: enough that a curve of
# the smallest radius on a long route still looks smooth at screen resolution.
_SAMPLES = 4000


def plot(route, ax=None, profile_ax=None):
    import matplotlib.pyplot as plt

    has_profile = route._route.has_profile
    if ax is None and profile_ax is None:
        rows = 2 if has_profile else 1
        fig, axes = plt.subplots(rows, 1, figsize=(8, 4 * rows), squeeze=False)
        ax = axes[0][0]
        profile_ax = axes[1][0] if has_profile else None
    keys = route.key_points(horizontal=True, vertical=has_profile)
    lengths = np.union1d(np.linspace(0.0, route.length, _SAMPLES),
                         [k["length"] for k in keys])
    points = route.point_at_length(lengths)
    # In the NE frame x is the northing: the drawing puts easting across, northing up.
    ne = route.frame == "ne"
    across, up = (points.y, points.x) if ne else (points.x, points.y)
    if ax is not None:
        ax.plot(across, up, color="black", linewidth=1)
        horizontal = [k for k in keys if k["type"] not in ("BVC", "PVI", "EVC", "HIGH", "LOW")]
        at = route.point_at_length([k["length"] for k in horizontal])
        kx, ky = (at.y, at.x) if ne else (at.x, at.y)
        ax.plot(kx, ky, "o", color="tab:red", markersize=3)
        for k, px, py in zip(horizontal, kx, ky):
            ax.annotate(k["label"], (px, py), fontsize=6, xytext=(3, 3),
                        textcoords="offset points")
        ax.set_aspect("equal", adjustable="datalim")
        ax.set_xlabel("easting" if ne else "x")
        ax.set_ylabel("northing" if ne else "y")
        ax.set_title(route.name or "plan")
    if profile_ax is not None and has_profile:
        profile_ax.plot(lengths, points.elevation, color="black", linewidth=1)
        for v in route.vertical_curves():
            profile_ax.plot(v["length"], v["elevation"], "^", color="tab:blue", markersize=4)
            profile_ax.annotate(v["name"], (v["length"], v["elevation"]), fontsize=6,
                                xytext=(3, 3), textcoords="offset points")
        profile_ax.set_xlabel("length along the route")
        profile_ax.set_ylabel("elevation")
    return ax, profile_ax
