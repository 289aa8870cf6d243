"""The desktop's side of the session bus: a file manager and the portal's appearance setting.

Reads commands from standard input, one a line: "dark" and "light" change the setting; the end of the input ends the
program. Writes "ready", and then "show URI..." for each request to show items.
"""

import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

INTERFACES = """
<node>
  <interface name="org.freedesktop.FileManager1">
    <method name="ShowItems"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
  </interface>
  <interface name="org.freedesktop.portal.Settings">
    <method name="Read">
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
    </method>
    <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
  </interface>
</node>
"""
SETTINGS = "org.freedesktop.portal.Settings"
SETTINGS_PATH = "/org/freedesktop/portal/desktop"
SCHEME = ("org.freedesktop.appearance", "color-scheme")


class Services:
    def __init__(self, loop, file_manager):
        self.loop = loop
        self.scheme = GLib.Variant("u", 0)
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        interfaces = Gio.DBusNodeInfo.new_for_xml(INTERFACES)
        self.register(SETTINGS_PATH, interfaces.lookup_interface(SETTINGS), "org.freedesktop.portal.Desktop")
        if file_manager:
            name = "org.freedesktop.FileManager1"
            self.register("/org/freedesktop/FileManager1", interfaces.lookup_interface(name), name)
        GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, self.command)
        print("ready", flush=True)

    def register(self, path, interface, name):
        self.bus.register_object(path, interface, self.called, None, None)
        arguments = GLib.Variant("(su)", (name, 0))
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                           arguments, None, Gio.DBusCallFlags.NONE, -1)

    def called(self, _bus, _sender, _path, _interface, method, arguments, invocation):
        if method == "ShowItems":
            print("show", *arguments.unpack()[0], flush=True)
            invocation.return_value(None)
        else:
            # The portal wraps the value twice.
            invocation.return_value(GLib.Variant("(v)", (GLib.Variant("v", self.scheme),)))

    def command(self, stream, _condition):
        line = stream.readline()
        if not line:
            self.loop.quit()
            return False
        self.scheme = GLib.Variant("u", {"dark": 1, "light": 2}[line.strip()])
        self.bus.emit_signal(None, SETTINGS_PATH, SETTINGS, "SettingChanged",
                             GLib.Variant("(ssv)", (*SCHEME, self.scheme)))
        return True


if __name__ == "__main__":
    main_loop = GLib.MainLoop()
    services = Services(main_loop, file_manager="--no-file-manager" not in sys.argv)
    main_loop.run()
