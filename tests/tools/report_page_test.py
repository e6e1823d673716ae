"""The page of a report in a browser, and drawings as documents.

ORVIDX, ORVJOB and HOSTILE_JOB in the environment are the programs; DATA is the folder of jobs.
"""
import json
import os
import pathlib
import re
import subprocess
import xml.etree.ElementTree as xml

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

DATA = pathlib.Path(os.environ["DATA"])
COMPLETE, INCOMPLETE = 0, 3
HOSTILE_NAME = "<b>'&\"{{data}}\uffff.orv"


def run(program, *words, status=COMPLETE):
    done = subprocess.run([os.environ[program], *map(str, words)], capture_output=True, check=False)
    assert done.returncode == status, done.stderr
    return done.stdout.decode()


@pytest.fixture(scope="session")
def jobs(tmp_path_factory):
    folder = tmp_path_factory.mktemp("jobs")
    run("ORVJOB", "create-sample", folder / "sample.orv", "--points", 600)
    run("HOSTILE_JOB", folder / HOSTILE_NAME)
    return {
        "sample": (folder / "sample.orv", COMPLETE),
        "hostile": (folder / HOSTILE_NAME, COMPLETE),
        "mixed": (DATA / "golden/mixed/job.orv", INCOMPLETE),
        "tiny": (DATA / "golden/tiny/job.orv", INCOMPLETE),
    }


