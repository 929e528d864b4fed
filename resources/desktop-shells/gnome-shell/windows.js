// Velto's window reporter for GNOME Shell. It owns org.velto.Shell on the session bus and
// offers /org/velto/Shell: the FocusChanged signal whenever the focused window or its title
// changes, and GetFocus for the focused window now. Each names the window by
// (key, WM_CLASS class, WM_CLASS instance, the Shell's application id, title, pid); an empty key
// means that nothing has focus. It keeps no record and sends nothing anywhere else.
//
// The recorder joins this file with the prologue and epilogue of the Shell's extension format
// (43-44: legacy imports; 45 and later: ES modules) when it installs the extension.
const VELTO_INTERFACE = `<node>
  <interface name="org.velto.Shell">
    <method name="GetFocus">
      <arg type="s" direction="out" name="key"/>
      <arg type="s" direction="out" name="windowClass"/>
      <arg type="s" direction="out" name="instance"/>
      <arg type="s" direction="out" name="appId"/>
      <arg type="s" direction="out" name="title"/>
      <arg type="i" direction="out" name="pid"/>
    </method>
    <signal name="FocusChanged">
      <arg type="s" name="key"/>
      <arg type="s" name="windowClass"/>
      <arg type="s" name="instance"/>
      <arg type="s" name="appId"/>
      <arg type="s" name="title"/>
      <arg type="i" name="pid"/>
    </signal>
  </interface>
</node>`;

class VeltoWindows {
  enable() {
    this._object = Gio.DBusExportedObject.wrapJSObject(VELTO_INTERFACE, this);
    this._object.export(Gio.DBus.session, '/org/velto/Shell');
    this._name = Gio.bus_own_name_on_connection(Gio.DBus.session, 'org.velto.Shell',
                                                Gio.BusNameOwnerFlags.NONE, null, null);
    this._window = null;
    this._titleId = 0;
    this._focusId = global.display.connect('notify::focus-window', () => this._follow());
    this._follow();
  }

  disable() {
    global.display.disconnect(this._focusId);
    this._watch(null);
    Gio.bus_unown_name(this._name);
    this._object.unexport();
    this._object = null;
  }

  GetFocus() {
    return this._describe(this._window);
  }

  _watch(window) {
    if (this._window && this._titleId)
      this._window.disconnect(this._titleId);
    this._window = window;
    this._titleId = window ? window.connect('notify::title', () => this._emit()) : 0;
  }

  _follow() {
    this._watch(global.display.focus_window);
    this._emit();
  }

  _emit() {
    this._object.emit_signal('FocusChanged',
                             new GLib.Variant('(sssssi)', this._describe(this._window)));
  }

  _describe(window) {
    if (!window)
      return ['', '', '', '', '', 0];
    const app = Shell.WindowTracker.get_default().get_window_app(window);
    let appId = app ? app.get_id() || '' : '';
    // Windows without a desktop file get made-up ids ("window:12").
    if (appId.startsWith('window:'))
      appId = '';
    const pid = window.get_pid();
    return [String(window.get_id()), window.get_wm_class() || '',
            window.get_wm_class_instance() || '', appId, window.get_title() || '',
            pid > 0 ? pid : 0];
  }
}
