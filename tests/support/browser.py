"""A headless browser for tests of the pages, as people see them: Chromium, driven by its own driver."""

import os

from selenium import webdriver
from selenium.webdriver.chrome.service import Service


def open_browser(test):
    """A browser that is gone when @p test has ended, with a profile of its own and no network."""
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--proxy-server=127.0.0.1:9"):
        options.add_argument(argument)
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")  # Chromium has no sandbox for root
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
    test.addCleanup(browser.quit)
    return browser


def set_colors(browser, scheme):
    """Has pages see "light" or "dark" as what the user prefers."""
    browser.execute_cdp_cmd(
        "Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})


def set_size(browser, width, height):
    browser.execute_cdp_cmd(
        "Emulation.setDeviceMetricsOverride", {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
