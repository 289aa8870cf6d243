"""A desktop of its own for tests of the window: a display, a session bus with the services that the window asks, and
the accessibility bus, through which the tests find the widgets. Keys and clicks go through the display, as a user's do.
"""

import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
PATIENCE = 60  # seconds; only a failing test waits for them


def wait_for(condition, what):
    """The first true value that `condition` gives."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"waited in vain for {what}")


class Widget:
    """What the accessibility bus tells of one widget."""

    def __init__(self, desktop, accessible):
        self.desktop = desktop
        self.accessible = accessible

    @property
    def role(self):
        return self.accessible.get_role_name()

    @property
    def name(self):
        return self.accessible.get_name()

    @property
    def text(self):
        return self.desktop.atspi.Text.get_text(self.accessible, 0, -1)

    @property
    def value(self):
        return self.desktop.atspi.Value.get_current_value(self.accessible)

    @property
    def maximum(self):
        return self.desktop.atspi.Value.get_maximum_value(self.accessible)

    def has_state(self, state):
        return self.accessible.get_state_set().contains(getattr(self.desktop.atspi.StateType, state))

    @property
    def place(self):
        """x, y, width and height on the display."""
        extents = self.desktop.atspi.Component.get_extents(self.accessible, self.desktop.atspi.CoordType.SCREEN)
        return extents.x, extents.y, extents.width, extents.height

    def descendants(self):
        for index in range(self.accessible.get_child_count()):
            child = self.accessible.get_child_at_index(index)
            if child is not None:
                yield Widget(self.desktop, child)
                yield from Widget(self.desktop, child).descendants()

    def find(self, role, name=None):
        """The first widget below this one of that role, and of that name when one is given."""
        for widget in self.descendants():
            if widget.role == role and name in (None, widget.name):
                return widget
        raise AssertionError(f"no {role} {name or ''} in {[(w.role, w.name) for w in self.descendants()]}")

    def labels(self):
        return [widget.name for widget in self.descendants() if widget.role == "label"]

    def click(self):
        x, y, width, height = self.place
        self.desktop.xdotool("mousemove", str(x + min(width // 2, 40)), str(y + height // 2), "click", "1")


class Desktop:
    def __init__(self, size=(1024, 768)):
        self.processes = []
        self.folder = tempfile.TemporaryDirectory(prefix="prattlebug-desktop-")
        self.runtime = Path(self.folder.name)
        os.environ.update(
            HOME=self.folder.name, XDG_RUNTIME_DIR=self.folder.name, LANG="C.UTF-8", QT_QPA_PLATFORM="xcb",
            QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", GIO_USE_VFS="local", GSETTINGS_BACKEND="memory")
        for name in ("DESKTOP_SESSION", "XDG_CURRENT_DESKTOP", "KDE_FULL_SESSION", "QT_STYLE_OVERRIDE",
                     "QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "AT_SPI_BUS_ADDRESS", "WAYLAND_DISPLAY"):
            os.environ.pop(name, None)
        try:
            display = self.start_and_read("Xvfb", "-displayfd", "{}", "-screen", "0", "{}x{}x24".format(*size),
                                          "-fbdir", self.folder.name, "-nolisten", "tcp", "-noreset")
            os.environ["DISPLAY"] = ":" + display
            # Hands the keyboard to a new window; without a window manager nobody does.
            self.processes.append(subprocess.Popen(["openbox", "--sm-disable"], stdout=subprocess.DEVNULL,
                                                   stderr=subprocess.DEVNULL))
            wait_for(lambda: subprocess.run(["xdotool", "get_num_desktops"], capture_output=True,
                                            check=False).returncode == 0, "the window manager")
            os.environ["DBUS_SESSION_BUS_ADDRESS"] = self.start_and_read(
                "dbus-daemon", "--session", "--nofork", "--print-address={}")
            self.services = subprocess.Popen(
                [sys.executable, HERE / "services.py"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                text=True)
            self.processes.append(self.services)
            assert self.services.stdout.readline() == "ready\n"
            import gi  # asks for the bus when it is loaded
            gi.require_version("Atspi", "2.0")
            from gi.repository import Atspi, GLib
            self.atspi = Atspi
            self.gone = GLib.GError  # what is asked of a widget that is no longer there
            Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)  # its cache lives on events, which nobody fetches
        except BaseException:
            self.close()
            raise

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()
            for stream in (process.stdin, process.stdout):
                if stream:
                    stream.close()
        self.folder.cleanup()

    def start_and_read(self, *command):
        """Starts a program that writes one line to a descriptor once it is ready, and gives that line."""
        reading, writing = os.pipe()
        log = open(self.runtime / f"{command[0]}.log", "wb")
        with log:
            self.processes.append(subprocess.Popen([part.format(writing) for part in command], pass_fds=[writing],
                                                   stdout=log, stderr=log))
        os.close(writing)
        with open(reading, encoding="ascii") as stream:
            line = stream.readline().strip()
        assert line, f"{command[0]} did not start: {(self.runtime / (command[0] + '.log')).read_text()}"
        return line

    def tell_services(self, command):
        """See services.py."""
        self.services.stdin.write(command + "\n")
        self.services.stdin.flush()
        answer = self.services.stdout.readline()
        assert answer == "done\n", answer

    def next_shown(self):
        """What the file manager has been asked to show: URIs."""
        word, *uris = self.services.stdout.readline().split()
        assert word == "show"
        return uris

    def xdotool(self, *arguments):
        subprocess.run(["xdotool", *arguments], check=True, stdout=subprocess.DEVNULL)

    def press(self, *keys):
        self.xdotool("key", "--clearmodifiers", *keys)

    def type(self, text):
        self.xdotool("type", "--clearmodifiers", text)

    def pixel(self, x, y):
        """Red, green and blue, 0 to 255, of what the display shows there."""
        header, picture = self.frame()
        start = y * header["bytes_per_line"] + x * 4
        blue, green, red = picture[start:start + 3]
        return red, green, blue

    def region(self, place):
        """The bytes of what the display shows at x, y, width and height."""
        x, y, width, height = place
        header, picture = self.frame()
        starts = (row * header["bytes_per_line"] + x * 4 for row in range(y, y + height))
        return b"".join(picture[start:start + width * 4] for start in starts)

    def frame(self):
        """What the display shows: the header's numbers and its pixels, blue, green, red and a spare byte each."""
        data = (self.runtime / "Xvfb_screen0").read_bytes()
        words = [int.from_bytes(data[i:i + 4], "big") for i in range(0, 100, 4)]
        header = {"width": words[4], "height": words[5], "bytes_per_line": words[12]}
        return header, data[words[0] + words[19] * 12:]


class Application:
    """The program, started in a home folder."""

    def __init__(self, desktop, program, home, arguments=(), title="Prattlebug Archiver", stderr=subprocess.DEVNULL, prefix=(),
                 **environment):
        self.desktop = desktop
        self.process = subprocess.Popen([*prefix, program, *arguments], env={**os.environ, "HOME": str(home), **environment},
                                        stderr=stderr)
        self.window = self.wait_for_window(title)

    def close(self):
        self.process.kill()
        self.process.wait()

    def windows(self):
        """The application's windows by title."""
        root = self.desktop.atspi.get_desktop(0)
        for index in range(root.get_child_count()):
            application = root.get_child_at_index(index)
            if application is not None and application.get_process_id() == self.process.pid:
                children = [application.get_child_at_index(i) for i in range(application.get_child_count())]
                return {child.get_name(): Widget(self.desktop, child) for child in children if child is not None}
        return {}

    def wait_for_window(self, title):
        """The window of that title, once it is shown and has the keyboard."""
        def find():
            assert self.process.poll() is None, f"the program has ended with {self.process.returncode}"
            window = self.windows().get(title)
            return window if window and window.has_state("ACTIVE") else None
        return wait_for(find, f"the window \"{title}\"")
