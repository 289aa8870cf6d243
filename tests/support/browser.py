"""Headless browsers for tests of the pages, as people see them: Chromium, and Firefox."""

import os
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.wait import WebDriverWait

from marionette import Firefox

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


def _open_chromium(_folder):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--proxy-server=127.0.0.1:9"):
        options.add_argument(argument)
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")  # Chromium has no sandbox for root
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))


_BROWSERS = {"Chromium": _open_chromium, "Firefox": Firefox}
NAMES = tuple(_BROWSERS)


def open_browser(test, name="Chromium"):
    """The browser of that name, one of NAMES, with a profile of its own and no network. It is gone when @p test, a test or
    a class of tests, has ended."""
    add_cleanup = test.addClassCleanup if isinstance(test, type) else test.addCleanup
    folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
    add_cleanup(folder.cleanup)
    browser = _BROWSERS[name](folder.name)
    add_cleanup(browser.quit)
    return browser


def set_colors(browser, scheme):
    """Has pages see "light" or "dark" as what the user prefers."""
    if isinstance(browser, Firefox):
        browser.in_browser("""gBrowser.selectedBrowser.browsingContext.prefersColorSchemeOverride = arguments[0];""", scheme)
    else:
        browser.execute_cdp_cmd(
            "Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})


def set_size(browser, width, height):
    """Has pages see a window of that size."""
    if isinstance(browser, Firefox):  # whose window cannot be as narrow as a telephone's
        browser.in_browser("""
            const { style } = gBrowser.selectedBrowser;
            style.minWidth = style.maxWidth = `${arguments[0]}px`;
            style.minHeight = style.maxHeight = `${arguments[1]}px`;
        """, width, height)
        WebDriverWait(browser, 60).until(lambda _: browser.execute_script("return innerWidth") == width)
    else:
        browser.execute_cdp_cmd(
            "Emulation.setDeviceMetricsOverride", {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})


def messages(browser):
    """What the console has been told about pages since it was asked last: errors, and what a policy stopped."""
    if isinstance(browser, Firefox):
        return browser.in_browser("""
            const found = Services.console.getMessageArray().filter(message => message instanceof Ci.nsIScriptError &&
                message.sourceName.startsWith("file:"));
            Services.console.reset();
            return found.map(message => message.errorMessage);
        """)
    return [entry["message"] for entry in browser.get_log("browser")]


def contrasts(browser):
    """Of every element with text of its own, that text and its contrast with what is behind it (WCAG 2)."""
    return browser.execute_script(_CONTRASTS)
