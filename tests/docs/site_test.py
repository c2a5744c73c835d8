#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

"""site_test.py SITE: reads the site that scripts/docs builds, with a headless browser.

Every link and image of every page resolves, anchors included; a search for flush finds the member; a
dark scheme is dark; and on a phone no page is wider than the screen.
"""

import pathlib
import sys
import urllib.parse

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

# What a page contains once its scripts have made the tree and the menu.
CONTENT = """
    const links = [...document.querySelectorAll('a[href], link[href]')].map(e => e.href);
    const files = [...document.querySelectorAll('img[src], script[src], iframe[src]')].map(e => e.src);
    const anchors = [...document.querySelectorAll('[id], a[name]')].flatMap(e => [e.id, e.name]);
    const boxes = [document.documentElement, ...document.querySelectorAll('#doc-content, .contents')];
    return [links.concat(files), anchors, Math.max(...boxes.map(e => e.scrollWidth))];
"""
BRIGHTNESS = """
    const numbers = getComputedStyle(document.body).backgroundColor.match(/\\d+/g).map(Number);
    return numbers.slice(0, 3).reduce((sum, number) => sum + number) / 765;
"""
PHONE = {"width": 375, "height": 800, "deviceScaleFactor": 1, "mobile": True}


def start_browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    return webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))


def faults_of_pages(browser, site):
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", PHONE)
    pages = sorted(path for path in site.rglob("*.html") if path.parent.name != "search")
    links, anchors, faults = [], {}, []
    for page in pages:
        browser.get(page.as_uri())
        targets, names, width = browser.execute_script(CONTENT)
        anchors[page] = set(names)
        links += [(page, *urllib.parse.urldefrag(target)) for target in targets]
        if width > PHONE["width"]:
            faults.append(f"{page.name} is {width} px wide on a phone")
    for page, address, anchor in links:
        parts = urllib.parse.urlsplit(address)
        target = pathlib.Path(urllib.parse.unquote(parts.path))
        if parts.scheme != "file":
            continue
        if not target.is_file() or not target.is_relative_to(site):
            faults.append(f"{page.name}: no file {address}")
        elif anchor and urllib.parse.unquote(anchor) not in anchors.get(target, set()):
            faults.append(f"{page.name}: no anchor {anchor} in {target.name}")
    print(f"{len(pages)} pages, {len(links)} links")
    return faults


def faults_of_search(browser, site):
    browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
    browser.get((site / "index.html").as_uri())
    browser.find_element(By.ID, "MSearchField").send_keys("flush")
    wait = WebDriverWait(browser, 20)
    wait.until(lambda _: browser.find_element(By.ID, "MSearchResultsWindow").is_displayed())
    browser.switch_to.frame("MSearchResults")
    found = wait.until(lambda _: [result for result in
                                  browser.find_elements(By.CSS_SELECTOR, ".SRResult")
                                  if result.is_displayed()])
    results = [link.get_attribute("href") for result in found
               for link in result.find_elements(By.TAG_NAME, "a")]
    for owner in ("SinkHandler", "Extras_1_1SeverityLogger"):
        if not any(f"classKorvel_1_1{owner}.html#" in result for result in results):
            return [f"the search for flush does not find that of {owner}, but {results}"]
    return []


def faults_of_schemes(browser, site):
    def brightness(scheme):
        feature = {"name": "prefers-color-scheme", "value": scheme}
        browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [feature]})
        browser.get((site / "index.html").as_uri())
        return browser.execute_script(BRIGHTNESS)

    light, dark = brightness("light"), brightness("dark")
    return [] if light > 0.9 and dark < 0.2 else [f"brightness: light {light}, dark {dark}"]


def main():
    site = pathlib.Path(sys.argv[1]).resolve()
    browser = start_browser()
    try:
        checks = (faults_of_pages, faults_of_search, faults_of_schemes)
        faults = [fault for check in checks for fault in check(browser, site)]
    finally:
        browser.quit()
    sys.exit("\n".join(sorted(set(faults))) or 0)


main()