@pytest.fixture(scope="session")
def browser(tmp_path_factory):
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for flag in ("headless", "no-sandbox", "disable-gpu", "disable-quic", "no-first-run",
                 "disable-background-networking", "disable-component-update", "disable-sync",
                 "disable-dev-shm-usage", "window-size=1300,1000",
                 f"user-data-dir={tmp_path_factory.mktemp('profile')}"):
        options.add_argument("--" + flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    yield driver
    driver.quit()


@pytest.fixture
def page(jobs, browser, tmp_path):
    """Opens the page of a job; nothing may have been complained of in the end."""
    def open_page(name, fragment=""):
        job, status = jobs[name]
        run("ORVIDX", "report", job, "-o", tmp_path / "job.html", status=status)
        browser.get(f"file://{tmp_path}/job.html{fragment}")
        return browser
    yield open_page
    assert browser.get_log("browser") == []


def wait(browser, condition):
    return WebDriverWait(browser, 20).until(condition)


def find(browser, text):
    """Searches with the keyboard alone."""
    browser.find_element(By.TAG_NAME, "body").send_keys("/")
    browser.switch_to.active_element.send_keys(text, Keys.ENTER)


def heading(browser):
    return browser.find_element(By.CSS_SELECTOR, "#detail h2").text


def texts(browser, selector):
    return [element.text for element in browser.find_elements(By.CSS_SELECTOR, selector)]


def test_a_point_is_found_with_all_that_uses_it(page):
    browser = page("sample")
    assert browser.title == "sample.orv"
    assert "600 points" in browser.find_element(By.ID, "counts").text
    find(browser, "cl2")
    wait(browser, heading)
    assert heading(browser) == "CL2"
    links = texts(browser, "#detail a")
    assert {"L1", "MAIN", "STAKED", "GROUND"} <= set(links)
    assert "the point on it" in browser.find_element(By.ID, "detail").text
    assert texts(browser, "tr.selected td:first-child") == ["CL2"]
    browser.find_element(By.LINK_TEXT, "L1").click()
    wait(browser, lambda _: heading(browser) == "L1")
    assert {"CL1", "CL2"} <= set(texts(browser, "#detail a"))
    browser.back()
    wait(browser, lambda _: heading(browser) == "CL2")


def elevation_at(vertices, station):
    """By the vertices alone: of curves with two equal lengths, and of grades."""
    for before, corner, end in zip(vertices, vertices[1:], vertices[2:]):
        half = corner["backLength"]
        if half and abs(station - corner["station"]) <= half:
            grade_in = (corner["elevation"] - before["elevation"]) / half
            grade_out = (end["elevation"] - corner["elevation"]) / half
            run_in = station - before["station"]
            return before["elevation"] + grade_in * run_in + (grade_out - grade_in) * run_in**2 / 4 / half
    for begin, end in zip(vertices, vertices[1:]):
        if begin["station"] <= station <= end["station"] and not begin["backLength"] and not end["backLength"]:
            share = (station - begin["station"]) / (end["station"] - begin["station"])
            return begin["elevation"] + share * (end["elevation"] - begin["elevation"])
    return None


def test_hovering_tells_the_elevation_that_the_vertices_make(page, jobs):
    browser = page("sample", "#profile/MAIN")
    profile = json.loads(run("ORVIDX", "show", "profile", "MAIN", jobs["sample"][0], "--json"))
    # Up to the first curve whose intersection point is not told, without high and low points.
    vertices = [vertex for vertex in profile["vertices"] if vertex["vertexCode"] < 6][:7]
    told = browser.execute_script("""
        const canvas = document.querySelector('#profile-canvas');
        const box = canvas.getBoundingClientRect();
        const told = [];
        for (let x = 70; x < canvas.clientWidth; x += 2) {
          canvas.dispatchEvent(new PointerEvent('pointermove', {clientX: box.left + x, clientY: box.top + 50}));
          told.push(document.querySelector('#profiles .readout').textContent);
        }
        return told;""")
    checked = 0
    for text in told:
        match = re.match(r"station ([-\d.]+)  elevation ([-\d.]+)  grade [-\d.]+ %", text)
        if match and 0 <= float(match[1]) <= vertices[-1]["station"]:
            # A station is told to three decimals, and grades are below six in a hundred.
            assert elevation_at(vertices, float(match[1])) == pytest.approx(float(match[2]), abs=7e-4)
            checked += 1
    assert checked > 50


def test_tables_sort_filter_and_copy(page):
    browser = page("sample")
    def first_row():
        return texts(browser, "#table tbody tr:nth-child(2) td")
    elevation = "//th[starts-with(., 'real3')]/button"
    browser.find_element(By.XPATH, elevation).click()
    lowest = first_row()
    browser.find_element(By.XPATH, elevation).click()
    assert float(first_row()[9]) > float(lowest[9])
    browser.find_element(By.ID, "table-filter").send_keys("brass disc")
    assert browser.find_element(By.CSS_SELECTOR, "#tables .caption").text == "20 rows of 600"
    copied = browser.execute_script("""
        const cell = document.querySelector('#table td[data-full]');
        getSelection().selectAllChildren(cell);
        const event = new ClipboardEvent('copy', {clipboardData: new DataTransfer()});
        document.dispatchEvent(event);
        return [event.clipboardData.getData('text/plain'), cell.textContent, cell.title];""")
    assert copied[0] == copied[2] and len(copied[0]) > len(copied[1])


def test_plan_shows_what_lies_under_the_pointer_and_zooms(page):
    browser = page("sample", "#point/BM5")
    script = """
        const canvas = document.querySelector('#plan-canvas');
        const box = canvas.getBoundingClientRect();
        const at = {clientX: box.left + canvas.clientWidth / 2, clientY: box.top + canvas.clientHeight / 2};
        canvas.dispatchEvent(new PointerEvent('pointermove', at));
        const before = document.querySelector('#plan .readout').textContent;
        canvas.dispatchEvent(new WheelEvent('wheel', {...at, deltaY: -400, cancelable: true}));
        at.clientX += 100;
        canvas.dispatchEvent(new PointerEvent('pointermove', at));
        return [before, document.querySelector('#plan .readout').textContent];"""
    wait(browser, heading)
    before, after = browser.execute_script(script)
    assert before.startswith("point BM5\n")
    middle, beside = [float(re.search(r"E ([-\d.]+)", text)[1]) for text in (before, after)]
    assert 0 < beside - middle < 60


@pytest.mark.parametrize("width", [390, 1300])
def test_what_is_missing_is_listed_and_nothing_runs_over(page, width):
    browser = page("mixed")
    browser.set_window_size(width, 900)
    browser.find_element(By.LINK_TEXT, "Show the list").click()
    listed = texts(browser, ".missing li")
    count = re.match(r"Of all elements (\d+) could not be read, (\d+) not drawn", browser.find_element(By.ID, "gaps").text)
    assert len(listed) == int(count[1]) + int(count[2])
    assert any("its numbers do not follow the convention" in line for line in listed)
    assert browser.execute_script("return document.documentElement.scrollWidth - innerWidth") <= 0
    browser.set_window_size(1300, 1000)


def test_texts_of_a_job_become_neither_markup_nor_script(page, jobs, tmp_path):
    browser = page("hostile")
    assert browser.title == HOSTILE_NAME.replace("\uffff", "\ufffd")
    names = run("ORVIDX", "list", "-0", "line", jobs["hostile"][0]).split("\0")[:-1]
    assert "</script>" in names
    for name in names:
        find(browser, name)
        shown = name.replace("\x01", "\u2401")
        wait(browser, lambda _, shown=shown: heading(browser) == shown)
    for kind in ("point/1", "chain/%7B%7Bdata%7D%7D%7B%7Btitle%7D%7D", "profile/%3Cu%20onclick%3Dx%3E"):
        browser.execute_script("location.hash = arguments[0]", "#" + kind)
        wait(browser, lambda _, kind=kind: browser.find_element(By.CSS_SELECTOR, "#detail .kind").text == kind.split("/")[0])
    browser.execute_script("dispatchEvent(new Event('beforeprint'))")
    assert browser.execute_script("return window.broken") is None
    # Two scripts of the page's own, and no element that its own script does not make.
    assert browser.execute_script("return document.scripts.length") == 2
    assert browser.execute_script("return document.querySelectorAll('b b, svg, u, td i, img:not([src^=data])').length") == 0
    text = (tmp_path / "job.html").read_text()
    data = text[text.index('type="application/json">'):]
    assert "<" not in data[24:data.index("</script>")]


def test_on_paper_are_plan_profiles_and_rows(page):
    browser = page("sample")
    browser.execute_script("dispatchEvent(new Event('beforeprint'))")
    assert len(browser.find_elements(By.CSS_SELECTOR, "#print figure img")) == 5
    assert len(browser.find_elements(By.CSS_SELECTOR, "#print tbody tr")) > 700
    assert "200 further rows not printed" in browser.find_element(By.ID, "print").get_attribute("textContent")
    browser.execute_script("dispatchEvent(new Event('afterprint'))")
    assert browser.find_elements(By.CSS_SELECTOR, "#print *") == []


@pytest.mark.parametrize("name", ["sample", "hostile", "mixed", "tiny"])
def test_drawings_are_documents_without_script(jobs, tmp_path, name):
    job, status = jobs[name]
    run("ORVIDX", "draw", "plan", job, "-o", tmp_path / "plan.svg", status=status)
    drawings = [(tmp_path / "plan.svg").read_text()]
    if name in ("sample", "hostile"):
        profile = "MAIN" if name == "sample" else "<u onclick=x>"
        drawings.append(run("ORVIDX", "draw", "profile", profile, job))
    for drawing in drawings:
        tags = {element.tag.split("}")[1] for element in xml.fromstring(drawing).iter()}
        assert tags <= {"svg", "title", "style", "rect", "text", "line", "path", "circle", "g"}
