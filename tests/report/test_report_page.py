"""The report page in headless Chromium: it draws, logs no error, and hovering over a known
point of the route shows that point's station.

Pages come from QV_REPORT_PAGES, a list of "page.html=length=station" separated by ";":
hovering over the route at `length` must show `station`. One more page is built from the
template around a hand-made route: in the NE frame, on national-grid coordinates, with a
Chinese name and a short chain.
"""
import json
import math
import os
import pathlib
import shutil
import tempfile

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.actions.wheel_input import ScrollOrigin
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools" / "report"
TIMEOUT = 30  # seconds for any page load, script or wait
WINDOW = (1400, 1000)
WHEEL_PX = 600  # one scripted wheel turn: zooms in by exp(0.0015 * 600), about 2.5 times
R = 100.0  # radius of the hand-made route's arc


def hand_made_data():
    """NE frame: x north, y east. A straight north 100 m, a quarter arc R = 100 turning right
    (azimuth 0 to pi/2), a straight east 100 m; start N 6675100, E 2546200; stations from 1000
    with a short chain 1050 = 1060 at length 50. Length 150 lies on the arc: station 1160."""
    origin = (6675000.0, 2546000.0)
    s, x, y, b = [], [], [], []

    def add(length, n, e, bearing):
        s.append(length), x.append(n), y.append(e), b.append(bearing)

    for i in range(5):  # straight, 25 m apart
        add(25.0 * i, 100.0 + 25.0 * i, 200.0, 0.0)
    arc = math.pi / 2 * R
    steps = 80  # about 2 m apart: sagitta under 5 mm
    for i in range(1, steps + 1):
        t = arc * i / steps
        a = t / R  # azimuth grows: a right turn, centre east of the start
        add(100.0 + t, 200.0 + R * math.sin(a), 300.0 - R * math.cos(a), a)
    for i in range(1, 5):
        add(100.0 + arc + 25.0 * i, 300.0, 300.0 + 25.0 * i, math.pi / 2)
    total = s[-1]
    z = [100.0 + 0.02 * v for v in s]
    numbering = [{"l": 0, "v": 1000, "o": 1}, {"l": 50, "v": 1060, "o": 1}]

    def station(length):
        return length + (1000 if length < 50 else 1010)

    ticks = []
    for k in range(1000, 1380, 20):
        if 1050 < k < 1060:
            continue
        length = k - (1000 if k <= 1050 else 1010)
        if length > total:
            break
        i = min(range(len(s)), key=lambda j: abs(s[j] - length))
        ticks.append({"l": length, "x": x[i], "y": y[i], "b": b[i], "major": k % 100 == 0,
                      "text": str(k)})
    keys = [(0, "BEGIN", "BEGIN"), (50, "EQ", "EQ 1050.000 = 1060.000"), (100, "PC", "JD1 PC"),
            (100 + arc, "PT", "JD1 PT"), (total, "END", "END")]
    return {
        "name": "某某路", "frame": "NE", "stationStyle": "plain", "decimals": 3,
        "origin": list(origin), "length": total,
        "samples": {"s": s, "x": x, "y": y, "b": b, "z": z, "g": [0.02] * len(s)},
        "numbering": numbering,
        "keyPoints": [{"l": l, "x": x[s.index(min(s, key=lambda v: abs(v - l)))],
                       "y": y[s.index(min(s, key=lambda v: abs(v - l)))], "code": c, "label": t}
                      for l, c, t in keys],
        "intersections": [{"x": 100, "y": 200, "name": ""}, {"x": 300, "y": 200, "name": "JD1"},
                          {"x": 300, "y": 400, "name": ""}],
        "ticks": ticks,
        "pvi": [{"l": 0, "z": 100, "name": "BP0"}, {"l": total, "z": z[-1], "name": "BP1"}],
    }, station(150)


def hand_made_page(directory):
    data, station = hand_made_data()
    page = (TOOLS / "page.html").read_text(encoding="utf-8")
    values = {
        "LANG": "zh", "TITLE": "某某路", "SUMMARY": "hand-made route", "NOTE": "", "TABLES": "",
        "STYLE": (TOOLS / "report.css").read_text(encoding="utf-8"),
        "SCRIPT": (TOOLS / "report.js").read_text(encoding="utf-8"),
        "DATA": json.dumps(data, ensure_ascii=False).replace("<", "\\u003c"),
    }
    for key, value in values.items():
        page = page.replace("@" + key + "@", value)
    path = pathlib.Path(directory) / "hand_made.html"
    path.write_text(page, encoding="utf-8")
    return path, 150.0, "%.3f" % station, 0


def pages(directory):
    listed = os.environ.get("QV_REPORT_PAGES", "")
    out = [hand_made_page(directory)]
    for item in filter(None, listed.split(";")):
        path, length, station = item.split("=")
        # rcc's pages carry the curve, vertical curve, equation and stakeout tables.
        out.append((pathlib.Path(path), float(length), station, 4))
    return out


