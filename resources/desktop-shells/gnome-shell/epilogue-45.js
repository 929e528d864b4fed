
export default class VeltoExtension extends Extension {
  enable() {
    this._windows = new VeltoWindows();
    this._windows.enable();
  }

  disable() {
    this._windows.disable();
    this._windows = null;
  }
}
