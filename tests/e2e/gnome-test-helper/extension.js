/* exported init */
// For the desktop tests only: a headless Shell starts in the overview, where new windows get no
// focus, and a test has no pointer to click with. This hides the overview once the Shell is up
// and offers org.velto.Test.Activate(title) to focus a window as a click would.
const {Gio} = imports.gi;
const Main = imports.ui.main;

const INTERFACE = `<node>
  <interface name="org.velto.Test">
    <method name="Activate">
      <arg type="s" direction="in" name="title"/>
      <arg type="b" direction="out" name="found"/>
    </method>
  </interface>
</node>`;

class TestHelper {
  enable() {
    if (Main.layoutManager._startingUp) {
      this._startup = Main.layoutManager.connect('startup-complete', () => Main.overview.hide());
    } else {
      Main.overview.hide();
    }
    this._object = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
    this._object.export(Gio.DBus.session, '/org/velto/Test');
    this._name = Gio.bus_own_name_on_connection(Gio.DBus.session, 'org.velto.Test',
                                                Gio.BusNameOwnerFlags.NONE, null, null);
  }

  disable() {
    if (this._startup)
      Main.layoutManager.disconnect(this._startup);
    Gio.bus_unown_name(this._name);
    this._object.unexport();
  }

  Activate(title) {
    for (const actor of global.get_window_actors()) {
      const window = actor.get_meta_window();
      if (window.get_title() === title) {
        window.activate(global.get_current_time());
        return true;
      }
    }
    return false;
  }
}

function init() {
  return new TestHelper();
}
