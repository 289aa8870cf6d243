"""The desktop's side of the session bus: a file manager and the portal's appearance setting.

Reads commands from standard input, one a line: "dark" and "light" change the setting, "leave" and "return" take the
file manager off the bus and back; each is answered by "done". The end of the input ends the program. Writes "ready"
first, and "show URI..." for each request to show items.
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
FILE_MANAGER = "org.freedesktop.FileManager1"
SETTINGS = "org.freedesktop.portal.Settings"
SETTINGS_PATH = "/org/freedesktop/portal/desktop"
SCHEME = ("org.freedesktop.appearance", "color-scheme")


class Services:
    def __init__(self, loop):
        self.loop = loop
        self.scheme = GLib.Variant("u", 0)
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        interfaces = Gio.DBusNodeInfo.new_for_xml(INTERFACES)
        for path, interface in ((SETTINGS_PATH, SETTINGS), ("/org/freedesktop/FileManager1", FILE_MANAGER)):
            self.bus.register_object(path, interfaces.lookup_interface(interface), self.called, None, None)
        self.ask_bus("RequestName", GLib.Variant("(su)", ("org.freedesktop.portal.Desktop", 0)))
        self.ask_bus("RequestName", GLib.Variant("(su)", (FILE_MANAGER, 0)))
        GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, self.command)
        print("ready", flush=True)

    def ask_bus(self, method, arguments):
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments,
                           None, Gio.DBusCallFlags.NONE, -1)

    def called(self, _bus, _sender, _path, _interface, method, arguments, invocation):
        if method == "ShowItems":
            print("show", *arguments.unpack()[0], flush=True)
            invocation.return_value(None)
        else:
            # The portal wraps the value twice.
            invocation.return_value(GLib.Variant("(v)", (GLib.Variant("v", self.scheme),)))

    def command(self, stream, _condition):
        command = stream.readline().strip()
        if not command:
            self.loop.quit()
            return False
        if command == "leave":
            self.ask_bus("ReleaseName", GLib.Variant("(s)", (FILE_MANAGER,)))
        elif command == "return":
            self.ask_bus("RequestName", GLib.Variant("(su)", (FILE_MANAGER, 0)))
        else:
            self.scheme = GLib.Variant("u", {"dark": 1, "light": 2}[command])
            self.bus.emit_signal(None, SETTINGS_PATH, SETTINGS, "SettingChanged",
                                 GLib.Variant("(ssv)", (*SCHEME, self.scheme)))
        print("done", flush=True)
        return True


if __name__ == "__main__":
    main_loop = GLib.MainLoop()
    services = Services(main_loop)
    main_loop.run()
