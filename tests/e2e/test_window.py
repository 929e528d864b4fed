#!/usr/bin/python3
"""A small native Wayland (or X11) window for the desktop tests: GTK 3, with the application id
and title given, renaming itself to each line read on standard input and closing at its end.

Usage: test_window.py APP_ID TITLE
"""
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402


def main():
    app_id, title = sys.argv[1], sys.argv[2]
    # GTK takes the Wayland app_id (and the X11 class) from the program name.
    GLib.set_prgname(app_id)
    window = Gtk.Window(title=title)
    window.set_default_size(320, 200)
    window.connect("destroy", Gtk.main_quit)

    def read(source, condition):
        line = sys.stdin.readline()
        if not line:
            Gtk.main_quit()
            return False
        window.set_title(line.rstrip("\n"))
        return True

    GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, read)
    window.show_all()
    Gtk.main()


if __name__ == "__main__":
    main()
