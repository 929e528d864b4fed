// Velto's window reporter for KWin (Plasma 5.27 and 6). Loaded by the recorder through KWin's
// scripting interface and unloaded when it quits. It reports the active window and every change
// of its caption, and windows closing, by calling the recorder's object on the session bus;
// nothing else is read and nothing is sent anywhere else.
//
// The recorder fills in its own bus name below when it writes this file for KWin.
const recorder = "@RECORDER_BUS_NAME@";
const path = "/org/velto/KWin";
const reports = "org.velto.WindowReports";

function text(value) {
  if (value === undefined || value === null) return "";
  if (typeof value === "string") return value;
  if (value instanceof ArrayBuffer) return String.fromCharCode.apply(null, new Uint8Array(value));
  return String(value);
}

function activeWindow() {
  return workspace.activeWindow !== undefined ? workspace.activeWindow : workspace.activeClient;
}

function report(window) {
  if (!window) {
    callDBus(recorder, path, reports, "Focused", "", "", "", "", "", 0);
    return;
  }
  callDBus(recorder, path, reports, "Focused", text(window.internalId), text(window.resourceClass),
           text(window.resourceName), text(window.desktopFileName), text(window.caption),
           window.pid > 0 ? window.pid : 0);
}

let watched = null;
let onCaption = null;

function activated(window) {
  if (watched && onCaption) watched.captionChanged.disconnect(onCaption);
  watched = window || null;
  onCaption = null;
  if (watched) {
    const current = watched;
    onCaption = function () { report(current); };
    watched.captionChanged.connect(onCaption);
  }
  report(watched);
}

function removed(window) {
  if (window) callDBus(recorder, path, reports, "Closed", text(window.internalId));
}

(workspace.windowActivated || workspace.clientActivated).connect(activated);
(workspace.windowRemoved || workspace.clientRemoved).connect(removed);
activated(activeWindow());
