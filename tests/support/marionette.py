"""Firefox for Selenium without its driver, which Debian does not package: over Marionette, the protocol that the driver
speaks to Firefox (https://firefox-source-docs.mozilla.org/testing/marionette/Protocol.html).

A message is its length in bytes, a colon, and a JSON array: [0, number, command, parameters] to Firefox, and
[1, number, error, result] from it.
"""

import json
import os
import socket
import subprocess
import time

from selenium.common.exceptions import WebDriverException
from selenium.webdriver import Remote
from selenium.webdriver.remote.command import Command

_COMMANDS = {
    Command.NEW_SESSION: "WebDriver:NewSession",
    Command.GET: "WebDriver:Navigate",
    Command.GET_TITLE: "WebDriver:GetTitle",
    Command.GET_CURRENT_URL: "WebDriver:GetCurrentURL",
    Command.FIND_ELEMENT: "WebDriver:FindElement",
    Command.FIND_ELEMENTS: "WebDriver:FindElements",
    Command.CLICK_ELEMENT: "WebDriver:ElementClick",
    Command.GET_ELEMENT_TEXT: "WebDriver:GetElementText",
    Command.GET_ELEMENT_PROPERTY: "WebDriver:GetElementProperty",
    Command.SEND_KEYS_TO_ELEMENT: "WebDriver:ElementSendKeys",
    Command.W3C_GET_ACTIVE_ELEMENT: "WebDriver:GetActiveElement",
    Command.W3C_ACTIONS: "WebDriver:PerformActions",
    Command.W3C_EXECUTE_SCRIPT: "WebDriver:ExecuteScript",
    Command.W3C_EXECUTE_SCRIPT_ASYNC: "WebDriver:ExecuteAsyncScript",
    Command.SCREENSHOT: "WebDriver:TakeScreenshot",
}

_PREFERENCES = {
    "marionette.port": 0,  # any that is free; Firefox writes it into the profile
    "network.proxy.type": 1,
    "network.proxy.http": "127.0.0.1",
    "network.proxy.http_port": 9,
    "network.proxy.ssl": "127.0.0.1",
    "network.proxy.ssl_port": 9,
    "browser.download.useDownloadDir": True,
    "browser.download.folderList": 2,
}


class _Connection:
    """What Selenium calls to have a command carried out."""

    def __init__(self, port):
        self._stream = socket.create_connection(("127.0.0.1", port), timeout=120).makefile("rwb")
        self._number = 0
        self._receive()  # its greeting

    def _receive(self):
        length = b""
        while (digit := self._stream.read(1)) != b":":
            if not digit:
                raise WebDriverException("Firefox has closed the connection")
            length += digit
        return json.loads(self._stream.read(int(length)))

    def call(self, command, parameters):
        self._number += 1
        message = json.dumps([0, self._number, command, parameters]).encode()
        self._stream.write(b"%d:%s" % (len(message), message))
        self._stream.flush()
        _, _, error, result = self._receive()
        if error:
            raise WebDriverException(f"{command}: {error['error']}: {error['message']}")
        return result

    def execute(self, command, parameters):
        parameters = {key: value for key, value in parameters.items() if key != "sessionId"}
        if command == Command.SCREENSHOT:
            parameters["full"] = False
        result = self.call(_COMMANDS[command], parameters)
        return result if isinstance(result, dict) and "value" in result else {"value": result}

    def close(self):
        self._stream.close()


class Firefox(Remote):
    """A headless Firefox with a profile of its own in @p folder, which outlives it. `quit` ends it."""

    def __init__(self, folder, **preferences):
        lines = [f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
                 for name, value in {**_PREFERENCES, **preferences}.items()]
        with open(os.path.join(folder, "user.js"), "w", encoding="utf-8") as file:
            file.writelines(lines)
        self.process = subprocess.Popen(
            ["firefox-esr", "--headless", "--marionette", "--remote-allow-system-access", "--no-remote", "--profile", folder],
            env={**os.environ, "HOME": folder}, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            super().__init__(command_executor=_Connection(self._port(folder)))
        except BaseException:
            self._end()
            raise

    def _port(self, folder):
        deadline = time.monotonic() + 120
        while self.process.poll() is None and time.monotonic() < deadline:
            try:
                with open(os.path.join(folder, "MarionetteActivePort"), encoding="ascii") as file:
                    if port := file.read():
                        return int(port)
            except FileNotFoundError:
                pass
            time.sleep(0.05)
        raise WebDriverException("Firefox does not answer")

    def in_browser(self, script, *arguments):
        """Runs @p script with the rights of the browser itself, in its window, and returns what it returns."""
        self.command_executor.call("Marionette:SetContext", {"value": "chrome"})
        try:
            return self.execute_script(script, *arguments)
        finally:
            self.command_executor.call("Marionette:SetContext", {"value": "content"})

    def _end(self):
        self.process.kill()
        self.process.wait()

    def quit(self):
        try:
            self.command_executor.call("Marionette:Quit", {"flags": ["eForceQuit"]})
            self.process.wait(timeout=60)
        except (OSError, ValueError, WebDriverException, subprocess.TimeoutExpired):
            pass
        self._end()
        self.command_executor.close()
