"""A headless browser for tests of the pages, as people see them: Chromium, driven by its own driver."""

import os

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

_CONTRASTS = """
const channels = color => color.match(/[\\d.]+/g).map(Number);
const luminance = color => {
    const [r, g, b] = channels(color).slice(0, 3).map(c => (c /= 255) <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const isTransparent = color => channels(color)[3] === 0;
const behind = element => {
    while (element && isTransparent(getComputedStyle(element).backgroundColor)) element = element.parentElement;
    return element ? getComputedStyle(element).backgroundColor : "rgb(255, 255, 255)";
};
return [...document.body.querySelectorAll("*")]
    .filter(element => [...element.childNodes].some(node => node.nodeType === 3 && node.data.trim()))
    .map(element => {
        const [a, b] = [getComputedStyle(element).color, behind(element)].map(luminance);
        return [element.textContent, (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05)];
    });
"""


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


def contrasts(browser):
    """Of every element with text of its own, that text and its contrast with what is behind it (WCAG 2)."""
    return browser.execute_script(_CONTRASTS)
