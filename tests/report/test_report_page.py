"""Report pages in headless Chromium: they draw, carry their tables, log no error, zoom by
wheel and pinch, and hovering over a known point of the route shows that point's station.

Pages come from QV_REPORT_PAGES, a list of "page.html=length=station" separated by ";":
hovering over the route at `length` must show `station`.
"""
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

TIMEOUT = 30  # seconds for any page load, script or wait
WINDOW = (1400, 1000)
WHEEL_PX = 600  # one scripted wheel turn: zooms in by exp(0.0015 * 600), about 2.5 times


def pages():
    out = []
    for item in filter(None, os.environ.get("QV_REPORT_PAGES", "").split(";")):
        path, length, station = item.split("=")
        out.append((pathlib.Path(path), float(length), station))
    assert out, "QV_REPORT_PAGES names no page"
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
    for path, length, station in pages():
        browser.get(path.resolve().as_uri())
        WebDriverWait(browser, TIMEOUT).until(
            lambda d: d.execute_script("return !!(window.qvReport && window.qvReport.plan)"))
        # Both drawings have content: the centre line and the profile's design line.
        assert browser.execute_script(
            "return document.querySelector('#plan path.centre').getTotalLength()") > 100
        assert browser.find_elements(By.CSS_SELECTOR, "#profile path.design")
        assert browser.find_elements(By.CSS_SELECTOR, "#plan text.tick-label")
        # The curve, vertical curve, equation and stakeout tables.
        assert len(browser.find_elements(By.CSS_SELECTOR, ".table-block table")) == 4

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