def screen_offset(browser, plan, length):
    """Offset from the plan's centre, in whole pixels, of the route at `length`."""
    sx, sy = browser.execute_script(
        "return window.qvReport.plan.screenOfLength(arguments[0])", length)
    w, h = browser.execute_script(
        "const r = arguments[0].getBoundingClientRect(); return [r.width, r.height];", plan)
    return int(round(sx - w / 2)), int(round(sy - h / 2))


def hover_station(browser, plan, length, station):
    """Hovers over the route at `length`, checks the station shown, returns px per metre."""
    ActionChains(browser).move_to_element_with_offset(
        plan, *screen_offset(browser, plan, length)).perform()
    readout = browser.find_element(By.ID, "plan-info").text
    assert "Station " in readout, readout
    shown = float(readout.split("Station ")[1].split()[0])
    px_per_m = browser.execute_script("return window.qvReport.plan.scale()")
    # The cursor lands on a whole pixel: within a pixel of the point asked for.
    assert abs(shown - float(station)) <= 1.0 / px_per_m, readout
    return px_per_m


def pinch(browser, plan, spread_from, spread_to):
    """Two touches either side of the plan's centre, moved apart in steps."""
    left, top, width, height = browser.execute_script(
        "const r = arguments[0].getBoundingClientRect(); return [r.left, r.top, r.width, r.height];",
        plan)
    cx, cy = left + width / 2, top + height / 2

    def touch(kind, spread):
        points = [{"x": cx - spread, "y": cy, "id": 0}, {"x": cx + spread, "y": cy, "id": 1}]
        browser.execute_cdp_cmd("Input.dispatchTouchEvent", {
            "type": kind, "touchPoints": [] if kind == "touchEnd" else points})

    touch("touchStart", spread_from)
    for step in range(1, 5):
        touch("touchMove", spread_from + (spread_to - spread_from) * step / 4)
    touch("touchEnd", spread_to)


@pytest.fixture(scope="module")
def browser():
    profile = tempfile.mkdtemp(prefix="qv-report-chromium-")
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for arg in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                "--disable-extensions", "--user-data-dir=" + profile,
                "--window-size=%d,%d" % WINDOW):
        options.add_argument(arg)
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")  # Chromium refuses to start as root otherwise
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    driver.set_page_load_timeout(TIMEOUT)
    driver.set_script_timeout(TIMEOUT)
    driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": True, "maxTouchPoints": 2})
    yield driver
    driver.quit()
    shutil.rmtree(profile, ignore_errors=True)


@pytest.fixture(scope="module")
def workdir():
    directory = tempfile.mkdtemp(prefix="qv-report-")
    yield directory
    shutil.rmtree(directory, ignore_errors=True)


def test_page_draws_and_hover_shows_the_station(browser, workdir):
    for path, length, station, tables in pages(workdir):
        browser.get(path.resolve().as_uri())
        WebDriverWait(browser, TIMEOUT).until(
            lambda d: d.execute_script("return !!(window.qvReport && window.qvReport.plan)"))
        # Both drawings have content: the centre line and the profile's design line.
        assert browser.execute_script(
            "return document.querySelector('#plan path.centre').getTotalLength()") > 100
        assert browser.find_elements(By.CSS_SELECTOR, "#profile path.design")
        assert browser.find_elements(By.CSS_SELECTOR, "#plan text.tick-label")
        assert len(browser.find_elements(By.CSS_SELECTOR, ".table-block table")) == tables

        png = pathlib.Path(workdir) / (path.stem + ".png")
        browser.save_screenshot(str(png))
        assert png.stat().st_size > 20000, "the screenshot is nearly blank"

        # Hover over the route at a known length: the readout names its station, within
        # the pixel the cursor lands on; zoomed in by the wheel, that pixel is smaller.
        plan = browser.find_element(By.ID, "plan")
        scale_before = hover_station(browser, plan, length, station)
        offset = screen_offset(browser, plan, length)
        ActionChains(browser).scroll_from_origin(
            ScrollOrigin.from_element(plan, *offset), 0, -WHEEL_PX).perform()
        scale_wheeled = hover_station(browser, plan, length, station)
        assert scale_wheeled > 2 * scale_before

        # Two fingers moving apart from 100 px to 200 px zoom in twice.
        pinch(browser, plan, 50, 100)
        scale = browser.execute_script("return window.qvReport.plan.scale()")
        assert abs(scale / scale_wheeled - 2) < 1e-9, (scale, scale_wheeled)

        # The profile's readout follows the cursor along the route.
        profile = browser.find_element(By.ID, "profile")
        ActionChains(browser).move_to_element(profile).perform()
        readout = browser.find_element(By.ID, "profile-info").text
        assert "Station " in readout and "grade line" in readout, readout

        errors = [e for e in browser.get_log("browser") if e["level"] == "SEVERE"]
        assert not errors, errors
